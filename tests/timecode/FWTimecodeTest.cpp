#include "timecode/FWTimecode.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <string>

namespace fw {
namespace {

using std::chrono::system_clock;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr auto kMostFrames = std::numeric_limits<std::uint64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

constexpr bool kNoNtsc = false;
constexpr bool kNtsc = true;
constexpr bool kNoDrop = false;
constexpr bool kDrop = true;

std::string text(std::uint64_t frameCount, std::int64_t timebase, bool dropFrame,
                 std::uint64_t startFrame = 0) {
    return FWTimecode::timecodeFromFrameCount(frameCount, timebase, kNoNtsc, dropFrame, startFrame);
}

std::uint64_t count(const std::string& timecode, std::int64_t timebase, bool dropFrame,
                    std::uint64_t startFrame = 0) {
    return FWTimecode::frameCountFromTimecode(timecode, timebase, kNoNtsc, dropFrame, startFrame);
}

TEST(Modulus, is_the_rest_after_the_truncated_quotient) {
    EXPECT_EQ(modulus(7, 3), 1);
    EXPECT_EQ(modulus(-7, 3), -1);
    EXPECT_EQ(modulus(7, -3), 1);
    EXPECT_EQ(modulus(7.5, 2), 1.5);
    EXPECT_EQ(modulus(0, 5), 0);
}

TEST(Modulus, cuts_the_quotient_to_32_bits) {
    EXPECT_EQ(modulus(0x1p40, 1), 0x1p40 - 2147483647.0);
    EXPECT_EQ(modulus(-0x1p40, 1), -0x1p40 + 2147483648.0);
}

TEST(Modulus, of_zero_leaves_the_number) {
    EXPECT_EQ(modulus(5, 0), 5);
    EXPECT_EQ(modulus(-5, 0), -5);
    EXPECT_EQ(modulus(0, 0), 0);
}

TEST(TimecodeFromFrameCount, counts_frames_seconds_minutes_and_hours) {
    EXPECT_EQ(text(0, 25, kNoDrop), "00:00:00:00");
    EXPECT_EQ(text(24, 25, kNoDrop), "00:00:00:24");
    EXPECT_EQ(text(25, 25, kNoDrop), "00:00:01:00");
    EXPECT_EQ(text(25 * 60, 25, kNoDrop), "00:01:00:00");
    EXPECT_EQ(text(25 * 3600, 25, kNoDrop), "01:00:00:00");
    EXPECT_EQ(text(24 * (3600 + 2 * 60 + 3) + 4, 24, kNoDrop), "01:02:03:04");
}

TEST(TimecodeFromFrameCount, drops_two_numbers_at_the_first_minute_of_30) {
    EXPECT_EQ(text(1799, 30, kDrop), "00:00:59;29");
    EXPECT_EQ(text(1800, 30, kDrop), "00:01:00;02");
}

TEST(TimecodeFromFrameCount, has_drop_frame_blocks_of_18000_frames_at_30) {
    EXPECT_EQ(text(17982, 30, kDrop), "00:10:00;02");
    EXPECT_EQ(text(17999, 30, kDrop), "00:10:00;19");
    EXPECT_EQ(text(18000, 30, kDrop), "00:10:00;18");
    EXPECT_EQ(text(107892, 30, kDrop), "01:00:00;00");
    EXPECT_EQ(text(1000000, 30, kDrop), "09:16:06;20");
}

TEST(TimecodeFromFrameCount, writes_a_semicolon_only_before_drop_frames) {
    EXPECT_EQ(text(0, 30, kDrop), "00:00:00;00");
    EXPECT_EQ(text(0, 30, kNoDrop), "00:00:00:00");
}

TEST(TimecodeFromFrameCount, drops_numbers_at_24_and_25_too) {
    // round(24 x 0.0667) = round(25 x 0.0667) = 2; the minutes are 1438 and 1498 frames long.
    EXPECT_EQ(text(1439, 24, kDrop), "00:00:59;23");
    EXPECT_EQ(text(1440, 24, kDrop), "00:01:00;02");
    EXPECT_EQ(text(1500, 25, kDrop), "00:01:00;02");
}

TEST(TimecodeFromFrameCount, takes_a_timebase_of_zero_or_below_for_30) {
    for (const std::int64_t timebase :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-25}, kLeast}) {
        EXPECT_EQ(text(30, timebase, kNoDrop), "00:00:01:00");
        EXPECT_EQ(text(1800, timebase, kDrop), "00:01:00;02");
    }
}

