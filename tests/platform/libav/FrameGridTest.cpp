#include "platform/libav/FrameGrid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace fw::libav {
namespace {

const std::vector<FrameRate> kUsualRates = {{24000, 1001}, {24, 1},        {25, 1}, {30000, 1001},
                                            {30, 1},       {48, 1},        {50, 1}, {60000, 1001},
                                            {60, 1},       {120000, 1001}, {25, 2}, {15, 1}};

std::int64_t roundedTick(std::int64_t frame, const FrameRate& rate, const Tick& tick) {
    return std::llround(static_cast<double>(frame) * static_cast<double>(rate.denominator) /
                        static_cast<double>(rate.numerator) * tick.denominator / tick.numerator);
}

TEST(StandardRate, findsTheRateThatAContainerRounded) {
    EXPECT_EQ(standardRate({19001, 317}), (FrameRate{60000, 1001}));
    EXPECT_EQ(standardRate({10100, 337}), (FrameRate{30000, 1001}));
    EXPECT_EQ(standardRate({989, 33}), (FrameRate{30000, 1001}));
    EXPECT_EQ(standardRate({24999, 1000}), (FrameRate{25, 1}));
    EXPECT_EQ(standardRate({12500, 1000}), (FrameRate{25, 2}));
    for (const FrameRate& rate : kUsualRates) {
        EXPECT_EQ(standardRate(rate), rate);
    }
}

TEST(StandardRate, leavesAnyOtherRateAlone) {
    EXPECT_FALSE(standardRate({1627, 100}).has_value());
    EXPECT_FALSE(standardRate({0, 1}).has_value());
    EXPECT_FALSE(standardRate({1, 1000}).has_value());
    EXPECT_FALSE(standardRate({25, 0}).has_value());
}

TEST(ConstantRate, isExactWhenEveryFrameLastsEquallyLong) {
    EXPECT_EQ(constantRate(std::vector<std::int64_t>{0, 512, 1024, 1536}, {1, 12800}),
              (FrameRate{25, 1}));
    EXPECT_EQ(constantRate(std::vector<std::int64_t>{7, 1008, 2009}, {1, 30000}),
              (FrameRate{30000, 1001}));
}

TEST(ConstantRate, isFoundOnAClockTooCoarseForTheFrameLength) {
    for (const Tick tick : {Tick{1, 1000}, Tick{1, 600}, Tick{1, 90000}}) {
        for (const FrameRate& rate : kUsualRates) {
            std::vector<std::int64_t> starts;
            for (std::int64_t frame = 0; frame < 1000; ++frame) {
                starts.push_back(roundedTick(frame, rate, tick));
            }
            EXPECT_EQ(constantRate(starts, tick), rate)
                << rate.numerator << "/" << rate.denominator << " on " << tick.denominator;
        }
    }
}

TEST(ConstantRate, isNothingWhenTheRateVariesOrTooLittleIsKnown) {
    EXPECT_FALSE(constantRate(std::vector<std::int64_t>{0, 512, 1024, 1600}, {1, 12800}));
    EXPECT_FALSE(constantRate(std::vector<std::int64_t>{0}, {1, 25}));
    EXPECT_FALSE(constantRate(std::vector<std::int64_t>{}, {1, 25}));
    EXPECT_FALSE(constantRate(std::vector<std::int64_t>{5, 5}, {1, 25}));
    EXPECT_FALSE(constantRate(std::vector<std::int64_t>{0, INT64_MAX}, {1, 25}));
}

TEST(FrameGrid, putsRoundedTimesExactlyOnTheFrameGrid) {
    for (const FrameRate& rate : kUsualRates) {
        for (const Tick tick : {Tick{1, 1000}, Tick{1, 600}, Tick{1, 90000}}) {
            const FrameGrid grid(tick, rate, true);
            for (std::int64_t frame = -3; frame < 5000; ++frame) {
                ASSERT_EQ(grid.timeAt(roundedTick(frame, rate, tick)), timeOfFrame(frame, rate))
                    << frame << " at " << rate.numerator << "/" << rate.denominator;
            }
        }
    }
}

TEST(FrameGrid, leavesATimeMoreThanATickOffTheGridAsItIs) {
    const FrameGrid grid({1, 1000}, {30, 1}, true);
    EXPECT_EQ(grid.timeAt(34), timeOfFrame(1, {30, 1}));
    EXPECT_EQ(grid.timeAt(35), MediaTime::make(35, 1000));
    EXPECT_EQ(grid.timeAt(50), MediaTime::make(50, 1000));
}

TEST(FrameGrid, takesTicksAsTheyAreWhereTheClockIsFineEnoughOrTheRateVaries) {
    EXPECT_EQ(FrameGrid({1, 1000}, {25, 1}, true).timeAt(41), MediaTime::make(41, 1000));
    EXPECT_EQ(FrameGrid({1, 1000}, {30, 1}, false).timeAt(33), MediaTime::make(33, 1000));
    EXPECT_EQ(FrameGrid({1001, 30000}, {30000, 1001}, true).timeAt(7),
              MediaTime::make(7007, 30000));
}

TEST(FrameGrid, turnsTicksBeyondEveryTimeInfinite) {
    const FrameGrid grid({1001, 30000}, {30000, 1001}, true);
    EXPECT_TRUE(grid.timeAt(INT64_MAX).isPositiveInfinity());
    EXPECT_TRUE(grid.timeAt(INT64_MIN).isNegativeInfinity());
}

TEST(TimeOfFrame, liesOnTheTimescaleOfOneFrame) {
    const MediaTime whole = timeOfFrame(3, {25, 1});
    EXPECT_EQ(whole.value, 3000);
    EXPECT_EQ(whole.timescale, 25000);
    const MediaTime pulledDown = timeOfFrame(3, {30000, 1001});
    EXPECT_EQ(pulledDown.value, 3003);
    EXPECT_EQ(pulledDown.timescale, 30000);
    const MediaTime half = timeOfFrame(3, {25, 2});
    EXPECT_EQ(half.value, 6);
    EXPECT_EQ(half.timescale, 25);
}

} // namespace
} // namespace fw::libav
