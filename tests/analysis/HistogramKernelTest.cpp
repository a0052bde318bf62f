#include "analysis/kernels/HistogramKernel.h"
#include "tests/analysis/BytesBuffer.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>

namespace fw {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The bytes of a frame and zeros behind them, up to any group's end.
int byteAt(const Bytes& bytes, std::size_t offset) {
    return offset < bytes.size() ? bytes[offset] : 0;
}

/// The integer part, and of that what is left modulo 256.
int wrapped(double value) {
    const auto whole = static_cast<long long>(std::trunc(value));
    return static_cast<int>(((whole % 256) + 256) % 256);
}

struct Rgb {
    int r = 0;
    int g = 0;
    int b = 0;
};

Rgb rawAt(const Bytes& bytes, std::size_t o) {
    return {byteAt(bytes, o + 1), byteAt(bytes, o + 2), byteAt(bytes, o + 3)};
}

Rgb video8At(const Bytes& bytes, std::size_t o) {
    const int y = byteAt(bytes, o + 1);
    const int cb = byteAt(bytes, o + 2);
    const int cr = byteAt(bytes, o + 3);
    const double luma = (y - 16) * 1.1643835616438356;
    return {wrapped(luma + (cr - 128) * 1.5960267857142858),
            wrapped(luma + (cb - 128) * -0.39176229009491365 + (cr - 128) * -0.8129676472377709),
            wrapped(luma + (cb - 128) * 2.017232142857143)};
}

Rgb video10At(const Bytes& bytes, std::size_t o) {
    const int y = byteAt(bytes, o + 1) / 4 + byteAt(bytes, o + 2) % 16 * 64;
    const int cb = byteAt(bytes, o + 4) + byteAt(bytes, o + 5) % 4 * 256;
    const int cr = byteAt(bytes, o + 6) / 16 + byteAt(bytes, o + 7) % 64 * 16;
    return {wrapped(y + (cr - 128) * 1.402),
            wrapped(y + (cb - 128) * -0.34414 + (cr - 128) * -0.71414),
            wrapped(y + (cb - 128) * 1.772)};
}

HistogramSums plainColor(const Bytes& bytes, std::size_t step,
                         Rgb (*at)(const Bytes&, std::size_t)) {
    HistogramSums sums;
    const auto n = static_cast<float>(bytes.size());
    for (std::size_t o = 0; o < bytes.size(); o += step) {
        const Rgb c = at(bytes, o);
        const int bucket = c.r / 64 * 16 + c.g / 64 * 4 + c.b / 64;
        sums.buckets.at(static_cast<std::size_t>(bucket)) += 1;
        sums.red = sums.red + static_cast<float>(c.r) / n;
        sums.green = sums.green + static_cast<float>(c.g) / n;
        sums.blue = sums.blue + static_cast<float>(c.b) / n;
    }
    return sums;
}

HistogramSums plainGrey(const Bytes& bytes) {
    HistogramSums sums;
    const auto n = static_cast<float>(bytes.size());
    for (std::size_t o = 0; o < bytes.size(); o += 4) {
        const int v = byteAt(bytes, o + 1);
        sums.buckets[static_cast<std::size_t>(v / 4)] += 1;
        sums.red = sums.red + static_cast<float>(v) / n;
    }
    return sums;
}

void expectAllKernelsEqual(const Bytes& bytes, const std::string& what) {
    Bytes padded = bytes;
    padded.resize(bytes.size() + kReadableBytesPastEnd);
    const std::uint8_t* base = padded.data();
    EXPECT_EQ(sumRawColor(base, bytes.size(), 4), plainColor(bytes, 4, rawAt)) << what;
    EXPECT_EQ(sumRawColor(base, bytes.size(), 8), plainColor(bytes, 8, rawAt)) << what;
    const HistogramSums video8 = plainColor(bytes, 4, video8At);
    const HistogramSums video10 = plainColor(bytes, 8, video10At);
    EXPECT_EQ(sumVideoColor8(base, bytes.size()), video8) << what;
    EXPECT_EQ(sumVideoColor10(base, bytes.size()), video10) << what;
    EXPECT_EQ(scalar::sumVideoColor8(base, bytes.size()), video8) << what;
    EXPECT_EQ(scalar::sumVideoColor10(base, bytes.size()), video10) << what;
    EXPECT_EQ(sumGrey(base, bytes.size()), plainGrey(bytes)) << what;
}

TEST(HistogramKernelTest, EqualsThePlainReferenceOnEverySmallSize) {
    std::mt19937 generator(1);
    for (std::size_t size = 0; size <= 40; ++size) {
        for (int round = 0; round < 20; ++round) {
            Bytes bytes(size);
            for (std::uint8_t& byte : bytes) {
                byte = static_cast<std::uint8_t>(generator());
            }
            expectAllKernelsEqual(bytes, "size " + std::to_string(size));
        }
    }
}

TEST(HistogramKernelTest, EqualsThePlainReferenceOnLargeRandomPictures) {
    std::mt19937 generator(2);
    for (const std::size_t size : {1000UL, 4099UL, 65537UL, 262144UL}) {
        Bytes bytes(size);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(generator());
        }
        expectAllKernelsEqual(bytes, "size " + std::to_string(size));
    }
}