TEST(TimecodeFromFrameCount, wraps_hours_at_24) {
    EXPECT_EQ(text(86400 * 30, 30, kNoDrop), "00:00:00:00");
    EXPECT_EQ(text(86400 * 30 - 1, 30, kNoDrop), "23:59:59:29");
    EXPECT_EQ(text(std::uint64_t{86400} * 25 * 3 + 25 * 3600, 25, kNoDrop), "01:00:00:00");
}

TEST(TimecodeFromFrameCount, adds_the_start_frame_and_wraps_with_it) {
    EXPECT_EQ(text(10, 25, kNoDrop, 90000), "01:00:00:10");
    EXPECT_EQ(text(1, 25, kNoDrop, kMostFrames), "00:00:00:00");
    EXPECT_EQ(text(26, 25, kNoDrop, kMostFrames), "00:00:01:00");
}

TEST(TimecodeFromFrameCount, adds_the_start_frame_before_it_drops_numbers) {
    EXPECT_EQ(text(1, 30, kDrop, 1799), "00:01:00;02");
}

TEST(TimecodeFromFrameCount, takes_no_notice_of_ntsc) {
    for (const std::uint64_t frame : {0U, 1800U, 17982U, 1000000U}) {
        for (const bool dropFrame : {false, true}) {
            EXPECT_EQ(FWTimecode::timecodeFromFrameCount(frame, 30, kNtsc, dropFrame, 0),
                      FWTimecode::timecodeFromFrameCount(frame, 30, kNoNtsc, dropFrame, 0));
        }
    }
}

TEST(TimecodeFromFrameCount, grows_the_frames_field_with_the_timebase) {
    EXPECT_EQ(text(119, 120, kNoDrop), "00:00:00:119");
    EXPECT_EQ(text(999999, 1000000, kNoDrop), "00:00:00:999999");
}

TEST(TimecodeFromFrameCount, keeps_seconds_beyond_32_bits_in_the_frames_field) {
    // 2^31 seconds at one frame a second: the truncated quotient stays at 2147483647.
    EXPECT_EQ(text(2147483648U, 1, kNoDrop), "03:14:08:01");
    EXPECT_EQ(text(2147483650U, 1, kNoDrop), "03:14:10:03");
}

TEST(TimecodeFromFrameCount, survives_the_largest_counts_and_timebases) {
    // 2^64 frames at 30 are 614891469123651712 seconds in double precision.
    EXPECT_EQ(text(kMostFrames, 30, kNoDrop), "09:01:52:9223372036854775807");
    EXPECT_EQ(text(kMostFrames, kMost, kNoDrop), "00:00:02:00");
    EXPECT_EQ(text(12345, kMost, kDrop), "00:00:00;12345");
}

TEST(FrameCountFromTimecode, reads_four_fields) {
    EXPECT_EQ(count("01:02:03:04", 25, kNoDrop), 25U * (3600 + 2 * 60 + 3) + 4);
    EXPECT_EQ(count("00:00:00:00", 25, kNoDrop), 0U);
}

TEST(FrameCountFromTimecode, reads_either_separator_anywhere) {
    EXPECT_EQ(count("01;02;03;04", 25, kNoDrop), count("01:02:03:04", 25, kNoDrop));
    EXPECT_EQ(count("01;02:03:04", 30, kDrop), count("01:02:03;04", 30, kDrop));
}

TEST(FrameCountFromTimecode, reads_the_first_minute_of_drop_frame) {
    EXPECT_EQ(count("00:01:00;02", 30, kDrop), 1800U);
}

TEST(FrameCountFromTimecode, is_zero_with_fewer_than_four_fields_whatever_the_start) {
    for (const char* timecode : {"", "  ", "12", "01:02", "01:02:03", "1.2.3.4"}) {
        EXPECT_EQ(count(timecode, 25, kNoDrop), 0U) << timecode;
        EXPECT_EQ(count(timecode, 25, kNoDrop, 10), 0U) << timecode;
    }
}

