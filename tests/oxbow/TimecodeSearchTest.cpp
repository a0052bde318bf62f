#include "oxbow/TimecodeSearch.h"
#include "media/FWAVFoundation.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

#include <set>

namespace fw {
namespace {

struct Movie {
    std::int64_t numerator;
    std::int64_t denominator;
    std::uint32_t quanta;
    bool dropFrame;
    std::uint32_t firstFrame;
    std::int64_t seconds;
};

std::unique_ptr<test::SyntheticAsset> assetOf(const Movie& movie) {
    auto asset = std::make_unique<test::SyntheticAsset>();
    const Track timecodes = test::timecodeTrack(
        2, static_cast<std::int32_t>(movie.numerator), static_cast<std::int32_t>(movie.denominator),
        movie.quanta, movie.dropFrame ? FormatDescription::kDropFrame : 0, fourCC("tmcd"));
    asset->tracks_ = {test::videoTrack(1, movie.numerator, movie.denominator), timecodes};
    asset->reading(2).samples = {test::timecodeSample(movie.firstFrame, timecodes)};
    asset->duration_ = MediaTime::make(movie.seconds, 1);
    return asset;
}

class TimecodeSearchInAMovie : public testing::TestWithParam<Movie> {};

TEST_P(TimecodeSearchInAMovie, FindsAFrameForEveryTimecodeThatIsPrinted) {
    const auto asset = assetOf(GetParam());
    const FrameClock clock(*asset);
    const TimecodeSearch search(*asset, clock);
    const auto start = FWAVFoundation::timecodeStartForAsset(*asset, "00:00:00:00");
    for (std::int64_t frame = 0; frame < clock.frameCount(); frame += 1 + frame / 997) {
        const std::string printed =
            FWAVFoundation::timecodeForAsset(*asset, clock.timeOf(frame), start);
        const std::optional<std::int64_t> found = search.frameWithTimecode(printed);
        ASSERT_TRUE(found.has_value()) << printed << ", frame " << frame;
        ASSERT_EQ(FWAVFoundation::timecodeForAsset(*asset, clock.timeOf(*found), start), printed);
    }
}

INSTANTIATE_TEST_SUITE_P(RatesAndStarts, TimecodeSearchInAMovie,
                         testing::Values(Movie{25, 1, 25, false, 0, 7200},
                                         Movie{25, 1, 25, false, 90000, 7200},
                                         Movie{24000, 1001, 24, false, 86400, 7200},
                                         Movie{30000, 1001, 30, true, 107892, 10800},
                                         Movie{30000, 1001, 30, false, 108000, 10800},
                                         Movie{60000, 1001, 60, true, 0, 10800},
                                         Movie{50, 1, 50, false, 0, 7200},
                                         Movie{25, 2, 13, false, 0, 7200},
                                         // From 23:59:00:00 past midnight.
                                         Movie{25, 1, 25, false, 2158500, 300},
                                         Movie{30000, 1001, 30, true, 2587612, 300}));

TEST(TimecodeSearch, NamesTheFrameOfTheMovie) {
    const auto asset = assetOf({25, 1, 25, false, 90000, 60});
    const FrameClock clock(*asset);
    const TimecodeSearch search(*asset, clock);
    EXPECT_EQ(search.firstTimecode(), "01:00:00:00");
    EXPECT_EQ(search.lastTimecode(), "01:00:59:24");
    EXPECT_EQ(search.frameWithTimecode("01:00:00:00"), 0);
    EXPECT_EQ(search.frameWithTimecode("01:00:10:05"), 255);
    EXPECT_EQ(search.frameWithTimecode("01:00:59:24"), 1499);
}

TEST(TimecodeSearch, TheMoviesEndCountsAsAFrame) {
    const auto asset = assetOf({25, 1, 25, false, 90000, 60});
    const FrameClock clock(*asset);
    EXPECT_EQ(TimecodeSearch(*asset, clock).frameWithTimecode("01:01:00:00"), 1500);
}

TEST(TimecodeSearch, WhatIsNotPrintedIsNotFound) {
    const auto asset = assetOf({25, 1, 25, false, 90000, 60});
    const FrameClock clock(*asset);
    const TimecodeSearch search(*asset, clock);
    for (const char* text : {"00:59:59:24", "01:01:00:01", "01:00:00:25", "01:00:61:00",
                             "25:00:00:00", "99:99:99:99"}) {
        EXPECT_EQ(search.frameWithTimecode(text), std::nullopt) << text;
    }
}

TEST(TimecodeSearch, EitherSeparatorAndFewerZerosNameTheSameFrame) {
    const auto whole = assetOf({25, 1, 25, false, 90000, 60});
    const FrameClock wholeClock(*whole);
    const TimecodeSearch search(*whole, wholeClock);
    EXPECT_EQ(search.frameWithTimecode("01:00:10;05"), 255);
    EXPECT_EQ(search.frameWithTimecode("1:0:10:5"), 255);
    const auto dropFrame = assetOf({30000, 1001, 30, true, 0, 600});
    const FrameClock dropFrameClock(*dropFrame);
    const TimecodeSearch dropFrameSearch(*dropFrame, dropFrameClock);
    EXPECT_EQ(dropFrameSearch.frameWithTimecode("00:01:00;02"), 1800);
    EXPECT_EQ(dropFrameSearch.frameWithTimecode("00:01:00:02"), 1800);
    EXPECT_EQ(dropFrameSearch.frameWithTimecode("00:01:00:00"), std::nullopt) << "dropped";
}

TEST(TimecodeSearch, ADroppedNumberIsNotFound) {
    const auto asset = assetOf({30000, 1001, 30, true, 0, 600});
    const FrameClock clock(*asset);
    const TimecodeSearch search(*asset, clock);
    const auto start = FWAVFoundation::timecodeStartForAsset(*asset, "00:00:00:00");
    std::set<std::string> printed;
    for (std::int64_t frame = 0; frame <= clock.frameCount(); ++frame) {
        printed.insert(FWAVFoundation::timecodeForAsset(*asset, clock.timeOf(frame), start));
    }
    int missing = 0;
    for (int minute = 0; minute < 10; ++minute) {
        for (int frame = 0; frame < 30; ++frame) {
            char text[32] = {};
            std::snprintf(text, sizeof text, "00:%02d:00;%02d", minute, frame);
            const bool isPrinted = printed.contains(text);
            EXPECT_EQ(search.frameWithTimecode(text).has_value(), isPrinted) << text;
            missing += isPrinted ? 0 : 1;
        }
    }
    EXPECT_GT(missing, 0) << "drop-frame drops numbers";
}

TEST(TimecodeSearch, WithoutATimecodeTrackItCountsFromZero) {
    test::SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    asset.duration_ = MediaTime::make(10, 1);
    const FrameClock clock(asset);
    EXPECT_EQ(TimecodeSearch(asset, clock).frameWithTimecode("00:00:01:00"), 25);
}

TEST(TimecodeSearch, AMovieWithoutLengthHasOneFrame) {
    test::SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    const FrameClock clock(asset);
    EXPECT_EQ(TimecodeSearch(asset, clock).frameWithTimecode("00:00:00:00"), 0);
    EXPECT_EQ(TimecodeSearch(asset, clock).frameWithTimecode("00:00:01:00"), std::nullopt);
}

} // namespace
} // namespace fw
