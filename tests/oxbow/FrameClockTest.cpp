#include "oxbow/FrameClock.h"

#include "media/FWAVFoundation.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

#include <limits>

namespace fw {
namespace {

std::unique_ptr<test::SyntheticAsset> movie(std::int64_t numerator, std::int64_t denominator,
                                            MediaTime duration = MediaTime::make(3600, 1)) {
    auto asset = std::make_unique<test::SyntheticAsset>();
    asset->tracks_ = {test::videoTrack(1, numerator, denominator)};
    asset->duration_ = duration;
    return asset;
}

/// The first frame whose time is not before an argument's: what the scanner begins with.
std::int64_t firstFrameAt(std::int64_t argument, const FrameClock& clock, const Asset& asset,
                          std::int64_t guess) {
    const MediaTime time = FWAVFoundation::timeFromFrameCount(static_cast<std::uint64_t>(argument),
                                                              FWAVFoundation::fpsForAsset(asset));
    std::int64_t frame = std::max<std::int64_t>(guess - 3, 0);
    while (clock.timeOf(frame) < time) {
        ++frame;
    }
    return frame;
}

struct Rate {
    std::int64_t numerator;
    std::int64_t denominator;
};

class FrameClockOfARate : public testing::TestWithParam<Rate> {};

TEST_P(FrameClockOfARate, EveryStartAndEndArgumentSelectsItsFrame) {
    const auto asset = movie(GetParam().numerator, GetParam().denominator);
    const FrameClock clock(*asset);
    for (std::int64_t frame = 0; frame < 5000; ++frame) {
        ASSERT_EQ(firstFrameAt(clock.startArgument(frame), clock, *asset, frame), frame);
        ASSERT_EQ(firstFrameAt(clock.endArgument(frame), clock, *asset, frame), frame);
    }
}

INSTANTIATE_TEST_SUITE_P(UsualAndOddRates, FrameClockOfARate,
                         testing::Values(Rate{24, 1}, Rate{25, 1}, Rate{30, 1}, Rate{50, 1},
                                         Rate{60, 1}, Rate{120, 1}, Rate{24000, 1001},
                                         Rate{30000, 1001}, Rate{60000, 1001}, Rate{25, 2},
                                         Rate{15, 2}, Rate{15000, 1001}, Rate{62, 5}, Rate{1, 1}));

TEST(FrameClock, FrameLengthsOfHalfRatesAreNotOneOverTheRate) {
    const auto asset = movie(25, 2);
    // 100 frames of 0.08 s are 8 s, 103.9 lengths of 1001/13000 s.
    EXPECT_EQ(FrameClock(*asset).startArgument(100), 103);
}

TEST(FrameClock, WhereLengthsAreLongerThanFramesTheRangeTakesInMoreRatherThanLess) {
    // The suite's length is 1001/30000 s; the second is how 29.97 comes out at timescale 600.
    for (const Rate rate : {Rate{2999, 100}, Rate{10100, 337}}) {
        const auto asset = movie(rate.numerator, rate.denominator);
        const FrameClock clock(*asset);
        for (std::int64_t frame = 1; frame < 20000; ++frame) {
            const auto first = firstFrameAt(clock.startArgument(frame), clock, *asset, frame);
            const auto end = firstFrameAt(clock.endArgument(frame), clock, *asset, frame);
            ASSERT_TRUE(first == frame || first == frame - 1) << frame;
            ASSERT_TRUE(end == frame || end == frame + 1) << frame;
        }
    }
}

TEST(FrameClock, SecondsGiveTheFirstFrameThatIsNotBeforeThem) {
    const auto asset = movie(25, 1);
    const FrameClock clock(*asset);
    EXPECT_EQ(clock.firstFrameFrom(0, 1), 0);
    EXPECT_EQ(clock.firstFrameFrom(40, 1000), 1);
    EXPECT_EQ(clock.firstFrameFrom(41, 1000), 2);
    EXPECT_EQ(clock.firstFrameFrom(125, 10), 313);
    const auto ntsc = movie(30000, 1001);
    EXPECT_EQ(FrameClock(*ntsc).firstFrameFrom(1, 1), 30) << "frame 29 is at 0.9676 s";
    EXPECT_EQ(FrameClock(*ntsc).firstFrameFrom(1001, 1000), 30) << "exactly at its time";
}

TEST(FrameClock, CountsTheFramesOfTheMoviesLength) {
    EXPECT_EQ(FrameClock(*movie(25, 1, MediaTime::make(10000, 1000))).frameCount(), 250);
    EXPECT_EQ(FrameClock(*movie(30000, 1001, MediaTime::make(250250, 30000))).frameCount(), 250);
    EXPECT_EQ(FrameClock(*movie(25, 1, MediaTime::indefinite())).frameCount(), 0);
}

TEST(FrameClock, WithoutAKnownRateAFrameIsAFrameLength) {
    const auto asset = movie(0, 1, MediaTime::make(2, 1));
    asset->tracks_.clear(); // 29.97, a length of 1001/30000.
    const FrameClock clock(*asset);
    EXPECT_EQ(clock.startArgument(17), 17);
    EXPECT_EQ(clock.endArgument(17), 17);
}

TEST(FrameClock, AnAbsurdRateOrNumberDoesNotOverflow) {
    for (const Rate rate : {Rate{std::numeric_limits<std::int64_t>::max(), 1}, Rate{1, 1000000},
                            Rate{2147483647, 1}, Rate{2147483647, 2147483646}}) {
        const auto asset = movie(rate.numerator, rate.denominator);
        const FrameClock clock(*asset);
        constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
        constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();
        EXPECT_EQ(clock.startArgument(kMost), clock.startArgument(kMostFrames));
        EXPECT_EQ(clock.endArgument(kMost), clock.endArgument(kMostFrames));
        EXPECT_GT(clock.startArgument(kMost), 0);
        EXPECT_EQ(clock.firstFrameFrom(kMost, 1), kMostFrames);
    }
}

} // namespace
} // namespace fw