TEST(FrameCountFromTimecode, takes_a_field_that_is_no_number_for_zero) {
    EXPECT_EQ(count("aa:bb:01:cc", 25, kNoDrop), 25U);
    EXPECT_EQ(count(":::7", 25, kNoDrop), 7U);
    EXPECT_EQ(count(":::", 25, kNoDrop), 0U);
}

TEST(FrameCountFromTimecode, reads_the_integer_that_a_field_begins_with) {
    EXPECT_EQ(count("00:00: 2x:3.9", 25, kNoDrop), 53U);
    EXPECT_EQ(count("00:00:+1:-5", 25, kNoDrop), 20U);
}

TEST(FrameCountFromTimecode, takes_no_notice_of_a_fifth_field) {
    EXPECT_EQ(count("00:00:01:02:99", 25, kNoDrop), 27U);
}

TEST(FrameCountFromTimecode, trims_white_space_and_line_ends) {
    EXPECT_EQ(count(" \t\r\n00:00:01:02\xE2\x80\xA9\xE3\x80\x80\n", 25, kNoDrop), 27U);
}

TEST(FrameCountFromTimecode, reads_digits_of_ascii_only) {
    EXPECT_EQ(count("00:00:\xD9\xA1:02", 25, kNoDrop), 2U);
    EXPECT_EQ(count("\xFF\xFE:00:01:02", 25, kNoDrop), 27U);
}

TEST(FrameCountFromTimecode, checks_no_field_against_its_range) {
    EXPECT_EQ(count("00:00:75:89", 25, kNoDrop), 75U * 25 + 89);
    EXPECT_EQ(count("30:00:00:00", 25, kNoDrop), 30U * 90000);
}

TEST(FrameCountFromTimecode, takes_a_timebase_of_zero_or_below_for_30) {
    for (const std::int64_t timebase : {std::int64_t{0}, std::int64_t{-1}, kLeast}) {
        EXPECT_EQ(count("00:00:01:00", timebase, kNoDrop), 30U);
        EXPECT_EQ(count("00:01:00;02", timebase, kDrop), 1800U);
    }
}

TEST(FrameCountFromTimecode, is_relative_to_the_start_frame_and_wraps_below_it) {
    EXPECT_EQ(count("01:00:00:10", 25, kNoDrop, 90000), 10U);
    EXPECT_EQ(count("00:00:00:00", 25, kNoDrop, 1), kMostFrames);
}

TEST(FrameCountFromTimecode, takes_the_start_frame_off_after_the_dropped_numbers) {
    EXPECT_EQ(count("00:01:00;02", 30, kDrop, 1800), 0U);
}

TEST(FrameCountFromTimecode, wraps_with_fields_held_at_64_bits) {
    EXPECT_EQ(count("0:0:0:99999999999999999999", 25, kNoDrop), static_cast<std::uint64_t>(kMost));
    EXPECT_EQ(count("0:0:9223372036854775807:0", 2, kNoDrop), kMostFrames - 1);
    EXPECT_EQ(count("0:0:0:-1", 25, kNoDrop), kMostFrames);
    EXPECT_EQ(count("0:0:1:0", kMost, kNoDrop), static_cast<std::uint64_t>(kMost));
}

TEST(FrameCountFromTimecode, takes_no_notice_of_ntsc) {
    EXPECT_EQ(FWTimecode::frameCountFromTimecode("00:10:00;00", 30, kNtsc, kDrop, 0),
              FWTimecode::frameCountFromTimecode("00:10:00;00", 30, kNoNtsc, kDrop, 0));
}

TEST(ElapsedTimeFromFrameCount, has_no_drop_frame) {
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(1800, 30), "00:01:00:00");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(90061, 25), "01:00:02:11");
}

TEST(ElapsedTimeFromFrameCount, takes_a_rate_of_zero_or_below_for_30) {
    for (const double fps : {0.0, -0.0, -29.97, -kInfinity}) {
        EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(45, fps), "00:00:01:15");
    }
}

TEST(ElapsedTimeFromFrameCount, rounds_a_fractional_rest_of_frames_down) {
    // 30 / 29.97 is one second and 0.03 of a frame; 59 / 29.97 one second and 29.03 frames.
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(30, 29.97), "00:00:01:00");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(59, 29.97), "00:00:01:29");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(29, 29.97), "00:00:00:29");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(1, 0.5), "00:00:02:00");
}

