#include "media/FWAVFoundation.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

using test::SyntheticAsset;
using test::SyntheticSample;

constexpr FourCC kTimecode32 = fourCC("tmcd");
constexpr FourCC kCounter32 = fourCC("cn32");
constexpr int kTimecodeId = 7;
const std::string kDefault = "00:00:00:00";

/// A movie with one timecode track and the stored frame numbers of its samples.
SyntheticAsset movieWithTimecode(const Track& track, std::vector<SyntheticSample> samples) {
    SyntheticAsset asset;
    asset.tracks_ = {track};
    asset.reading(track.id).samples = std::move(samples);
    return asset;
}

SyntheticAsset movieWithTimecode(const Track& track, std::uint32_t frameNumber) {
    return movieWithTimecode(track, {test::timecodeSample(frameNumber, track)});
}

Track track25() {
    return test::timecodeTrack(kTimecodeId, 25, 1, 25, 0, kTimecode32);
}

Track trackDropFrame() {
    return test::timecodeTrack(kTimecodeId, 30000, 1001, 30, FormatDescription::kDropFrame,
                               kTimecode32);
}

/// A sample with so many bytes.
SyntheticSample sampleOf(std::size_t bytes, const Track& track) {
    SyntheticSample sample = test::timecodeSample(0x01020304, track);
    sample.data.resize(bytes);
    return sample;
}

std::optional<std::string> startOf(const SyntheticAsset& asset) {
    return FWAVFoundation::timecodeStartForAsset(asset, kDefault);
}

TEST(TimecodeStart, is_the_timecode_of_the_stored_frame_number) {
    EXPECT_EQ(startOf(movieWithTimecode(track25(), 90000)), "01:00:00:00");
    EXPECT_EQ(startOf(movieWithTimecode(track25(), 0x01020304)), "19:52:42:10"); // 16909060
}

TEST(TimecodeStart, is_written_with_drop_frame_when_the_track_has_it) {
    EXPECT_EQ(startOf(movieWithTimecode(trackDropFrame(), 1800)), "00:01:00;02");
    EXPECT_EQ(startOf(movieWithTimecode(trackDropFrame(), 107892)), "01:00:00;00");
}

TEST(TimecodeStart, is_the_default_without_a_timecode_track) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    EXPECT_EQ(startOf(asset), kDefault);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, std::nullopt), std::nullopt);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, "any text", AssumeTCOnly::kNo),
              "any text");
    EXPECT_EQ(asset.log_.readersMade, 0);
}

TEST(TimecodeStart, is_the_default_when_the_asset_is_not_readable) {
    SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    asset.readable_ = false;
    EXPECT_EQ(startOf(asset), kDefault);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, asset.tracks_[0], std::nullopt),
              std::nullopt);
    EXPECT_EQ(asset.log_.readersMade, 0);
}

TEST(TimecodeStart, is_the_default_when_no_reader_can_be_made) {
    SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    asset.reading(kTimecodeId).creationError = Error{"test", 1, "No reader."};
    EXPECT_EQ(startOf(asset), kDefault);
}

TEST(TimecodeStart, is_the_default_when_reading_does_not_start) {
    SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    asset.reading(kTimecodeId).neverStarts = true;
    EXPECT_EQ(startOf(asset), kDefault);
    EXPECT_EQ(asset.log_.cancellations, 1);
}

TEST(TimecodeStart, is_the_default_when_the_reader_throws) {
    SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    asset.reading(kTimecodeId).exceptionText = "The disk is gone.";
    EXPECT_EQ(startOf(asset), kDefault);
}

TEST(TimecodeStart, is_the_default_when_the_reader_fails_before_a_usable_sample) {
    SyntheticAsset asset = movieWithTimecode(track25(), {sampleOf(3, track25())});
    asset.reading(kTimecodeId).finalError = Error{"test", 1, "Damaged."};
    EXPECT_EQ(startOf(asset), kDefault);
}

