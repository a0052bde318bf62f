#include "analysis/kernels/LumaKernel.h"
#include "pixels/PixelBuffer.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace fw {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

LumaCounts plainCounts(const std::vector<int>& values, std::int64_t refBlack, std::int64_t refWhite,
                       int largest) {
    LumaCounts counts{0, 0, largest, 0};
    for (const int v : values) {
        if (v > refWhite) {
            counts.whiteCount += 1;
            if (v > counts.highestWhite) {
                counts.highestWhite = v;
            }
        } else if (v < refBlack) {
            counts.blackCount += 1;
            if (v < counts.lowestBlack) {
                counts.lowestBlack = v;
            }
        }
    }
    return counts;
}

std::vector<int> plainLuma8(const Bytes& bytes) {
    std::vector<int> values;
    for (std::size_t i = 1; i < bytes.size(); i += 2) {
        values.push_back(bytes[i]);
    }
    return values;
}

std::vector<int> plainLuma10(const Bytes& bytes) {
    const auto at = [&bytes](std::size_t i) {
        return i < bytes.size() ? int{bytes[i]} : 0;
    };
    std::vector<int> values;
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        values.push_back(at(i + 1) / 4 + at(i + 2) % 16 * 64);
        values.push_back(at(i + 4) + at(i + 5) % 4 * 256);
        values.push_back(at(i + 6) / 16 + at(i + 7) % 64 * 16);
    }
    return values;
}

void expectBothKernelsEqual(const Bytes& bytes, std::int64_t black, std::int64_t white) {
    Bytes padded = bytes;
    padded.resize(bytes.size() + kReadableBytesPastEnd);
    const std::string what = std::to_string(bytes.size()) + " bytes, black " +
                             std::to_string(black) + ", white " + std::to_string(white);
    const LumaCounts counts8 = plainCounts(plainLuma8(bytes), black, white, 255);
    const LumaCounts counts10 = plainCounts(plainLuma10(bytes), black, white, 1023);
    EXPECT_EQ(scanLuma8(padded.data(), bytes.size(), black, white), counts8) << what;
    EXPECT_EQ(scanLuma10(padded.data(), bytes.size(), black, white), counts10) << what;
    EXPECT_EQ(scalar::scanLuma8(padded.data(), bytes.size(), black, white), counts8) << what;
    EXPECT_EQ(scalar::scanLuma10(padded.data(), bytes.size(), black, white), counts10) << what;
}

Bytes randomBytes(std::mt19937& generator, std::size_t size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(generator());
    }
    return bytes;
}

const std::vector<std::int64_t> kLevels = {kLeast, -1,  0,   1,   16,   64,   128,  235,
                                           254,    255, 256, 940, 1022, 1023, 1024, kMost};

TEST(LumaKernelTest, EqualsThePlainReferenceOnEverySmallSizeAndPairOfLevels) {
    std::mt19937 generator(1);
    for (std::size_t size = 0; size <= 34; ++size) {
        const Bytes bytes = randomBytes(generator, size);
        for (const std::int64_t black : kLevels) {
            for (const std::int64_t white : kLevels) {
                expectBothKernelsEqual(bytes, black, white);
            }
        }
    }
}

TEST(LumaKernelTest, EqualsThePlainReferenceOnUniformPictures) {
    for (int code = 0; code < 256; ++code) {
        const Bytes bytes(1000, static_cast<std::uint8_t>(code));
        expectBothKernelsEqual(bytes, 16, 235);
        expectBothKernelsEqual(bytes, 64, 940);
        expectBothKernelsEqual(bytes, 200, 100);
    }
}

TEST(LumaKernelTest, EqualsThePlainReferenceAcrossItsBlocks) {
    std::mt19937 generator(3);
    for (const std::size_t size : {524287UL, 524288UL, 524289UL, 2097152UL, 2097160UL, 3000001UL}) {
        expectBothKernelsEqual(randomBytes(generator, size), 16, 235);
    }
}

TEST(LumaKernelTest, KeepsWhatAnEarlierBlockFoundWhenALaterOneFindsNothing) {
    Bytes bytes(3U << 19, 128);
    bytes[1] = 3;
    bytes[3] = 250;
    bytes.resize(bytes.size() + kReadableBytesPastEnd);
    const LumaCounts expected{1, 1, 3, 250};
    EXPECT_EQ(scanLuma8(bytes.data(), 3U << 19, 16, 235), expected);
}

TEST(LumaKernelTest, AValueThatIsWhiteIsNotBlackToo) {
    const Bytes bytes(20 + kReadableBytesPastEnd, 150);
    const LumaCounts expected{0, 10, 255, 150};
    EXPECT_EQ(scanLuma8(bytes.data(), 20, 200, 100), expected);
}

TEST(LumaKernelTest, WithoutFindsTheLowestIsTheLargestCodeAndTheHighestZero) {
    const Bytes bytes(32, 128);
    EXPECT_EQ(scanLuma8(bytes.data(), 16, 16, 235), (LumaCounts{0, 0, 255, 0}));
    EXPECT_EQ(scanLuma10(bytes.data(), 16, 0, 1023), (LumaCounts{0, 0, 1023, 0}));
}

TEST(LumaKernelTest, ATenBitGroupPastTheEndTakesZerosAsSamples) {
    Bytes bytes(1 + kReadableBytesPastEnd, 0);
    EXPECT_EQ(scanLuma10(bytes.data(), 1, 64, 940), (LumaCounts{3, 0, 0, 0}));
}

TEST(LumaKernelTest, OneByteHolds8BitChromaOnly) {
    const Bytes bytes(1 + kReadableBytesPastEnd, 0);
    EXPECT_EQ(scanLuma8(bytes.data(), 1, 16, 235), (LumaCounts{0, 0, 255, 0}));
}

} // namespace
} // namespace fw
