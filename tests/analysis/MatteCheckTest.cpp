#include "analysis/MatteCheck.h"
#include "base/systemLog.h"
#include "tests/analysis/BytesBuffer.h"
#include "tests/analysis/MatteReference.h"
#include "tests/support/SystemLogCapture.h"

#include <cmath>
#include <gtest/gtest.h>
#include <set>

namespace fw {
namespace {

using test::BytesBuffer;
using test::MatteReference;
using test::SystemLogCapture;
using Messages = std::vector<std::string>;

constexpr std::uint8_t kGrey = 100;

constexpr const char* kUpperNotBlack = "Upper matte area is not completely black";
constexpr const char* kUpperLarger = "Upper matte area is larger than expected";
constexpr const char* kLowerNotBlack = "Lower matte area is not completely black";
constexpr const char* kLowerLarger = "Lower matte area is larger than expected";
constexpr const char* kLeftNotBlack = "Left matte area is not completely black";
constexpr const char* kLeftLarger = "Left matte area is larger than expected";
constexpr const char* kRightNotBlack = "Right matte area is not completely black";
constexpr const char* kRightLarger = "Right matte area is larger than expected";

class MatteCheckTest : public testing::Test {
protected:
    SystemLogCapture log;

    static Messages check(BytesBuffer& buffer, double aspectRatio, std::int64_t bitDepth = 8) {
        return matte::checkAspectRatio(buffer, aspectRatio, bitDepth).value();
    }
};

BytesBuffer grey(std::uint64_t width, std::uint64_t height) {
    BytesBuffer buffer(width, height, width * 2);
    buffer.fill(kGrey);
    return buffer;
}

struct Counts {
    std::uint64_t black = 0;
    std::uint64_t nonBlack = 0;
};

Counts row(BytesBuffer& buffer, std::uint64_t index, std::int64_t bitDepth) {
    Counts counts;
    matte::scanPixelRow(buffer, index, bitDepth, &counts.black, &counts.nonBlack);
    return counts;
}

Counts column(BytesBuffer& buffer, std::uint64_t index, std::int64_t bitDepth) {
    Counts counts;
    matte::scanPixelColumn(buffer, index, bitDepth, &counts.black, &counts.nonBlack);
    return counts;
}

// Rows.

TEST_F(MatteCheckTest, RowOf8BitsCountsOddBytesAndCallsUpTo16Black) {
    BytesBuffer buffer({200, 16, 0, 17, 200, 0, 0, 255});
    const Counts counts = row(buffer, 0, 8);
    EXPECT_EQ(counts.black, 2U);
    EXPECT_EQ(counts.nonBlack, 2U);
}

TEST_F(MatteCheckTest, RowOf10BitsReadsTheMiddleSampleOfEightBytesAndCallsUpTo64Black) {
    // 64 and 65 in bits 10 to 19, with every bit around them set.
    BytesBuffer buffer({255, 0x03, 0xF1, 255, 255, 255, 255, 255, //
                        255, 0x07, 0xF1, 255, 0, 0, 0, 0});
    const Counts counts = row(buffer, 0, 10);
    EXPECT_EQ(counts.black, 1U);
    EXPECT_EQ(counts.nonBlack, 1U);
}

TEST_F(MatteCheckTest, AnyDepthBut10IsReadAs8Bits) {
    BytesBuffer buffer({200, 16, 0, 17, 200, 0, 0, 255});
    for (const std::int64_t depth : {0, 9, 11, -10}) {
        EXPECT_EQ(row(buffer, 0, depth).black, 2U) << depth;
    }
}

TEST_F(MatteCheckTest, RowTakesItsOwnBytesOnly) {
    BytesBuffer buffer(4, 3, 8);
    buffer.fillRows(1, 2, kGrey);
    EXPECT_EQ(row(buffer, 0, 8).nonBlack, 0U);
    EXPECT_EQ(row(buffer, 1, 8).nonBlack, 4U);
    EXPECT_EQ(row(buffer, 1, 8).black, 0U);
    EXPECT_EQ(row(buffer, 2, 8).nonBlack, 0U);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, RowPastTheEndLogsOnceAndCountsNothing) {
    BytesBuffer buffer(4, 3, 8);
    EXPECT_EQ(row(buffer, 3, 8).black, 0U);
    EXPECT_EQ(row(buffer, 3, 10).black, 0U);
    EXPECT_EQ(log.lines, (Messages{"Error: 25 beyond bounds 24", "Error: 31 beyond bounds 24"}));
}

TEST_F(MatteCheckTest, TenBitGroupThatEndsPastTheBufferIsNotReadAndLogged) {
    BytesBuffer buffer({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(row(buffer, 0, 10).black, 1U);
    EXPECT_EQ(log.lines, Messages{"Error: 15 beyond bounds 12"});
}

TEST_F(MatteCheckTest, TenBitGroupMayEndAtTheByteBehindTheBuffer) {
    BytesBuffer buffer({0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(row(buffer, 0, 10).black, 1U);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, RowFarPastTheEndIsRefusedWithItsLow32Bits) {
    BytesBuffer buffer(4, 3, 8);
    EXPECT_EQ(row(buffer, std::uint64_t{1} << 32, 10).black, 0U);
    EXPECT_EQ(row(buffer, std::uint64_t{1} << 32, 8).black, 0U);
    // Wraps to the last bytes of the address range.
    EXPECT_EQ(row(buffer, ~std::uint64_t{0} - 1, 10).black, 0U);
    EXPECT_EQ(log.lines,
              (Messages{"Error: 7 beyond bounds 24", "Error: 34359738369 beyond bounds 24",
                        "Error: -9 beyond bounds 24"}));
}

TEST_F(MatteCheckTest, CountsAreStoredOnlyWhereAsked) {
    BytesBuffer buffer({0, 0, 0, 200});
    std::uint64_t black = 77;
    std::uint64_t nonBlack = 77;
    matte::scanPixelRow(buffer, 0, 8, &black, nullptr);
    EXPECT_EQ(black, 1U);
    matte::scanPixelRow(buffer, 0, 8, nullptr, &nonBlack);
    EXPECT_EQ(nonBlack, 1U);
    matte::scanPixelRow(buffer, 0, 8, nullptr, nullptr);
    matte::scanPixelColumn(buffer, 0, 8, &black, nullptr);
    EXPECT_EQ(black, 0U);
    matte::scanPixelColumn(buffer, 0, 8, nullptr, &nonBlack);
    EXPECT_EQ(nonBlack, 0U);
    matte::scanPixelColumn(buffer, 0, 8, nullptr, nullptr);
}

TEST_F(MatteCheckTest, RowThatThrowsLogsTheReasonAndLeavesItsCountsUnwritten) {
    BytesBuffer buffer({0, 0, 0, 200});
    buffer.baseException = "The frame is gone.";
    std::uint64_t black = 77;
    std::uint64_t nonBlack = 78;
    matte::scanPixelRow(buffer, 0, 8, &black, &nonBlack);
    EXPECT_EQ(black, 77U);
    EXPECT_EQ(nonBlack, 78U);
    EXPECT_EQ(log.lines, Messages{"Exception: The frame is gone."});
}

// Columns.

TEST_F(MatteCheckTest, Column8BitsUsesTheIndexAsByteOffsetAndDriftsTwoBytesARow) {
    // Rows of 20 bytes: column 4 is the bytes 5, 27, 49, 71; it ends before 5 + 4 x 20.
    BytesBuffer buffer(10, 5, 20);
    buffer.fill(kGrey);
    for (const std::uint64_t offset : {5U, 27U, 49U, 71U}) {
        buffer[offset] = 0;
    }
    EXPECT_EQ(column(buffer, 4, 8).black, 4U);
    EXPECT_EQ(column(buffer, 4, 8).nonBlack, 0U);
    // An odd index goes one further, to a luma byte as well.
    EXPECT_EQ(column(buffer, 3, 8).black, 4U);
    EXPECT_EQ(column(buffer, 5, 8).black, 0U);
}

TEST_F(MatteCheckTest, Column10BitsStartsAtAnOddByteAndDriftsSevenBytesARow) {
    BytesBuffer buffer(48, 4, 128);
    buffer.fill(0xFF);
    for (const std::uint64_t offset : {9U, 144U, 279U}) { // 9 + 135 each
        buffer[offset + 1] = 0;
        buffer[offset + 2] = 0;
    }
    EXPECT_EQ(column(buffer, 9, 10).black, 3U) << "odd: as it is";
    EXPECT_EQ(column(buffer, 2, 10).black, 3U) << "even: seven further";
    EXPECT_EQ(column(buffer, 2, 10).nonBlack, 0U);
}

TEST_F(MatteCheckTest, ColumnOfOneRowHasNoSamples) {
    for (const std::int64_t depth : {8, 10}) {
        BytesBuffer buffer(4, 1, 8);
        EXPECT_EQ(column(buffer, 0, depth).black, 0U);
        EXPECT_EQ(column(buffer, 1, depth).black, 0U);
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, ColumnOfNoRowsHasNoSamples) {
    BytesBuffer buffer(4, 0, 8);
    EXPECT_EQ(column(buffer, 0, 8).black, 0U);
    EXPECT_EQ(column(buffer, 0, 10).black, 0U);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, Column8BitsReadsTheByteBehindTheEndAndLogsTheNext) {
    BytesBuffer buffer(3, 3, 7);
    buffer.fill(kGrey);
    const Counts counts = column(buffer, 20, 8); // Offsets 21 and 30 of 21 bytes.
    EXPECT_EQ(counts.black, 1U);
    EXPECT_EQ(counts.nonBlack, 0U);
    EXPECT_EQ(log.lines, Messages{"Error: 30 beyond bounds 21"});
}

TEST_F(MatteCheckTest, Column10BitsBeyondTheBufferLogsTheEndOfItsGroup) {
    BytesBuffer buffer(48, 2, 128);
    EXPECT_EQ(column(buffer, 251, 10).black, 0U);
    EXPECT_EQ(log.lines, Messages{"Error: 258 beyond bounds 256"});
}

// The decision.

TEST_F(MatteCheckTest, WithoutAPositiveRatioNothingIsScanned) {
    BytesBuffer buffer = grey(16, 16);
    for (const double ratio : {0.0, -0.0, -1.78, std::nan("")}) {
        EXPECT_EQ(check(buffer, ratio), Messages{});
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, FullFrameAt16To9RunsTheLargerScansOnlyAndLogsOneBoundsMessage) {
    BytesBuffer buffer = grey(1920, 1080);
    EXPECT_EQ(check(buffer, 16.0 / 9.0), Messages{});
    EXPECT_EQ(log.lines, Messages{"Error: 4147201 beyond bounds 4147200"});
}

/// 1920 x 1080 at 2.39: 138 spare rows on each side, of which 132 must be black.
BytesBuffer scopePicture(std::uint64_t upperBlackRows, std::uint64_t lowerBlackRows) {
    BytesBuffer buffer = grey(1920, 1080);
    buffer.fillRows(0, upperBlackRows, 16);
    buffer.fillRows(1080 - lowerBlackRows, 1080, 16);
    return buffer;
}

TEST_F(MatteCheckTest, ScopePictureWithExactBarsPasses) {
    BytesBuffer buffer = scopePicture(138, 138);
    EXPECT_EQ(check(buffer, 2.39), Messages{});
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(MatteCheckTest, UpperBarToleratesThreeTenthsOfTheBytesOfARowAndNoMore) {
    BytesBuffer buffer = scopePicture(132, 132);
    for (std::uint64_t i = 0; i < 1152; ++i) { // ceil(3840 x 0.3)
        buffer[i * 2 + 1] = 17;
    }
    EXPECT_EQ(check(buffer, 2.39), Messages{});
    buffer[131 * 3840 + 1] = 17; // The last row of the bar.
    EXPECT_EQ(check(buffer, 2.39), Messages{kUpperNotBlack});
}

TEST_F(MatteCheckTest, SixLinesOfEachBarAreSlack) {
    BytesBuffer buffer = scopePicture(132, 132);
    EXPECT_EQ(check(buffer, 2.39), Messages{});
    buffer = scopePicture(131, 132);
    EXPECT_EQ(check(buffer, 2.39), Messages{kUpperNotBlack});
    buffer = scopePicture(132, 131);
    EXPECT_EQ(check(buffer, 2.39), Messages{kLowerNotBlack});
}

TEST_F(MatteCheckTest, LowerBarNotBlackEndsTheCheckAndUpperDoesNot) {
    BytesBuffer buffer = scopePicture(0, 0);
    EXPECT_EQ(check(buffer, 2.39), (Messages{kUpperNotBlack, kLowerNotBlack}));
    buffer = scopePicture(0, 200);
    EXPECT_EQ(check(buffer, 2.39), (Messages{kUpperNotBlack, kLowerLarger}));
    buffer = scopePicture(200, 0);
    EXPECT_EQ(check(buffer, 2.39), (Messages{kUpperLarger, kLowerNotBlack}));
}

TEST_F(MatteCheckTest, FirstSideAcceptsTheExactShareAndSecondDoesNot) {
    // 100 rows: 20 examined, ceil(20 x 0.12) = 3. Ratio 1: no bars.
    BytesBuffer buffer = grey(100, 100);
    buffer.fillRows(0, 2, 0);
    EXPECT_EQ(check(buffer, 1.0), Messages{});
    buffer.fillRows(0, 3, 0);
    EXPECT_EQ(check(buffer, 1.0), Messages{kUpperLarger});

    // Bars of ten rows: ratio 100 / 68 leaves 32 spare rows, 16 - 6 = 10 each. The lower scan
    // starts in the bar's own first row, so that row counts, too.
    const auto barred = [](std::uint64_t lower) {
        BytesBuffer picture = grey(100, 100);
        picture.fillRows(0, 10, 0);
        picture.fillRows(100 - lower, 100, 0);
        return picture;
    };
    buffer = barred(12); // Counts 3.
    EXPECT_EQ(check(buffer, 100.0 / 68), Messages{});
    buffer = barred(13); // Counts 4.
    EXPECT_EQ(check(buffer, 100.0 / 68), Messages{kLowerLarger});
}

TEST_F(MatteCheckTest, UpperCountsFromBehindTheBar) {
    BytesBuffer buffer = grey(100, 100);
    buffer.fillRows(0, 12, 0);
    buffer.fillRows(90, 100, 0);
    EXPECT_EQ(check(buffer, 100.0 / 68), Messages{});
    buffer.fillRows(0, 13, 0);
    EXPECT_EQ(check(buffer, 100.0 / 68), Messages{kUpperLarger});
}

TEST_F(MatteCheckTest, BandThatIsDarkToNineTenthsIsNotReported) {
    // 20 rows examined: 17 dark rows are a larger bar, 18 are a fade.
    BytesBuffer buffer = grey(100, 100);
    buffer.fillRows(0, 17, 0);
    EXPECT_EQ(check(buffer, 1.0), Messages{kUpperLarger});
    buffer.fillRows(0, 18, 0);
    EXPECT_EQ(check(buffer, 1.0), Messages{});
}

TEST_F(MatteCheckTest, MoreThan30DarkLinesAreReportedWhateverTheirShare) {
    // 1400 rows: 280 examined, a share of 0.12 is 34.
    BytesBuffer buffer = grey(100, 1400);
    buffer.fillRows(0, 30, 0);
    EXPECT_EQ(check(buffer, 100.0 / 1400), Messages{});
    buffer.fillRows(0, 31, 0);
    EXPECT_EQ(check(buffer, 100.0 / 1400), Messages{kUpperLarger});
}

TEST_F(MatteCheckTest, ARowIsDarkAboveThreeTenthsOfItsBytes) {
    BytesBuffer buffer = grey(100, 100); // Rows of 200 bytes: more than 60 black samples.
    const auto darken = [&buffer](std::uint64_t samples) {
        for (std::uint64_t y = 0; y < 3; ++y) {
            for (std::uint64_t i = 0; i < samples; ++i) {
                buffer[y * 200 + i * 2 + 1] = 0;
            }
        }
    };
    darken(60);
    EXPECT_EQ(check(buffer, 1.0), Messages{});
    darken(61);
    EXPECT_EQ(check(buffer, 1.0), Messages{kUpperLarger});
}

TEST_F(MatteCheckTest, BlackFramePasses) {
    for (const double ratio : {2.39, 16.0 / 9.0, 4.0 / 3.0, 1.0}) {
        BytesBuffer buffer(1920, 1080, 3840);
        EXPECT_EQ(check(buffer, ratio), Messages{}) << ratio;
    }
}

TEST_F(MatteCheckTest, TenBitRowsNeverHoldEnoughSamplesForALargerBar) {
    BytesBuffer buffer(1920, 1080, 5120);
    buffer.fill(0xFF);
    buffer.fillRows(0, 250, 0);
    buffer.fillRows(830, 1080, 0);
    EXPECT_EQ(check(buffer, 2.39, 10), Messages{});
    buffer.fillRows(0, 1080, 0xFF);
    EXPECT_EQ(check(buffer, 2.39, 10), (Messages{kUpperNotBlack, kLowerNotBlack}));
}

TEST_F(MatteCheckTest, PillarboxFrameWithoutBarsIsNotBlackOnBothSides) {
    BytesBuffer buffer = grey(1920, 1080);
    EXPECT_EQ(check(buffer, 4.0 / 3.0), (Messages{kLeftNotBlack, kRightNotBlack}));
}

TEST_F(MatteCheckTest, AcademyPictureInAWideFrameWantsItsFirst234ColumnsBlack) {
    const auto withBar = [](std::uint64_t columns) {
        BytesBuffer buffer = grey(1920, 1080);
        for (std::uint64_t y = 0; y < 1080; ++y) {
            // A column's line drifts by two bytes a row: a bar of bytes moves with it.
            const std::uint64_t from = y * 3842;
            buffer.fill(from, std::min(from + columns + 2, buffer.byteCount()), 0);
        }
        return buffer;
    };
    // 30 of 100 samples of a bar may be bright: 164 of 234 columns are enough.
    BytesBuffer buffer = withBar(164);
    EXPECT_EQ(check(buffer, 4.0 / 3.0), Messages{kRightNotBlack});
    buffer = withBar(160);
    EXPECT_EQ(check(buffer, 4.0 / 3.0), (Messages{kLeftNotBlack, kRightNotBlack}));
    // 384 columns are examined behind the bar: ceil(384 x 0.1) dark ones are too many.
    buffer = withBar(234 + 39);
    EXPECT_EQ(check(buffer, 4.0 / 3.0), (Messages{kLeftLarger, kRightNotBlack}));
    buffer = withBar(234);
    EXPECT_EQ(check(buffer, 4.0 / 3.0), Messages{kRightNotBlack});
}

TEST_F(MatteCheckTest, ColumnsThatAreAllDarkAreAFade) {
    // 40 of each column's 98 samples are black, more than ceil(100 x 0.3): every column is dark.
    BytesBuffer buffer = grey(100, 100);
    buffer.fillRows(0, 40, 0);
    EXPECT_EQ(check(buffer, 0.99), Messages{});
}

/// Blackens what scanPixelColumn reads for a column of an 8-bit buffer.
void blackenColumn(BytesBuffer& buffer, std::uint64_t index) {
    const std::uint64_t start = index + (index % 2 == 0 ? 1 : 2);
    const std::uint64_t end = start + (buffer.height() - 1) * buffer.bytesPerRow();
    for (std::uint64_t o = start; o < end && o < buffer.byteCount();
         o += buffer.bytesPerRow() + 2) {
        buffer[o] = 0;
    }
}

TEST_F(MatteCheckTest, LeftAcceptsTheExactShareAndRightDoesNot) {
    // 110 columns, 22 examined: ceil(22 x 0.1f) = 3. Neighbouring columns share their samples: an
    // odd index and the even one above it.
    BytesBuffer buffer = grey(110, 100);
    blackenColumn(buffer, 0);
    EXPECT_EQ(check(buffer, 1.09), Messages{});
    blackenColumn(buffer, 2); // 0, 1 and 2 are dark.
    EXPECT_EQ(check(buffer, 1.09), Messages{kLeftLarger});

    BytesBuffer right = grey(110, 100);
    blackenColumn(right, 110); // 110 and 109 are dark.
    EXPECT_EQ(check(right, 1.09), Messages{});
    blackenColumn(right, 108); // 110 to 107: four.
    EXPECT_EQ(check(right, 1.09), Messages{kRightLarger});
}

TEST_F(MatteCheckTest, RightWithExactlyTheShareIsNotReported) {
    // Width 120, bar of 5 columns at the right from 115 on (odd): 115 shares with 116; back from
    // it 115, then 114 and 113. 24 examined, share 3.
    const double ratio = (120.0 - 22.0) / 100.0;
    BytesBuffer buffer = grey(120, 100);
    for (std::uint64_t c = 0; c < 5; ++c) {
        blackenColumn(buffer, c);
    }
    for (std::uint64_t c = 113; c < 121; ++c) {
        blackenColumn(buffer, c);
    }
    EXPECT_EQ(check(buffer, ratio), Messages{}) << "three dark columns";
    blackenColumn(buffer, 112); // 112 and 111.
    EXPECT_EQ(check(buffer, ratio), Messages{kRightLarger});
}

TEST_F(MatteCheckTest, SideBarsTolerateThreeTenthsOfTheirSamples) {
    // Bars of 4 columns of 100 rows: 120 samples may be bright.
    const double ratio = (120.0 - 20.0) / 100.0;
    BytesBuffer buffer(120, 100, 240);
    std::uint64_t bright = 0;
    // Column 0 alone reads offsets 1 + 242 k; 98 of them.
    for (std::uint64_t k = 0; k < 98; ++k, ++bright) {
        buffer[1 + 242 * k] = kGrey;
    }
    // Column 3 reads 5 + 242 k, as do 4 (outside the bar) and nothing else within it.
    for (std::uint64_t k = 0; bright < 120; ++k, ++bright) {
        buffer[5 + 242 * k] = kGrey;
    }
    EXPECT_EQ(check(buffer, ratio), Messages{});
    buffer[5 + 242 * 50] = kGrey;
    EXPECT_EQ(check(buffer, ratio), Messages{kLeftNotBlack});
}

TEST_F(MatteCheckTest, AnExceptionOfTheBufferGivesNothingAndALogLine) {
    BytesBuffer buffer = grey(16, 16);
    buffer.heightException = "The frame is gone.";
    EXPECT_EQ(matte::checkAspectRatio(buffer, 1.5, 8), std::nullopt);
    EXPECT_EQ(log.lines, Messages{"Exception: The frame is gone."});
}

TEST_F(MatteCheckTest, AnExceptionWithinAColumnGivesNothingAndWithinRowsIsSurvived) {
    BytesBuffer buffer = grey(16, 16);
    buffer.baseException = "No samples.";
    EXPECT_EQ(matte::checkAspectRatio(buffer, 0.5, 8), std::nullopt);
    EXPECT_EQ(log.lines, Messages{"Exception: No samples."});
    log.lines.clear();
    EXPECT_EQ(matte::checkAspectRatio(buffer, 1.0, 8), Messages{});
    EXPECT_EQ(log.lines, (Messages{"Exception: No samples.", "Exception: No samples."}))
        << "one row of each larger-bar scan";
}

TEST_F(MatteCheckTest, NeitherLocksNorUnlocksTheBuffer) {
    BytesBuffer buffer = grey(16, 16);
    check(buffer, 1.0);
    EXPECT_EQ(buffer.locks, 0);
    EXPECT_EQ(buffer.unlocks, 0);
}

TEST_F(MatteCheckTest, TinyFramesPass) {
    for (const std::int64_t depth : {8, 10}) {
        for (const double ratio : {0.01, 1.0, 2.39, 1e300, 1e-300}) {
            BytesBuffer one(1, 1, depth == 10 ? 128 : 4);
            BytesBuffer none(0, 0, 0);
            EXPECT_EQ(check(one, ratio, depth), Messages{});
            EXPECT_EQ(check(none, ratio, depth), Messages{});
        }
    }
}

// Against the plain reference.

Messages expectEqualsReference(const BytesBuffer& source, double ratio, bool tenBits,
                               SystemLogCapture& log) {
    BytesBuffer buffer = source;
    MatteReference reference;
    reference.width = source.width();
    reference.height = source.height();
    reference.bytesPerRow = source.bytesPerRow();
    reference.tenBits = tenBits;
    reference.bytes.assign(source.base(), source.base() + source.byteCount() + 16);
    log.lines.clear();
    const std::int64_t depth = tenBits ? 10 : 8;
    Messages messages = matte::checkAspectRatio(buffer, ratio, depth).value();
    EXPECT_EQ(messages, reference.check(ratio))
        << source.width() << " x " << source.height() << " at " << ratio;
    EXPECT_EQ(log.lines, reference.log)
        << source.width() << " x " << source.height() << " at " << ratio;
    return messages;
}

std::set<std::string> asSet(const Messages& messages) {
    return {messages.begin(), messages.end()};
}

TEST_F(MatteCheckTest, EqualsThePlainReferenceOnRandomPicturesWithBars) {
    std::mt19937 generator(11);
    const auto upTo = [&generator](std::uint64_t most) {
        return std::uniform_int_distribution<std::uint64_t>(0, most)(generator);
    };
    std::set<std::string> met;
    for (int round = 0; round < 3000; ++round) {
        const bool tenBits = upTo(1) == 1;
        const std::uint64_t width = 1 + upTo(70);
        const std::uint64_t height = 1 + upTo(70);
        const std::uint64_t bytesPerRow =
            tenBits ? (width + 47) / 48 * 128 : width * 2 + upTo(3) * upTo(4);
        BytesBuffer buffer(width, height, bytesPerRow);
        if (upTo(2) > 0) {
            buffer.randomize(generator);
        } else {
            buffer.fill(kGrey);
        }
        buffer.fillRows(0, upTo(height / 2), static_cast<std::uint8_t>(upTo(17)));
        buffer.fillRows(height - upTo(height / 2), height, static_cast<std::uint8_t>(upTo(17)));
        const std::uint64_t side = upTo(bytesPerRow / 2);
        for (std::uint64_t y = 0; y < height && round % 2 == 0; ++y) {
            buffer.fill(y * bytesPerRow, y * bytesPerRow + side, 0);
            buffer.fill((y + 1) * bytesPerRow - side, (y + 1) * bytesPerRow, 0);
        }
        const double ratio = 0.05 + static_cast<double>(upTo(400)) / 100;
        met.merge(asSet(expectEqualsReference(buffer, ratio, tenBits, log)));
    }
    EXPECT_EQ(met,
              (std::set<std::string>{kUpperNotBlack, kUpperLarger, kLowerNotBlack, kLowerLarger,
                                     kLeftNotBlack, kLeftLarger, kRightNotBlack, kRightLarger}))
        << "the pictures do not reach every message";
}

TEST_F(MatteCheckTest, RowsAndColumnsEqualThePlainReferenceAtEveryIndex) {
    std::mt19937 generator(12);
    for (const bool tenBits : {false, true}) {
        for (const std::uint64_t bytesPerRow : {1U, 2U, 7U, 8U, 9U, 21U, 128U}) {
            for (std::uint64_t height = 0; height < 6; ++height) {
                BytesBuffer buffer(3, height, bytesPerRow);
                buffer.randomize(generator);
                MatteReference reference;
                reference.height = height;
                reference.bytesPerRow = bytesPerRow;
                reference.tenBits = tenBits;
                reference.bytes.assign(buffer.base(), buffer.base() + buffer.byteCount() + 16);
                log.lines.clear();
                for (std::uint64_t index = 0; index < 150; ++index) {
                    const Counts across = row(buffer, index, tenBits ? 10 : 8);
                    reference.scanRow(index);
                    EXPECT_EQ(across.black, reference.black);
                    EXPECT_EQ(across.nonBlack, reference.nonBlack);
                    const Counts down = column(buffer, index, tenBits ? 10 : 8);
                    reference.scanColumn(index);
                    EXPECT_EQ(down.black, reference.black);
                    EXPECT_EQ(down.nonBlack, reference.nonBlack);
                }
                EXPECT_EQ(log.lines, reference.log);
            }
        }
    }
}

} // namespace
} // namespace fw
