#include "media/FWAVFoundation.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

#include <limits>

namespace fw {
namespace {

using test::SyntheticAsset;

constexpr FourCC kTimecode32 = fourCC("tmcd");
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr auto kMostFrames = std::numeric_limits<std::uint64_t>::max();

Track timecodeTrackOfLength(std::int64_t value, std::int32_t timescale) {
    Track track = test::timecodeTrack(9, 1, 1, 30, 0, kTimecode32);
    track.formatDescriptions.front().frameDuration = {value, timescale, MediaTime::kValid, 0};
    return track;
}

SyntheticAsset movieOf(std::vector<Track> tracks) {
    SyntheticAsset asset;
    asset.tracks_ = std::move(tracks);
    return asset;
}

void expectFrameLength(double fps, std::int64_t value, std::int32_t timescale) {
    const MediaTime length = FWAVFoundation::frameLengthForFPS(fps);
    EXPECT_TRUE(length.isNumeric()) << fps;
    EXPECT_EQ(length.value, value) << fps;
    EXPECT_EQ(length.timescale, timescale) << fps;
}

TEST(FpsForAsset, without_video_and_timecode_is_29_97) {
    const SyntheticAsset asset;
    EXPECT_EQ(FWAVFoundation::fpsForAsset(asset), 29.97);
    const MediaTime length = FWAVFoundation::frameLengthForAsset(asset);
    EXPECT_EQ(length.value, 1001);
    EXPECT_EQ(length.timescale, 30000);
}

TEST(FpsForAsset, is_the_nominal_rate_of_the_first_video_track_widened) {
    const SyntheticAsset asset =
        movieOf({test::videoTrack(1, 24000, 1001), test::videoTrack(2, 25)});
    EXPECT_EQ(FWAVFoundation::fpsForAsset(asset),
              static_cast<double>(asset.tracks_[0].nominalFrameRate));
}

TEST(FpsForAsset, is_zero_for_a_video_track_that_tells_no_rate) {
    EXPECT_EQ(FWAVFoundation::fpsForAsset(movieOf({test::videoTrack(1, 0)})), 0.0);
}

TEST(FpsForAsset, is_the_timecode_tracks_rate_before_the_video_tracks) {
    const SyntheticAsset asset =
        movieOf({test::videoTrack(1, 30), timecodeTrackOfLength(1001, 30000)});
    EXPECT_EQ(FWAVFoundation::fpsForAsset(asset), 30000.0 / 1001);
}

TEST(FpsForAsset, is_the_timecode_tracks_rate_without_video) {
    EXPECT_EQ(FWAVFoundation::fpsForAsset(movieOf({timecodeTrackOfLength(1, 24)})), 24.0);
}

TEST(FpsForAsset, falls_back_to_the_video_track_when_the_timecode_track_has_no_rate) {
    EXPECT_EQ(FWAVFoundation::fpsForAsset(
                  movieOf({timecodeTrackOfLength(0, 30000), test::videoTrack(1, 25)})),
              25.0);
    EXPECT_EQ(FWAVFoundation::fpsForAsset(movieOf({timecodeTrackOfLength(0, 30000)})), 29.97);
}

TEST(FpsForAsset, asks_the_first_timecode_track_only) {
    const SyntheticAsset asset = movieOf(
        {timecodeTrackOfLength(0, 0), timecodeTrackOfLength(1, 24), test::videoTrack(1, 25)});
    EXPECT_EQ(FWAVFoundation::fpsForAsset(asset), 25.0);
}

TEST(FpsForAsset, is_the_video_tracks_rate_when_the_asset_may_not_be_read) {
    SyntheticAsset asset = movieOf({test::videoTrack(1, 30), timecodeTrackOfLength(1001, 30000)});
    asset.url_ = AssetUrl{"https", "/a.mov"};
    EXPECT_EQ(FWAVFoundation::fpsForAsset(asset), 30.0);
}

TEST(FpsFromTimecode, is_timescale_by_value_in_double_precision) {
    const SyntheticAsset asset;
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(1001, 30000)),
              29.970029970029970);
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(2, 1)), 0.5);
}

