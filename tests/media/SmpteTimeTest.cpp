#include "media/SmpteTime.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <ostream>

namespace fw {
namespace {

constexpr std::uint32_t kDrop = FormatDescription::kDropFrame;
constexpr std::uint32_t k24Hours = FormatDescription::k24HourMax;
constexpr std::uint32_t kNegativeOk = FormatDescription::kNegativeTimesOk;

FormatDescription timecodeOf(std::uint32_t quanta, std::uint32_t flags) {
    FormatDescription format;
    format.mediaType = fourCC("tmcd");
    format.mediaSubType = fourCC("tmcd");
    format.frameQuanta = quanta;
    format.timecodeFlags = flags;
    return format;
}

/// The number with its bytes in the order of a sample.
std::int32_t stored(std::int32_t number) {
    const auto bits = static_cast<std::uint32_t>(number);
    if constexpr (std::endian::native == std::endian::big) {
        return number;
    }
    return static_cast<std::int32_t>(bits >> 24 | (bits >> 8 & 0xFF00U) | (bits << 8 & 0xFF0000U) |
                                     bits << 24);
}

SmpteTime timeOf(std::int32_t number, std::uint32_t quanta, std::uint32_t flags) {
    return timecodeForFrameNumber32UsingFormatDescription(stored(number),
                                                          timecodeOf(quanta, flags));
}

SmpteTime valid(int hours, int minutes, int seconds, int frames) {
    SmpteTime time;
    time.flags = 1;
    time.hours = static_cast<std::int16_t>(hours);
    time.minutes = static_cast<std::int16_t>(minutes);
    time.seconds = static_cast<std::int16_t>(seconds);
    time.frames = static_cast<std::int16_t>(frames);
    return time;
}

} // namespace

/// For the test program's failure messages.
void PrintTo(const SmpteTime& time, std::ostream* out) {
    *out << "flags " << time.flags << ", " << time.hours << ':' << time.minutes << ':'
         << time.seconds << ':' << time.frames;
}

namespace {

TEST(SmpteTimeRecord, is_24_bytes_with_the_fields_in_the_order_of_the_platform) {
    EXPECT_EQ(sizeof(SmpteTime), 24U);
    EXPECT_EQ(offsetof(SmpteTime, subframes), 0U);
    EXPECT_EQ(offsetof(SmpteTime, subframeDivisor), 2U);
    EXPECT_EQ(offsetof(SmpteTime, counter), 4U);
    EXPECT_EQ(offsetof(SmpteTime, type), 8U);
    EXPECT_EQ(offsetof(SmpteTime, flags), 12U);
    EXPECT_EQ(offsetof(SmpteTime, hours), 16U);
    EXPECT_EQ(offsetof(SmpteTime, minutes), 18U);
    EXPECT_EQ(offsetof(SmpteTime, seconds), 20U);
    EXPECT_EQ(offsetof(SmpteTime, frames), 22U);
}

TEST(TimecodeForFrameNumber32, reads_the_number_as_big_endian) {
    constexpr auto kBytes =
        std::bit_cast<std::int32_t>(std::array<std::uint8_t, 4>{0x00, 0x01, 0x5F, 0x90}); // 90000
    EXPECT_EQ(timecodeForFrameNumber32UsingFormatDescription(kBytes, timecodeOf(25, 0)),
              valid(1, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, breaks_the_number_down) {
    EXPECT_EQ(timeOf(0, 25, 0), valid(0, 0, 0, 0));
    EXPECT_EQ(timeOf(25 * (3600 + 2 * 60 + 3) + 4, 25, 0), valid(1, 2, 3, 4));
}

TEST(TimecodeForFrameNumber32, counts_drop_frame_as_a_recorder_does) {
    EXPECT_EQ(timeOf(1799, 30, kDrop), valid(0, 0, 59, 29));
    EXPECT_EQ(timeOf(1800, 30, kDrop), valid(0, 1, 0, 2));
    EXPECT_EQ(timeOf(17981, 30, kDrop), valid(0, 9, 59, 29));
    EXPECT_EQ(timeOf(17982, 30, kDrop), valid(0, 10, 0, 0));
    EXPECT_EQ(timeOf(107892, 30, kDrop), valid(1, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, numbers_every_drop_frame_of_a_day_in_turn) {
    // Minute by minute: numbers 0 and 1 are left out where a minute begins that is not a tenth.
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    for (std::int32_t number = 0; number < 2'589'408; ++number) {
        ASSERT_EQ(timeOf(number, 30, kDrop), valid(hours, minutes, seconds, frames)) << number;
        if (++frames == 30) {
            frames = 0;
            if (++seconds == 60) {
                seconds = 0;
                if (++minutes == 60) {
                    minutes = 0;
                    ++hours;
                }
                frames = minutes % 10 == 0 ? 0 : 2;
            }
        }
    }
    EXPECT_EQ(hours, 24);
}

TEST(TimecodeForFrameNumber32, drops_two_a_minute_at_other_quanta_too) {
    // 60 x 600 - 18 = 35982 frames in ten minutes, 3598 in a dropped one.
    EXPECT_EQ(timeOf(3600, 60, kDrop), valid(0, 1, 0, 2));
    EXPECT_EQ(timeOf(35982, 60, kDrop), valid(0, 10, 0, 0));
    EXPECT_EQ(timeOf(1500, 25, kDrop), valid(0, 1, 0, 2));
}

TEST(TimecodeForFrameNumber32, is_all_zero_for_a_description_that_is_not_tmcd) {
    FormatDescription counter = timecodeOf(30, 0);
    counter.mediaSubType = fourCC("cn32");
    EXPECT_EQ(timecodeForFrameNumber32UsingFormatDescription(stored(300), counter), SmpteTime());
    EXPECT_EQ(timecodeForFrameNumber32UsingFormatDescription(stored(300), FormatDescription()),
              SmpteTime());
}

TEST(TimecodeForFrameNumber32, is_all_zero_for_quanta_of_zero) {
    EXPECT_EQ(timeOf(300, 0, 0), SmpteTime());
    EXPECT_EQ(timeOf(300, 0, kDrop | k24Hours), SmpteTime());
    EXPECT_EQ(timeOf(300, 0x10000, 0), SmpteTime());
}

TEST(TimecodeForFrameNumber32, takes_the_low_16_bits_of_the_quanta_signed) {
    EXPECT_EQ(timeOf(26, 0x10000 + 25, 0), valid(0, 0, 1, 1));
    EXPECT_EQ(timeOf(26, 0xFFE7, 0), valid(0, 0, -1, 1)); // -25
}

TEST(TimecodeForFrameNumber32, lets_hours_grow_without_the_24_hour_flag) {
    EXPECT_EQ(timeOf(25 * 3600 * 25, 25, 0), valid(25, 0, 0, 0));
    EXPECT_EQ(timeOf(25 * 3600 * 25, 25, kNegativeOk), valid(25, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, wraps_hours_with_the_24_hour_flag) {
    EXPECT_EQ(timeOf(25 * 3600 * 25, 25, k24Hours), valid(1, 0, 0, 0));
    EXPECT_EQ(timeOf(25 * 3600 * 24, 25, k24Hours), valid(0, 0, 0, 0));
    EXPECT_EQ(timeOf(25 * 3600 * 24 - 1, 25, k24Hours), valid(23, 59, 59, 24));
}

TEST(TimecodeForFrameNumber32, takes_a_negative_number_by_its_magnitude) {
    EXPECT_EQ(timeOf(-(25 * 3600 + 1), 25, 0), valid(1, 0, 0, 1));
    EXPECT_EQ(timeOf(-(25 * 3600 + 1), 25, kNegativeOk), valid(1, 0, 0, 1));
}

TEST(TimecodeForFrameNumber32, turns_negative_hours_round_with_the_24_hour_flag_alone) {
    EXPECT_EQ(timeOf(-(25 * 3600 + 1), 25, k24Hours), valid(22, 0, 0, 1));
    EXPECT_EQ(timeOf(-1, 25, k24Hours), valid(23, 0, 0, 1));
    EXPECT_EQ(timeOf(-25 * 3600 * 26, 25, k24Hours), valid(21, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, keeps_negative_hours_where_negative_times_are_allowed) {
    EXPECT_EQ(timeOf(-(25 * 3600 + 1), 25, k24Hours | kNegativeOk), valid(1, 0, 0, 1));
    EXPECT_EQ(timeOf(-25 * 3600 * 26, 25, k24Hours | kNegativeOk), valid(2, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, keeps_the_low_16_bits_of_its_hours) {
    // 2147483647 seconds are 596523 hours; 596523 - 9 x 65536 = 6699.
    EXPECT_EQ(timeOf(2147483647, 1, 0), valid(6699, 14, 7, 0));
    // 40000 hours do not fit in 15 bits.
    EXPECT_EQ(timeOf(40000 * 3600, 1, 0), valid(40000 - 65536, 0, 0, 0));
    EXPECT_EQ(timeOf(40000 * 3600, 1, k24Hours), valid(16, 0, 0, 0));
}

TEST(TimecodeForFrameNumber32, wraps_in_32_bits_at_the_least_number) {
    // The magnitude of -2^31 is -2^31 again: -71582788 seconds at 30 and -8 frames.
    EXPECT_EQ(timeOf(std::numeric_limits<std::int32_t>::min(), 30, 0), valid(-19884, -6, -28, -8));
    EXPECT_EQ(timeOf(std::numeric_limits<std::int32_t>::min(), 0xFFFF, 0),
              valid(static_cast<std::int16_t>(-596523), -14, -8, 0));
}

TEST(TimecodeForFrameNumber32, survives_all_flags_at_all_extremes) {
    for (std::uint32_t flags = 0; flags < 8; ++flags) {
        for (const std::uint32_t quanta : {1U, 2U, 0x7FFFU, 0x8000U, 0xFFFFU}) {
            for (const std::int32_t number : {std::numeric_limits<std::int32_t>::min(), -1, 0, 1,
                                              std::numeric_limits<std::int32_t>::max()}) {
                const SmpteTime time = timeOf(number, quanta, flags);
                EXPECT_EQ(time.flags, 1U);
                EXPECT_LT(std::abs(time.minutes), 60);
                EXPECT_LT(std::abs(time.seconds), 60);
            }
        }
    }
}

} // namespace
} // namespace fw