TEST(ElapsedTimeFromFrameCount, writes_minus_one_frame_where_the_quotient_rounds_up_to_a_second) {
    // 120000 / (24000 / 1001) rounds to 5005 seconds, though 5005 times the rate is above 120000.
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(120000, 24000.0 / 1001), "01:23:25:-01");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(187, 1.1), "00:02:50:-01");
}

TEST(ElapsedTimeFromFrameCount, survives_rates_that_are_no_rates) {
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(100, kNotANumber), "00:00:00:00");
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(100, kInfinity), "00:00:00:00");
    // A quotient beyond all integers: 2^64 - 1 seconds, and the whole count as frames.
    EXPECT_EQ(FWTimecode::elapsedTimeFromFrameCount(100, 1e-320), "07:00:15:100");
}

TEST(FrameCountFromElapsedTime, rounds_each_field_by_itself) {
    // 3600 x 29.97 = 107892, 60 x 29.97 = 1798.2, 1 x 29.97.
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("01:01:01:05", 29.97), 107892U + 1798 + 30 + 5);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("00:00:01:00", 2.5), 3U);
}

TEST(FrameCountFromElapsedTime, reads_the_first_three_fields_with_their_fractions) {
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("0.5:1.5:2.5:3.9", 10), 18000U + 900 + 25 + 3);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("0:0:1e1:0", 25), 250U);
}

TEST(FrameCountFromElapsedTime, is_zero_with_fewer_than_four_fields) {
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("01:02:03", 25), 0U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("", 25), 0U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime(" 0;0;1;2 \n", 25), 27U);
}

TEST(FrameCountFromElapsedTime, takes_a_rate_of_zero_or_below_for_30) {
    for (const double fps : {0.0, -1.0, -kInfinity}) {
        EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("00:00:01:00", fps), 30U);
    }
}

TEST(FrameCountFromElapsedTime, holds_each_sum_at_the_ends_of_64_bits) {
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("1e300:0:0:0", 25), kMostFrames);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("1e300:0:0:1", 25), 0U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("-1:0:1:0", 25), 25U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("0:1:-90:0", 25), 0U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("0:0:0:-1", 25), kMostFrames);
}

TEST(FrameCountFromElapsedTime, survives_rates_that_are_no_rates) {
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("1:1:1:7", kNotANumber), 7U);
    EXPECT_EQ(FWTimecode::frameCountFromElapsedTime("1:1:1:7", kInfinity), 6U);
}

TEST(Increment, reads_without_drop_frame_and_writes_with_it) {
    EXPECT_EQ(FWTimecode::timecode("00:00:59;29", 1, 30, kNtsc, kDrop), "00:01:00;02");
    EXPECT_EQ(FWTimecode::timecode("00:01:00;02", 0, 30, kNtsc, kDrop), "00:01:00;04");
}

TEST(Increment, goes_forward_and_back) {
    EXPECT_EQ(FWTimecode::timecode("00:00:59:24", 1, 25, kNoNtsc, kNoDrop), "00:01:00:00");
    EXPECT_EQ(FWTimecode::timecode("00:01:00:00", -1, 25, kNoNtsc, kNoDrop), "00:00:59:24");
    EXPECT_EQ(FWTimecode::timecode("23:59:59:24", 1, 25, kNoNtsc, kNoDrop), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timecode("nonsense", 26, 25, kNoNtsc, kNoDrop), "00:00:01:01");
}

TEST(Increment, wraps_below_zero) {
    EXPECT_EQ(FWTimecode::timecode("00:00:00:00", -1, 30, kNoNtsc, kNoDrop),
              text(kMostFrames, 30, kNoDrop));
}

TEST(FrameRateFromTimebase, is_the_timebase_without_ntsc) {
    for (const std::int64_t timebase : {0, 1, 24, 25, 30, 60, -5}) {
        EXPECT_EQ(FWTimecode::frameRateFromTimebase(timebase, false),
                  static_cast<double>(timebase));
    }
}

TEST(FrameRateFromTimebase, is_a_thousandth_slower_with_ntsc_at_24_30_and_60) {
    EXPECT_EQ(FWTimecode::frameRateFromTimebase(24, true), 23.976023976023978);
    EXPECT_EQ(FWTimecode::frameRateFromTimebase(30, true), 29.97002997002997);
    EXPECT_EQ(FWTimecode::frameRateFromTimebase(60, true), 59.94005994005994);
}