TEST(FpsFromTimecode, is_zero_when_the_asset_is_not_readable) {
    SyntheticAsset asset;
    asset.readable_ = false;
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(1, 25)), 0.0);
}

TEST(FpsFromTimecode, needs_a_timescale_and_a_value_above_zero) {
    const SyntheticAsset asset;
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(1, 0)), 0.0);
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(0, 25)), 0.0);
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(-1, 25)), 0.0);
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(1, -25)), 0.0);
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, timecodeTrackOfLength(1, 1)), 1.0);
}

TEST(FpsFromTimecode, takes_the_first_timecode_description_with_a_length) {
    const SyntheticAsset asset;
    Track track = timecodeTrackOfLength(1, 50);
    track.formatDescriptions.front().mediaType = fourCC("vide");
    track.formatDescriptions.push_back(timecodeTrackOfLength(0, 25).formatDescriptions.front());
    track.formatDescriptions.push_back(timecodeTrackOfLength(1, 25).formatDescriptions.front());
    track.formatDescriptions.push_back(timecodeTrackOfLength(1, 24).formatDescriptions.front());
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(asset, track), 25.0);
}

TEST(FpsFromTimecode, is_zero_without_a_description) {
    EXPECT_EQ(FWAVFoundation::fpsFromTimecodeForAsset(SyntheticAsset(), Track()), 0.0);
}

TEST(FrameLength, of_whole_rates_is_1000_by_1000_times_the_rate) {
    expectFrameLength(25, 1000, 25000);
    expectFrameLength(24, 1000, 24000);
    expectFrameLength(60, 1000, 60000);
    expectFrameLength(1, 1000, 1000);
}

TEST(FrameLength, of_other_rates_is_1001_by_1000_times_the_next_whole_rate) {
    expectFrameLength(29.97, 1001, 30000);
    expectFrameLength(30000.0 / 1001, 1001, 30000);
    expectFrameLength(23.976, 1001, 24000);
    expectFrameLength(59.94, 1001, 60000);
    expectFrameLength(12.5, 1001, 13000);
    expectFrameLength(0.5, 1001, 1000);
}

TEST(FrameLength, of_rates_beyond_the_timescale_is_held_at_its_end) {
    expectFrameLength(1e9, 1000, std::numeric_limits<std::int32_t>::max());
    expectFrameLength(kInfinity, 1000, std::numeric_limits<std::int32_t>::max());
    expectFrameLength(3000000.5, 1001, std::numeric_limits<std::int32_t>::max());
}

TEST(FrameLength, of_no_rate_is_no_time) {
    for (const double fps : {0.0, -25.0, -0.5, kNotANumber, -kInfinity}) {
        EXPECT_FALSE(FWAVFoundation::frameLengthForFPS(fps).isNumeric()) << fps;
    }
}

TEST(FramesAtTime, rounds_to_four_decimals_and_then_cuts) {
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(4004, 1000), 29.97), 119U);
    // 99.99996 and 99.9999 frames at one a second.
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(9999996, 100000), 1), 100U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(999999, 10000), 1), 99U);
    // 99.99995 is the half that goes up.
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(9999995, 100000), 1), 100U);
}

TEST(FramesAtTime, counts_whole_frames) {
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::zero(), 25), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(1001 * 300, 30000), 30000.0 / 1001),
              300U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(1, 50), 25), 0U);
}

TEST(FramesAtTime, of_a_time_that_is_no_number_are_none) {
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::invalid(), 25), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::indefinite(), 25), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime{5, 0, MediaTime::kValid, 0}, 25), 0U);
}

TEST(FramesAtTime, are_held_at_the_ends_of_64_bits) {
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(-1, 1), 25), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::negativeInfinity(), 25), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::positiveInfinity(), 25), kMostFrames);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(1LL << 62, 1), 25), kMostFrames);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(1, 1), kNotANumber), 0U);
    EXPECT_EQ(FWAVFoundation::framesAtTime(MediaTime::make(1, 1), kInfinity), kMostFrames);
}

