#include "scanner/LeadIn.h"
#include "media/FrameNumber.h"
#include "tests/scanner/ScanMovie.h"

#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace fw {
namespace {

using test::frameRange;

constexpr std::int64_t kHuge = std::int64_t{1} << 62;

void expectTime(const MediaTime& time, std::int64_t value, std::int32_t timescale) {
    EXPECT_EQ(time.value, value);
    EXPECT_EQ(time.timescale, timescale);
    EXPECT_TRUE(time.isNumeric());
}

TEST(LeadInTest, StartsTheFramesEarlierAndEndsWhereTheRangeEnds) {
    const MediaTimeRange range = rangeWithLeadIn(frameRange(10, 15), 4, 25);
    expectTime(range.start, 6000, 25000);
    expectTime(range.duration, 9000, 25000);
}

TEST(LeadInTest, IsMadeOnTheTimescaleOfTheDuration) {
    // 4 / 25 of a second is 1.6 ticks of a tenth: 2.
    const MediaTimeRange range =
        rangeWithLeadIn({MediaTime::make(10, 10), MediaTime::make(20, 10)}, 4, 25);
    expectTime(range.start, 8, 10);
    expectTime(range.duration, 22, 10);
    // The start keeps what the common timescale gives.
    const MediaTimeRange mixed =
        rangeWithLeadIn({MediaTime::make(10000, 25000), MediaTime::make(20, 10)}, 4, 25);
    EXPECT_EQ(mixed.start, MediaTime::make(2, 10));
    expectTime(mixed.duration, 22, 10);
}

TEST(LeadInTest, AtRatesThatAreNotWholeItIsTheNearestTick) {
    const float rate = nominalFrameRate({30000, 1001});
    const MediaTimeRange range = rangeWithLeadIn({MediaTime::make(std::int64_t{1001} * 100, 30000),
                                                  MediaTime::make(std::int64_t{1001} * 10, 30000)},
                                                 4, rate);
    expectTime(range.start, std::int64_t{1001} * 96, 30000);
    expectTime(range.duration, std::int64_t{1001} * 14, 30000);
}

TEST(LeadInTest, AtTheStartOfTheMovieItBeginsBelowZero) {
    const MediaTimeRange range = rangeWithLeadIn(frameRange(0, 5), 4, 25);
    expectTime(range.start, -4000, 25000);
    expectTime(range.duration, 9000, 25000);
}

/// The most that is read before a range, in seconds.
constexpr std::int64_t kMostSeconds = std::int64_t{1} << 30;

TEST(LeadInTest, AHugeLengthNeitherOverflowsNorMovesTheEnd) {
    for (const std::int64_t frames : {kHuge, std::numeric_limits<std::int64_t>::max()}) {
        for (const float rate : {25.0F, 0.001F, 1e-30F}) {
            const MediaTimeRange range = rangeWithLeadIn(frameRange(10, 15), frames, rate);
            expectTime(range.start, 10000 - kMostSeconds * 25000, 25000);
            expectTime(range.duration, 5000 + kMostSeconds * 25000, 25000);
            EXPECT_EQ(range.end(), frameRange(10, 15).end());
        }
    }
}

TEST(LeadInTest, AHugeLengthFitsWhateverTheTimescales) {
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    for (const auto& [startScale, durationScale] :
         {std::pair{90000, 600}, std::pair{600, 90000}, std::pair{1, kLargest},
          std::pair{kLargest, 1}, std::pair{kLargest, kLargest}}) {
        const MediaTimeRange range =
            rangeWithLeadIn({MediaTime::make(startScale, startScale),
                             MediaTime::make(durationScale, durationScale)},
                            kHuge, 25);
        EXPECT_TRUE(range.start.isNumeric());
        EXPECT_LT(range.start, MediaTime::zero());
        EXPECT_EQ(range.end(), MediaTime::make(2, 1));
    }
}

TEST(LeadInTest, TheLongestLeadInThatIsExact) {
    const MediaTimeRange range = rangeWithLeadIn(frameRange(0, 0), kMostSeconds * 25 - 1, 25);
    expectTime(range.start, -(kMostSeconds * 25 - 1) * 1000, 25000);
}

TEST(LeadInTest, AnUnknownRateReadsFromTheStartOfTheMovie) {
    const MediaTimeRange range = rangeWithLeadIn(frameRange(10, 15), 4, 0);
    EXPECT_LT(range.start, MediaTime::zero());
    EXPECT_EQ(range.end(), frameRange(10, 15).end());
}

TEST(LeadInTest, ARangeThatIsNotNumericStaysSo) {
    const MediaTimeRange range = rangeWithLeadIn({}, 4, 25);
    EXPECT_FALSE(range.start.isNumeric());
    EXPECT_FALSE(range.duration.isNumeric());
}

} // namespace
} // namespace fw