TEST(FrameRateFromTimebase, is_zero_with_ntsc_at_every_other_timebase) {
    for (std::int64_t timebase = -130; timebase <= 130; ++timebase) {
        if (timebase != 24 && timebase != 30 && timebase != 60) {
            EXPECT_EQ(FWTimecode::frameRateFromTimebase(timebase, true), 0.0) << timebase;
        }
    }
}

TEST(TimecodeFromSeconds, rounds_to_the_nearest_frame_halves_up) {
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(1.5, 25, kNoDrop), "00:00:01:13");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(0.02, 25, kNoDrop), "00:00:00:01");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(0.019, 25, kNoDrop), "00:00:00:00");
}

TEST(TimecodeFromSeconds, takes_the_next_whole_rate_as_timebase) {
    // 60 x 29.97 = 1798.2 frames, counted at 30.
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(60, 29.97F, kNoDrop), "00:00:59:28");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(3600, 29.97F, kDrop), "01:00:00;00");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(1000, 23.976F, kNoDrop), "00:16:39:00");
}

TEST(TimecodeFromSeconds, begins_at_zero_for_negative_and_undefined_times) {
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(-5, 25, kNoDrop), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(kNotANumber, 25, kNoDrop), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(5, std::nanf(""), kNoDrop), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(5, 0, kNoDrop), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(-kInfinity, 25, kNoDrop), "00:00:00:00");
}

TEST(TimecodeFromSeconds, holds_infinite_times_at_the_largest_count) {
    EXPECT_EQ(FWTimecode::timecodeFromSeconds(kInfinity, 25, kNoDrop),
              text(kMostFrames, 25, kNoDrop));
}

/// The local time zone is set while it lives.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) {
            before_ = before;
        }
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
    ~TimeZone() {
        if (before_) {
            ::setenv("TZ", before_->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    std::optional<std::string> before_;
};

system_clock::time_point moment(std::int64_t milliseconds) {
    return system_clock::time_point(std::chrono::milliseconds(milliseconds));
}

constexpr std::int64_t kHour = 3'600'000;
constexpr std::int64_t kMinute = 60'000;

TEST(TimeOfDayTimecode, is_the_local_time) {
    const auto at = moment(1 * kHour + 2 * kMinute + 3'000);
    {
        const TimeZone zone("UTC0");
        EXPECT_EQ(FWTimecode::timeOfDayTimecode(25, kNoNtsc, kNoDrop, at), "01:02:03:00");
    }
    const TimeZone zone("TST-5:30");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(25, kNoNtsc, kNoDrop, at), "06:32:03:00");
}

TEST(TimeOfDayTimecode, takes_frames_from_whole_hundredths_of_the_second) {
    const TimeZone zone("UTC0");
    // 0.995 s are 99 hundredths: 24.75 frames at 25, 29.67 at 29.97.
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(25, kNoNtsc, kNoDrop, moment(995)), "00:00:00:24");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(30, kNtsc, kNoDrop, moment(995)), "00:00:00:29");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(60, kNoNtsc, kNoDrop, moment(509)), "00:00:00:30");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(100, kNoNtsc, kNoDrop, moment(79)), "00:00:00:07");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(100, kNoNtsc, kNoDrop, moment(9)), "00:00:00:00");
}

TEST(TimeOfDayTimecode, writes_two_digits_and_the_drop_frame_separator) {
    const TimeZone zone("UTC0");
    const auto at = moment(23 * kHour + 59 * kMinute + 59'400);
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(30, kNtsc, kDrop, at), "23:59:59;11");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(30, kNtsc, kNoDrop, at), "23:59:59:11");
}

TEST(TimeOfDayTimecode, has_no_frames_at_a_rate_without_definition) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(25, kNtsc, kNoDrop, moment(990)), "00:00:00:00");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(0, kNoNtsc, kNoDrop, moment(990)), "00:00:00:00");
}

TEST(TimeOfDayTimecode, puts_a_zero_before_a_negative_frame_too) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(-10, kNoNtsc, kNoDrop, moment(500)), "00:00:00:0-5");
}

TEST(TimeOfDayTimecode, knows_moments_before_the_epoch) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(FWTimecode::timeOfDayTimecode(100, kNoNtsc, kNoDrop, moment(-10)), "23:59:59:99");
}