TEST(FrameDurationForAsset, counts_the_frames_of_its_duration) {
    SyntheticAsset asset = movieOf({test::videoTrack(1, 25)});
    asset.duration_ = MediaTime::make(100, 25);
    EXPECT_EQ(FWAVFoundation::frameDurationForAsset(&asset), 100U);
    asset.duration_ = MediaTime::make(4040, 1000);
    EXPECT_EQ(FWAVFoundation::frameDurationForAsset(&asset), 101U);
}

TEST(FrameDurationForAsset, of_no_asset_is_zero) {
    EXPECT_EQ(FWAVFoundation::frameDurationForAsset(nullptr), 0U);
}

TEST(FrameDurationForAsset, of_an_undefined_duration_is_zero) {
    SyntheticAsset asset = movieOf({test::videoTrack(1, 25)});
    asset.duration_ = MediaTime::invalid();
    EXPECT_EQ(FWAVFoundation::frameDurationForAsset(&asset), 0U);
}

TEST(TimeFromFrameCount, is_the_frame_length_times_the_count) {
    const MediaTime time = FWAVFoundation::timeFromFrameCount(30, 29.97);
    EXPECT_EQ(time.value, 30030);
    EXPECT_EQ(time.timescale, 30000);
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(0, 25), MediaTime::zero());
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(2147483647, 25).value, 2147483647000);
}

TEST(TimeFromFrameCount, takes_the_low_32_bits_as_a_signed_number) {
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(2147483648, 25).value, -2147483648000);
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(0xFFFF'FFFF, 25).value, -1000);
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(0x1'0000'0000, 25).value, 0);
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount((1ULL << 62) + 7, 25).value, 7000);
    EXPECT_EQ(FWAVFoundation::timeFromFrameCount(kMostFrames, 25).value, -1000);
}

TEST(TimeFromFrameCount, at_no_rate_is_no_time) {
    EXPECT_FALSE(FWAVFoundation::timeFromFrameCount(1, 0).isValid());
}

TEST(IsDropFrame, is_false_without_a_timecode_track) {
    EXPECT_FALSE(FWAVFoundation::isDropFrame(movieOf({test::videoTrack(1, 30000, 1001)})));
}

TEST(IsDropFrame, is_bit_0_of_the_timecode_flags) {
    for (std::uint32_t flags = 0; flags < 8; ++flags) {
        const SyntheticAsset asset =
            movieOf({test::timecodeTrack(1, 30000, 1001, 30, flags, kTimecode32)});
        EXPECT_EQ(FWAVFoundation::isDropFrame(asset), flags % 2 == 1) << flags;
    }
}

TEST(IsDropFrame, walks_all_timecode_descriptions_of_the_first_timecode_track) {
    Track track = test::timecodeTrack(1, 30000, 1001, 30, 0, kTimecode32);
    track.formatDescriptions.push_back(track.formatDescriptions.front());
    track.formatDescriptions.back().timecodeFlags = FormatDescription::kDropFrame;
    EXPECT_TRUE(FWAVFoundation::isDropFrame(movieOf({track})));
    track.formatDescriptions.back().mediaType = fourCC("vide");
    EXPECT_FALSE(FWAVFoundation::isDropFrame(movieOf({track})));
}

TEST(IsDropFrame, takes_no_notice_of_a_second_timecode_track) {
    EXPECT_FALSE(FWAVFoundation::isDropFrame(
        movieOf({test::timecodeTrack(1, 30, 1, 30, 0, kTimecode32),
                 test::timecodeTrack(2, 30, 1, 30, FormatDescription::kDropFrame, kTimecode32)})));
}

TEST(IsDropFrame, does_not_ask_whether_the_asset_is_readable) {
    SyntheticAsset asset =
        movieOf({test::timecodeTrack(1, 30, 1, 30, FormatDescription::kDropFrame, kTimecode32)});
    asset.readable_ = false;
    EXPECT_TRUE(FWAVFoundation::isDropFrame(asset));
}

} // namespace
} // namespace fw
