#pragma once

#include "analysis/kernels/V210Word.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace fw {

/// Component / bytes of the frame in single precision, for each of the 256 components.
class Shares {
public:
    explicit Shares(std::uint64_t byteCount) {
        const auto divisor = static_cast<float>(byteCount);
        for (std::size_t component = 0; component < shares_.size(); ++component) {
            shares_[component] = static_cast<float>(component) / divisor;
        }
    }
    float operator[](std::uint8_t component) const { return shares_[component]; }

private:
    std::array<float, 256> shares_;
};

struct Color {
    std::uint8_t r;
    std::uint8_t g;
    std::uint8_t b;
};

/// How red, green and blue follow from Y, Cb and Cr.
struct ColorMatrix {
    double y;
    double crToRed;
    double cbToGreen;
    double crToGreen;
    double cbToBlue;
};

inline constexpr ColorMatrix kVideo8 = {1.1643835616438356, 1.5960267857142858,
                                        -0.39176229009491365, -0.8129676472377709,
                                        2.017232142857143};
inline constexpr ColorMatrix kVideo10 = {1, 1.402, -0.34414, -0.71414, 1.772};

/// Cut toward zero; of the whole number the low 8 bits, so that values outside 0 to 255 wrap.
inline std::uint8_t wrappedComponent(double value) {
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

/// The sums in the order in which they stand.
inline Color converted(std::int32_t luma, std::int32_t cb, std::int32_t cr,
                       const ColorMatrix& matrix) {
    const double y = luma * matrix.y;
    return {wrappedComponent(y + cr * matrix.crToRed),
            wrappedComponent(y + cb * matrix.cbToGreen + cr * matrix.crToGreen),
            wrappedComponent(y + cb * matrix.cbToBlue)};
}

inline Color rawColor(const std::uint8_t* group) {
    return {group[1], group[2], group[3]};
}

inline Color videoColor8(const std::uint8_t* group) {
    return converted(group[1] - 16, group[2] - 128, group[3] - 128, kVideo8);
}

inline Color videoColor10(const std::uint8_t* group) {
    const std::uint32_t second = littleEndianWord(group + 4);
    return converted(middleSample(littleEndianWord(group)), lowSample(second) - 128,
                     highSample(second) - 128, kVideo10);
}

} // namespace fw