TEST(TimeOfDayTimecode, without_a_moment_lies_between_the_moments_around_it) {
    const TimeZone zone("UTC0");
    std::string before;
    std::string now;
    std::string after;
    do { // Once more when midnight falls in between.
        before = FWTimecode::timeOfDayTimecode(30, kNtsc, kDrop, system_clock::now());
        now = FWTimecode::timeOfDayTimecode(30, kNtsc, kDrop);
        after = FWTimecode::timeOfDayTimecode(30, kNtsc, kDrop, system_clock::now());
    } while (after < before);
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(now.size(), 11U);
}

TEST(AddTimecode, adds_the_counts) {
    EXPECT_EQ(FWTimecode::addTimecode("00:00:01:10", "01:00:00:20", 25, kNoNtsc, kNoDrop),
              "01:00:02:05");
    EXPECT_EQ(FWTimecode::addTimecode("12:00:00:00", "13:00:00:00", 25, kNoNtsc, kNoDrop),
              "01:00:00:00");
}

TEST(AddTimecode, reads_and_writes_drop_frame) {
    EXPECT_EQ(FWTimecode::addTimecode("00:00:59;29", "00:00:00;01", 30, kNtsc, kDrop),
              "00:01:00;02");
    EXPECT_EQ(FWTimecode::addTimecode("00:01:00;02", "00:00:00;01", 30, kNtsc, kDrop),
              "00:01:00;03");
}

TEST(AddTimecode, takes_text_that_is_no_timecode_for_zero) {
    EXPECT_EQ(FWTimecode::addTimecode("", "00:00:00:07", 25, kNoNtsc, kNoDrop), "00:00:00:07");
    EXPECT_EQ(FWTimecode::addTimecode("", "", 25, kNoNtsc, kDrop), "00:00:00;00");
}

TEST(SubtractTimecode, takes_the_first_from_the_second) {
    EXPECT_EQ(FWTimecode::subtractTimecode("00:00:01:10", "01:00:02:05", 25, kNoNtsc, kNoDrop),
              "01:00:00:20");
    EXPECT_EQ(FWTimecode::subtractTimecode("00:00:00;01", "00:01:00;02", 30, kNtsc, kDrop),
              "00:00:59;29");
}

TEST(SubtractTimecode, of_equal_timecodes_is_zero) {
    EXPECT_EQ(FWTimecode::subtractTimecode("00:01:00;02", "00:01:00;02", 30, kNtsc, kDrop),
              "00:00:00;00");
}

TEST(SubtractTimecode, below_zero_is_nothing) {
    EXPECT_EQ(FWTimecode::subtractTimecode("00:00:00:01", "00:00:00:00", 25, kNoNtsc, kNoDrop),
              std::nullopt);
    EXPECT_EQ(FWTimecode::subtractTimecode("01:00:00:00", "", 25, kNoNtsc, kNoDrop), std::nullopt);
}

TEST(TimecodeInRange, includes_both_ends) {
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:00:01:00", "00:00:01:00", "00:00:02:00"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:00:02:00", "00:00:01:00", "00:00:02:00"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:00:01:12", "00:00:01:00", "00:00:02:00"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("0:0:1:0", "00:00:01:00", "00:00:02:00"));
    EXPECT_FALSE(FWTimecode::timecodeInRange("00:00:00:23", "00:00:01:00", "00:00:02:00"));
    EXPECT_FALSE(FWTimecode::timecodeInRange("00:00:02:01", "00:00:01:00", "00:00:02:00"));
}

