#include "scanner/LumaCheck.h"
#include "pixels/PixelBuffer.h"
#include "tests/scanner/ScanMovie.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <limits>

namespace fw {
namespace {

using Messages = std::vector<std::string>;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

/// 1000 bytes of '2vuy' with the given numbers of luma samples of 15 and of 236, the rest 128.
Messages faultsOf8Bits(std::size_t blacks, std::size_t whites, const LumaLimits& limits = {}) {
    std::vector<std::uint8_t> bytes(1000 + kReadableBytesPastEnd, 128);
    for (std::size_t i = 0; i < blacks; ++i) {
        bytes[i * 2 + 1] = 15;
    }
    for (std::size_t i = blacks; i < blacks + whites; ++i) {
        bytes[i * 2 + 1] = 236;
    }
    return lumaFaults(bytes.data(), 1000, limits);
}

Messages faultsOf(MemoryPixelBuffer& frame, const LumaLimits& limits) {
    return lumaFaults(frame.base(), frame.byteCount(), limits);
}

TEST(LumaCheckTest, TenSamplesBelowBlackRaiseNothingAndElevenDo) {
    EXPECT_EQ(faultsOf8Bits(10, 0), Messages{});
    EXPECT_EQ(faultsOf8Bits(11, 0), Messages{"Blacks too low - 15 (11, 1.10%)"});
}

TEST(LumaCheckTest, TenSamplesAboveWhiteRaiseNothingAndElevenDo) {
    EXPECT_EQ(faultsOf8Bits(0, 10), Messages{});
    EXPECT_EQ(faultsOf8Bits(0, 11), Messages{"Whites too high - 236 (11, 1.10%)"});
}

TEST(LumaCheckTest, BlacksComeBeforeWhites) {
    EXPECT_EQ(faultsOf8Bits(11, 12),
              (Messages{"Blacks too low - 15 (11, 1.10%)", "Whites too high - 236 (12, 1.20%)"}));
}

TEST(LumaCheckTest, TheReferenceLevelsThemselvesAreLegal) {
    EXPECT_EQ(faultsOf8Bits(20, 20, {.refBlack = 15, .refWhite = 236}), Messages{});
    EXPECT_EQ(faultsOf8Bits(20, 20, {.refBlack = 16, .refWhite = 235}).size(), 2U);
}

TEST(LumaCheckTest, ShowsTheLowestBlackAndTheHighestWhite) {
    std::vector<std::uint8_t> bytes(100 + kReadableBytesPastEnd, 0);
    for (std::size_t i = 0; i < 25; ++i) {
        bytes[i * 2 + 1] = static_cast<std::uint8_t>(3 + i % 5);
        bytes[50 + i * 2 + 1] = static_cast<std::uint8_t>(250 - i % 5);
    }
    EXPECT_EQ(lumaFaults(bytes.data(), 100, {}),
              (Messages{"Blacks too low - 3 (25, 25.00%)", "Whites too high - 250 (25, 25.00%)"}));
}

TEST(LumaCheckTest, AFrameOfZeroLumaIsHalfBelowBlackAt8Bits) {
    const auto frame = test::frame8(0, 64, 32);
    EXPECT_EQ(faultsOf(*frame, {}), Messages{"Blacks too low - 0 (2048, 50.00%)"});
}

TEST(LumaCheckTest, AtTenBitsThePercentageIsOfAFifthOfTheBytes) {
    // 512 bytes hold 192 values: 192 / (512 / 5).
    const auto frame = test::frame10(3, 48, 4);
    EXPECT_EQ(faultsOf(*frame, {64, 940, 10}), Messages{"Blacks too low - 3 (192, 187.50%)"});
}

TEST(LumaCheckTest, TenBitLevelsAreComparedUnscaled) {
    EXPECT_EQ(faultsOf(*test::frame10(64), {64, 940, 10}), Messages{});
    EXPECT_EQ(faultsOf(*test::frame10(940), {64, 940, 10}), Messages{});
    EXPECT_EQ(faultsOf(*test::frame10(63), {64, 940, 10}),
              Messages{"Blacks too low - 63 (192, 187.50%)"});
    EXPECT_EQ(faultsOf(*test::frame10(941), {64, 940, 10}),
              Messages{"Whites too high - 941 (192, 187.50%)"});
    EXPECT_EQ(faultsOf(*test::frame10(502), {16, 235, 10}),
              Messages{"Whites too high - 502 (192, 187.50%)"})
        << "8-bit levels call nearly everything white";
}

TEST(LumaCheckTest, EveryDepthButTenIsReadAs8Bits) {
    const auto frame = test::frame8(0, 64, 32);
    for (const std::int64_t depth : {0, 8, 9, 12, -10}) {
        EXPECT_EQ(faultsOf(*frame, {16, 235, depth}), Messages{"Blacks too low - 0 (2048, 50.00%)"})
            << depth;
    }
}

TEST(LumaCheckTest, LevelsBeyondTheCodesCatchEverythingOrNothing) {
    const auto frame = test::frame8(128, 16, 2);
    EXPECT_EQ(faultsOf(*frame, {256, 300, 8}), Messages{"Blacks too low - 128 (32, 50.00%)"});
    EXPECT_EQ(faultsOf(*frame, {kMost, kMost, 8}), Messages{"Blacks too low - 128 (32, 50.00%)"});
    EXPECT_EQ(faultsOf(*frame, {-1, -1, 8}), Messages{"Whites too high - 128 (32, 50.00%)"});
    EXPECT_EQ(faultsOf(*frame, {kMost, kLeast, 8}), Messages{"Whites too high - 128 (32, 50.00%)"})
        << "white wins where both would hold";
    EXPECT_EQ(faultsOf(*frame, {kLeast, kMost, 8}), Messages{});
    EXPECT_EQ(faultsOf(*test::frame8(0, 16, 2), {0, 0, 8}), Messages{});
}

TEST(LumaCheckTest, ZeroIsNeverTooWhite) {
    // The highest white starts at 0, and 0 is above -1: even without a white sample the count
    // rules.
    EXPECT_EQ(faultsOf(*test::frame8(0, 16, 2), {-5, -1, 8}),
              Messages{"Whites too high - 0 (32, 50.00%)"});
    EXPECT_EQ(faultsOf(*test::frame8(0, 2, 2), {-5, -1, 8}), Messages{}) << "four samples only";
}

TEST(LumaCheckTest, BuffersWithoutALumaSampleRaiseNothing) {
    const std::vector<std::uint8_t> bytes(1 + kReadableBytesPastEnd, 0);
    EXPECT_EQ(lumaFaults(bytes.data(), 0, {}), Messages{});
    EXPECT_EQ(lumaFaults(bytes.data(), 1, {}), Messages{});
    EXPECT_EQ(lumaFaults(bytes.data(), 0, {64, 940, 10}), Messages{});
}

TEST(LumaCheckTest, RowPaddingIsWalkedLikePicture) {
    // Two visible columns a row, black padding behind them.
    std::vector<std::uint8_t> bytes(160 + kReadableBytesPastEnd, 0);
    for (std::size_t row = 0; row < 10; ++row) {
        bytes[row * 16 + 1] = 128;
        bytes[row * 16 + 3] = 128;
    }
    EXPECT_EQ(lumaFaults(bytes.data(), 160, {}), Messages{"Blacks too low - 0 (60, 37.50%)"});
}

TEST(LumaCheckTest, PercentagesRoundAsFormattedPrintDoes) {
    for (std::size_t total = 22; total < 900; total += 2) {
        std::vector<std::uint8_t> bytes(total + kReadableBytesPastEnd, 128);
        for (std::size_t count = 1; count <= total / 2; ++count) {
            bytes[count * 2 - 1] = 0;
            if (count <= 10 || count % 7 != 0) {
                continue;
            }
            char expected[100];
            std::snprintf(expected, sizeof expected, "Blacks too low - %i (%lu, %0.2f%%)", 0, count,
                          static_cast<double>(count) / (static_cast<double>(total) / 1) * 100);
            EXPECT_EQ(lumaFaults(bytes.data(), total, {}), Messages{expected});
        }
    }
}

} // namespace
} // namespace fw
