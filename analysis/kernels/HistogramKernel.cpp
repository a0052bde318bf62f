#include "analysis/kernels/HistogramKernel.h"

#include "analysis/Quantize.h"
#include "analysis/kernels/V210Word.h"

namespace fw {
namespace {

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

/// Cut toward zero; of the whole number the low 8 bits, so that values outside 0 to 255 wrap.
std::uint8_t wrappedComponent(double value) {
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
}

Color rawColor(const std::uint8_t* group) {
    return {group[1], group[2], group[3]};
}

Color videoColor8(const std::uint8_t* group) {
    const double y = (group[1] - 16) * 1.1643835616438356;
    const double cb = group[2] - 128;
    const double cr = group[3] - 128;
    return {wrappedComponent(y + cr * 1.5960267857142858),
            wrappedComponent(y + cb * -0.39176229009491365 + cr * -0.8129676472377709),
            wrappedComponent(y + cb * 2.017232142857143)};
}

Color videoColor10(const std::uint8_t* group) {
    const std::uint32_t second = littleEndianWord(group + 4);
    const double y = middleSample(littleEndianWord(group));
    const double cb = lowSample(second) - 128;
    const double cr = highSample(second) - 128;
    return {wrappedComponent(y + cr * 1.402), wrappedComponent(y + cb * -0.34414 + cr * -0.71414),
            wrappedComponent(y + cb * 1.772)};
}

template <typename ColorOfGroup>
HistogramSums sumColor(const std::uint8_t* base, std::uint64_t byteCount, std::uint64_t groupSize,
                       ColorOfGroup colorOfGroup) {
    const Shares shares(byteCount);
    HistogramSums sums;
    for (std::uint64_t offset = 0; offset < byteCount; offset += groupSize) {
        const Color color = colorOfGroup(base + offset);
        ++sums.buckets[quantize_color(color.r, color.g, color.b)];
        sums.red += shares[color.r];
        sums.green += shares[color.g];
        sums.blue += shares[color.b];
    }
    return sums;
}

} // namespace

HistogramSums sumRawColor(const std::uint8_t* base, std::uint64_t byteCount,
                          std::uint64_t groupSize) {
    return sumColor(base, byteCount, groupSize, [](const auto* group) { return rawColor(group); });
}

HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumColor(base, byteCount, 4, [](const auto* group) { return videoColor8(group); });
}

HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumColor(base, byteCount, 8, [](const auto* group) { return videoColor10(group); });
}

HistogramSums sumGrey(const std::uint8_t* base, std::uint64_t byteCount) {
    const Shares shares(byteCount);
    HistogramSums sums;
    for (std::uint64_t offset = 0; offset < byteCount; offset += 4) {
        const std::uint8_t grey = base[offset + 1];
        ++sums.buckets[quantize_bw(grey)];
        sums.red += shares[grey];
    }
    return sums;
}

} // namespace fw