TEST(TimecodeStart, is_the_default_when_all_samples_are_shorter_than_four_bytes) {
    const Track track = track25();
    SyntheticAsset asset = movieWithTimecode(
        track, {sampleOf(3, track), sampleOf(0, track), sampleOf(1, track), sampleOf(2, track)});
    EXPECT_EQ(startOf(asset), kDefault);
    EXPECT_EQ(asset.log_.cancellations, 1);
}

TEST(TimecodeStart, is_the_default_when_there_is_no_sample) {
    EXPECT_EQ(startOf(movieWithTimecode(track25(), std::vector<SyntheticSample>())), kDefault);
}

TEST(TimecodeStart, passes_over_short_samples_to_the_first_usable_one) {
    const Track track = track25();
    const SyntheticAsset asset =
        movieWithTimecode(track, {sampleOf(3, track), test::timecodeSample(25, track),
                                  test::timecodeSample(50, track)});
    EXPECT_EQ(startOf(asset), "00:00:01:00");
}

TEST(TimecodeStart, goes_on_while_the_reader_has_no_sample_yet) {
    SyntheticAsset asset = movieWithTimecode(track25(), 25);
    asset.reading(kTimecodeId).emptyAnswers = 5;
    EXPECT_EQ(startOf(asset), "00:00:01:00");
}

TEST(TimecodeStart, takes_no_notice_of_bytes_behind_the_frame_number) {
    SyntheticSample sample = test::timecodeSample(25, track25());
    sample.data.resize(20, std::byte{0xFF});
    EXPECT_EQ(startOf(movieWithTimecode(track25(), {sample})), "00:00:01:00");
}

TEST(TimecodeStart, reads_stored_samples_of_the_first_timecode_track_and_stops_at_once) {
    SyntheticAsset asset = movieWithTimecode(track25(), 25);
    asset.tracks_.push_back(test::timecodeTrack(8, 25, 1, 25, 0, kTimecode32));
    EXPECT_EQ(startOf(asset), "00:00:01:00");
    EXPECT_EQ(asset.log_.trackId, kTimecodeId);
    ASSERT_TRUE(asset.log_.settings);
    EXPECT_TRUE(std::holds_alternative<NativeSamples>(*asset.log_.settings));
    EXPECT_EQ(asset.log_.range, std::nullopt);
    EXPECT_EQ(asset.log_.readersMade, 1);
    EXPECT_EQ(asset.log_.cancellations, 1);
}

TEST(TimecodeStart, reads_the_given_track_when_one_is_given) {
    SyntheticAsset asset = movieWithTimecode(track25(), 25);
    const Track second = test::timecodeTrack(8, 24, 1, 24, 0, kTimecode32);
    asset.tracks_.push_back(second);
    asset.reading(8).samples = {test::timecodeSample(48, second)};
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, asset.tracks_[1], kDefault),
              "00:00:02:00");
}

TEST(TimecodeStart, takes_the_quanta_and_the_kind_from_the_sample_not_from_the_track) {
    SyntheticSample sample = test::timecodeSample(100, track25());
    sample.format.frameQuanta = 50;
    EXPECT_EQ(startOf(movieWithTimecode(track25(), {sample})), "00:00:02:00");
}

TEST(TimecodeStart, takes_quanta_of_zero_for_30) {
    EXPECT_EQ(startOf(movieWithTimecode(test::timecodeTrack(1, 25, 1, 0, 0, kTimecode32), 30)),
              "00:00:01:00");
}

TEST(TimecodeStart, takes_the_quanta_as_32_bits) {
    const Track track = test::timecodeTrack(1, 25, 1, 65536 + 25, 0, kTimecode32);
    EXPECT_EQ(startOf(movieWithTimecode(track, 65561)), "00:00:01:00");
}