/// Sums that pass every power of two on their way, slowly and in leaps.
TEST(HistogramKernelTest, EqualsThePlainReferenceOnPicturesThatAreDarkBrightAndDarkAgain) {
    std::mt19937 generator(4);
    // In frames of 2^n bytes a share often lies half-way between two places of the sum.
    for (const std::size_t size : {1UL << 16, 1UL << 18, 3UL << 16, 5120UL * 54, 300001UL}) {
        for (const int level : {0, 1, 2, 7}) {
            Bytes bytes(size);
            for (std::size_t i = 0; i < size; ++i) {
                const bool isBright = i > size / 3 && i < size / 2;
                const unsigned most = isBright ? 256U : 1U << level;
                bytes[i] = static_cast<std::uint8_t>(generator() % most);
            }
            expectAllKernelsEqual(bytes,
                                  std::to_string(size) + " bytes, level " + std::to_string(level));
        }
    }
}

/// Black in 8 bits gives sums that stay 0; after a faint group a bright one is 2^31 places of the
/// sum.
TEST(HistogramKernelTest, EqualsThePlainReferenceOnBlackWithFewOtherGroups) {
    constexpr std::size_t kGroups = 16384;
    for (const std::size_t faint : {3UL, kGroups}) {
        for (const std::size_t bright : {4UL, 511UL, 512UL, 5000UL, kGroups - 1}) {
            std::vector<int> lumas(kGroups + 1, 16);
            lumas[faint] = 17;
            lumas[bright] = 235;
            lumas[bright + 1] = 235;
            Bytes bytes;
            for (std::size_t group = 0; group < kGroups; ++group) {
                for (const int byte : {128, lumas[group], 128, 128}) {
                    bytes.push_back(static_cast<std::uint8_t>(byte));
                }
            }
            expectAllKernelsEqual(bytes, "faint at " + std::to_string(faint) + ", bright at " +
                                             std::to_string(bright));
        }
    }
}

TEST(HistogramKernelTest, EqualsThePlainReferenceOnUniformPicturesOfEveryCode) {
    for (int code = 0; code < 256; ++code) {
        expectAllKernelsEqual(Bytes(1003, static_cast<std::uint8_t>(code)),
                              "code " + std::to_string(code));
    }
}

TEST(HistogramKernelTest, EqualsThePlainReferenceOnEveryLumaAndTheExtremesOfChroma) {
    Bytes bytes;
    for (int y = 0; y < 256; ++y) {
        for (const int cb : {0, 1, 127, 128, 129, 254, 255}) {
            for (const int cr : {0, 1, 127, 128, 129, 254, 255}) {
                for (const int byte : {0, y, cb, cr}) {
                    bytes.push_back(static_cast<std::uint8_t>(byte));
                }
            }
        }
    }
    expectAllKernelsEqual(bytes, "8-bit corners");
}

TEST(HistogramKernelTest, EqualsThePlainReferenceOnEvery10BitLumaAndTheExtremesOfChroma) {
    Bytes bytes;
    for (std::uint32_t y = 0; y < 1024; ++y) {
        for (const std::uint32_t cb : {0U, 127U, 128U, 512U, 1023U}) {
            for (const std::uint32_t cr : {0U, 127U, 128U, 512U, 1023U}) {
                for (const std::uint32_t word : {y << 10, cb | cr << 20}) {
                    for (const int shift : {0, 8, 16, 24}) {
                        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
                    }
                }
            }
        }
    }
    expectAllKernelsEqual(bytes, "10-bit corners");
}

} // namespace
} // namespace fw