TEST(TimecodeInRange, takes_text_equal_to_an_end_without_parsing_it) {
    EXPECT_TRUE(FWTimecode::timecodeInRange("the end", "00:00:05:00", "the end"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("the start", "the start", "00:00:00:00"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:00:09:00", "00:00:05:00", "00:00:09:00"));
}

TEST(TimecodeInRange, compares_at_24_frames_a_second_whatever_the_material) {
    // At 24 frame 29 of second 0 lies five frames past second 1; at 30 it would lie before it.
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:00:00:29", "00:00:01:00", "00:00:02:00"));
    EXPECT_FALSE(FWTimecode::timecodeInRange("00:00:01:29", "00:00:01:00", "00:00:02:00"));
}

TEST(TimecodeInRange, counts_no_dropped_frames) {
    EXPECT_FALSE(FWTimecode::timecodeInRange("00:01:00;01", "00:01:00;02", "00:02:00;00"));
    EXPECT_TRUE(FWTimecode::timecodeInRange("00:01:00;02", "00:01:00:02", "00:01:00:02"));
}

TEST(AddDroppedFrames, uses_the_rate_it_is_given_for_the_block) {
    EXPECT_EQ(FWTimecode::addDroppedFrames(17982, 29.97), 18000U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(17982, 30), 18002U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(1799, 29.97), 1799U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(1800, 29.97), 1802U);
}

TEST(AddDroppedFrames, drops_four_at_60) {
    EXPECT_EQ(FWTimecode::addDroppedFrames(3599, 60), 3599U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(3600, 60), 3604U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(36000, 60), 36036U);
}

TEST(AddDroppedFrames, adds_nothing_for_the_minute_to_the_first_frames_of_a_block) {
    EXPECT_EQ(FWTimecode::addDroppedFrames(18000, 30), 18018U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(18002, 30), 18020U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(18003, 30), 18021U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(19800, 30), 19820U);
}

TEST(AddDroppedFrames, leaves_the_count_where_a_block_or_a_minute_has_no_frames) {
    // 0.0005 x 600 rounds to 0; 0.1 gives blocks of 60 frames but minutes of none.
    for (const double fps : {0.0, -0.0, -30.0, 0.0005, 0.1, 0.4, kNotANumber, -kInfinity}) {
        EXPECT_EQ(FWTimecode::addDroppedFrames(12345, fps), 12345U) << fps;
        EXPECT_EQ(FWTimecode::subtractDroppedFrames(12345, fps), 12345U) << fps;
    }
}

TEST(AddDroppedFrames, survives_the_largest_rates_and_counts) {
    EXPECT_EQ(FWTimecode::addDroppedFrames(12345, kInfinity), 12345U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(12345, 1e300), 12345U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(12345, 1e18), 12345U);
    EXPECT_EQ(FWTimecode::addDroppedFrames(kMostFrames, 30), kMostFrames);
}

TEST(SubtractDroppedFrames, is_the_inverse_as_written) {
    EXPECT_EQ(FWTimecode::subtractDroppedFrames(1802, 30), 1800U);
    EXPECT_EQ(FWTimecode::subtractDroppedFrames(1800, 30), 1798U);
    EXPECT_EQ(FWTimecode::subtractDroppedFrames(18018, 30), 18000U);
    EXPECT_EQ(FWTimecode::subtractDroppedFrames(18000, 30), 17982U);
}

TEST(SanitizeTimecodeForFilename, joins_the_fields_with_dots) {
    EXPECT_EQ(FWTimecode::sanitizeTimecodeForFilename("01:02:03;04"), "01.02.03.04");
    EXPECT_EQ(FWTimecode::sanitizeTimecodeForFilename("01:02:03:04"), "01.02.03.04");
}

TEST(SanitizeTimecodeForFilename, changes_separators_only) {
    EXPECT_EQ(FWTimecode::sanitizeTimecodeForFilename(""), "");
    EXPECT_EQ(FWTimecode::sanitizeTimecodeForFilename(":;a/b "), "..a/b ");
    EXPECT_EQ(FWTimecode::sanitizeTimecodeForFilename("\xC3\xA9:\xE3\x80\x80"),
              "\xC3\xA9.\xE3\x80\x80");
}

TEST(FormatHours, pads_each_field_to_two_digits) {
    EXPECT_EQ(FWTimecode::formatHours(1, 2, 3, 4, kNoDrop), "01:02:03:04");
    EXPECT_EQ(FWTimecode::formatHours(10, 20, 30, 40, kDrop), "10:20:30;40");
    EXPECT_EQ(FWTimecode::formatHours(0, 9, 10, 99, kDrop), "00:09:10;99");
}

TEST(FormatHours, checks_no_range) {
    EXPECT_EQ(FWTimecode::formatHours(100, 75, 89, 123, kNoDrop), "100:75:89:123");
}

TEST(FormatHours, pads_by_the_signed_value_and_prints_the_unsigned_one) {
    EXPECT_EQ(FWTimecode::formatHours(-1, 0, 0, kLeast, kNoDrop),
              "018446744073709551615:00:00:09223372036854775808");
}

} // namespace
} // namespace fw