TEST(TimecodeStart, takes_the_frame_number_as_unsigned) {
    const Track track = test::timecodeTrack(1, 1000000, 1, 1000000, 0, kTimecode32);
    EXPECT_EQ(startOf(movieWithTimecode(track, 0xFFFF'FFFF)), "01:11:34:967295");
}

TEST(TimecodeStart, of_a_counter_track_is_its_number_unless_timecode_is_assumed) {
    const Track track = test::timecodeTrack(kTimecodeId, 25, 1, 25, 0, kCounter32);
    SyntheticSample sample = test::timecodeSample(0, track);
    sample.data = {std::byte{0x00}, std::byte{0x00}, std::byte{0x01}, std::byte{0x2C}};
    const SyntheticAsset asset = movieWithTimecode(track, {sample});
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, kDefault, AssumeTCOnly::kNo), "300");
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, kDefault, AssumeTCOnly::kYes),
              "00:00:12:00");
}

TEST(TimecodeStart, assumes_timecode_when_nothing_is_said_about_it) {
    const Track track = test::timecodeTrack(kTimecodeId, 25, 1, 25, 0, kCounter32);
    const SyntheticAsset asset = movieWithTimecode(track, 300);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, kDefault), "00:00:12:00");
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(asset, asset.tracks_[0], kDefault),
              "00:00:12:00");
    EXPECT_EQ(
        FWAVFoundation::timecodeStartForAsset(asset, asset.tracks_[0], kDefault, AssumeTCOnly::kNo),
        "300");
}

TEST(TimecodeStart, of_a_counter_track_is_unsigned_decimal_text) {
    const Track track = test::timecodeTrack(kTimecodeId, 25, 1, 25, 0, kCounter32);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(movieWithTimecode(track, 0xFFFF'FFFF), kDefault,
                                                    AssumeTCOnly::kNo),
              "4294967295");
}

TEST(TimecodeStart, of_a_timecode_track_is_timecode_even_when_it_is_not_assumed) {
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(movieWithTimecode(track25(), 300), kDefault,
                                                    AssumeTCOnly::kNo),
              "00:00:12:00");
}

TEST(TimecodeAtTime, counts_on_from_the_recorded_start) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::zero(), asset), "01:00:00:00");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(26, 25), asset), "01:00:01:01");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(26, 25), asset, "09:00:00:00"),
              "01:00:01:01");
}

TEST(TimecodeAtTime, counts_from_the_default_where_nothing_is_recorded) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(1, 1), asset, "10:00:00:00"),
              "10:00:01:00");
}

TEST(TimecodeAtTime, is_text_even_without_any_start) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(2, 1), asset), "00:00:02:00");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(2, 1), asset, std::nullopt),
              "00:00:02:00");
}

TEST(TimecodeAtTime, of_a_time_below_zero_is_that_of_time_zero) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(-1, 25), asset), "01:00:00:00");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::make(-(1LL << 62), 25), asset),
              "01:00:00:00");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::negativeInfinity(), asset), "01:00:00:00");
}

TEST(TimecodeAtTime, of_an_undefined_time_is_that_of_time_zero) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::invalid(), asset), "01:00:00:00");
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::indefinite(), asset), "01:00:00:00");
}

TEST(TimecodeAtTime, of_an_infinite_time_is_the_largest_count) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 1)};
    // 2^63 frames at one a second are as many seconds; the truncated quotient holds 2^31 - 1.
    EXPECT_EQ(FWAVFoundation::timecodeAtTime(MediaTime::positiveInfinity(), asset),
              "15:30:08:9223372034707292160");
}

TEST(TimecodeForAsset, rounds_to_the_nearest_frame) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(49, 100), kDefault),
              "00:00:00:12");
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(1, 2), kDefault),
              "00:00:00:13");
}

TEST(TimecodeForAsset, counts_at_the_rounded_rate) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 30000, 1001)};
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(30 * 1001, 30000), kDefault),
              "00:00:01:00");
    asset.tracks_ = {test::videoTrack(1, 62, 5)}; // 12.4, counted at 12
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(12 * 5, 62), kDefault),
              "00:00:01:00");
}

TEST(TimecodeForAsset, counts_drop_frame_when_the_asset_does) {
    const SyntheticAsset asset = movieWithTimecode(trackDropFrame(), 0);
    const MediaTime time = MediaTime::make(std::int64_t{1800} * 1001, 30000);
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, time, "00:00:00;00"), "00:01:00;02");
}

TEST(TimecodeForAsset, counts_drop_frame_when_it_is_told_so) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 30000, 1001)};
    const MediaTime time = MediaTime::make(std::int64_t{1800} * 1001, 30000);
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, time, kDefault, DropFrame::kYes),
              "00:01:00;02");
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, time, kDefault, DropFrame::kNo),
              "00:01:00:00");
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, time, kDefault), "00:01:00:00");
}

TEST(TimecodeForAsset, reads_the_start_with_the_drop_frame_flag_it_writes_with) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 30000, 1001)};
    EXPECT_EQ(
        FWAVFoundation::timecodeForAsset(asset, MediaTime::zero(), "00:01:00;02", DropFrame::kYes),
        "00:01:00;02");
}

TEST(TimecodeForAsset, takes_a_start_that_is_no_timecode_for_zero) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    for (const std::optional<std::string>& start :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("nonsense"), std::optional<std::string>("300")}) {
        EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(1, 1), start),
                  "00:00:01:00");
    }
}

TEST(TimecodeForAsset, counts_nothing_at_a_rate_of_zero) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 0)};
    EXPECT_EQ(FWAVFoundation::timecodeForAsset(asset, MediaTime::make(100, 1), "00:00:01:00"),
              "00:00:01:00");
}

void expectTime(const MediaTime& time, std::int64_t value, std::int32_t timescale) {
    EXPECT_TRUE(time.isNumeric());
    EXPECT_EQ(time.value, value);
    EXPECT_EQ(time.timescale, timescale);
}

TEST(TimeFromTimecode, is_relative_to_the_recorded_start) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    expectTime(FWAVFoundation::timeFromTimecode("01:00:01:01", asset), 26000, 25000);
    expectTime(FWAVFoundation::timeFromTimecode("01:00:00:00", asset), 0, 25000);
}

TEST(TimeFromTimecode, is_negative_before_the_recorded_start) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    expectTime(FWAVFoundation::timeFromTimecode("00:59:59:24", asset), -1000, 25000);
}

TEST(TimeFromTimecode, begins_at_zero_where_nothing_is_recorded) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    expectTime(FWAVFoundation::timeFromTimecode("00:00:01:00", asset), 25000, 25000);
}

TEST(TimeFromTimecode, reads_drop_frame_when_the_asset_counts_it) {
    const SyntheticAsset asset = movieWithTimecode(trackDropFrame(), 1799);
    expectTime(FWAVFoundation::timeFromTimecode("00:01:00;02", asset), 1001, 30000);
}

TEST(TimeFromTimecode, of_text_that_is_no_timecode_is_time_zero) {
    // A text of fewer than four fields counts as frame 0, from which no start is taken off.
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    expectTime(FWAVFoundation::timeFromTimecode("", asset), 0, 25000);
}

TEST(TimeFromTimecode, counts_at_the_next_whole_rate_where_the_way_back_rounds) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 62, 5)}; // 12.4: read at 13, written at 12
    expectTime(FWAVFoundation::timeFromTimecode("00:00:01:00", asset), 13 * 1001, 13000);
}

TEST(TimeFromTimecode, comes_back_from_the_timecode_of_every_frame_of_an_hour) {
    const SyntheticAsset asset = movieWithTimecode(track25(), 90000);
    for (std::int32_t frame = 0; frame < 90000; frame += 11) {
        const MediaTime time = MediaTime::make(std::int64_t{frame} * 1000, 25000);
        ASSERT_EQ(
            FWAVFoundation::timeFromTimecode(FWAVFoundation::timecodeAtTime(time, asset), asset),
            time);
    }
}

} // namespace
} // namespace fw
