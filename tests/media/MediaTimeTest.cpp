#include "media/MediaTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <random>

namespace fw {

/// For the test program's failure messages.
void PrintTo(const MediaTime& time, std::ostream* out) {
    *out << time.value << '/' << time.timescale << ", flags " << time.flags;
}

namespace {

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
constexpr auto kMostScale = std::numeric_limits<std::int32_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

const MediaTime kPositive = MediaTime::positiveInfinity();
const MediaTime kNegative = MediaTime::negativeInfinity();
const MediaTime kIndefinite = MediaTime::indefinite();
const MediaTime kInvalid = MediaTime::invalid();

MediaTime ticks(std::int64_t value, std::int32_t timescale) {
    return MediaTime::make(value, timescale);
}

/// Field by field, where == compares the time alone.
void expectExactly(const MediaTime& time, std::int64_t value, std::int32_t timescale,
                   std::uint32_t flags = MediaTime::kValid) {
    EXPECT_EQ(time.value, value);
    EXPECT_EQ(time.timescale, timescale);
    EXPECT_EQ(time.flags, flags);
    EXPECT_EQ(time.epoch, 0);
}

void expectRounded(const MediaTime& time, std::int64_t value, std::int32_t timescale) {
    expectExactly(time, value, timescale, MediaTime::kValid | MediaTime::kRounded);
}

void expectSameKind(const MediaTime& time, const MediaTime& expected) {
    expectExactly(time, expected.value, expected.timescale, expected.flags);
}

TEST(MediaTimeKinds, are_kept_apart_by_flags) {
    struct Kind {
        MediaTime time;
        bool valid, indefinite, positive, negative, numeric;
    };
    for (const Kind& kind : {Kind{ticks(1, 25), true, false, false, false, true},
                             Kind{MediaTime::zero(), true, false, false, false, true},
                             Kind{kPositive, true, false, true, false, false},
                             Kind{kNegative, true, false, false, true, false},
                             Kind{kIndefinite, true, true, false, false, false},
                             Kind{kInvalid, false, false, false, false, false}}) {
        EXPECT_EQ(kind.time.isValid(), kind.valid) << testing::PrintToString(kind.time);
        EXPECT_EQ(kind.time.isIndefinite(), kind.indefinite);
        EXPECT_EQ(kind.time.isPositiveInfinity(), kind.positive);
        EXPECT_EQ(kind.time.isNegativeInfinity(), kind.negative);
        EXPECT_EQ(kind.time.isNumeric(), kind.numeric);
    }
}

TEST(MediaTimeKinds, of_a_zero_filled_time_is_invalid) {
    expectExactly(MediaTime(), 0, 0, 0);
    EXPECT_FALSE(MediaTime().isValid());
}

TEST(MediaTimeKinds, without_the_valid_flag_are_nothing_else) {
    const MediaTime time{1, 25, MediaTime::kPositiveInfinity | MediaTime::kIndefinite, 0};
    EXPECT_FALSE(time.isNumeric());
    EXPECT_FALSE(time.isPositiveInfinity());
    EXPECT_FALSE(time.isIndefinite());
}

TEST(MediaTimeMake, keeps_value_and_timescale) {
    expectExactly(ticks(1001, 30000), 1001, 30000);
    expectExactly(ticks(kLeast, kMostScale), kLeast, kMostScale);
}

TEST(MediaTimeMake, is_invalid_without_a_timescale_above_zero) {
    expectSameKind(ticks(1, 0), kInvalid);
    expectSameKind(ticks(1, -25), kInvalid);
}

TEST(MediaTimeWithSeconds, takes_the_nearest_tick) {
    expectExactly(MediaTime::makeWithSeconds(1.5, 2), 3, 2);
    expectRounded(MediaTime::makeWithSeconds(0.1, 25), 3, 25);
    expectRounded(MediaTime::makeWithSeconds(0.09, 25), 2, 25);
    expectRounded(MediaTime::makeWithSeconds(1001.0 / 30000, 30000), 1001, 30000);
}

TEST(MediaTimeWithSeconds, rounds_halves_away_from_zero) {
    expectRounded(MediaTime::makeWithSeconds(0.5, 1), 1, 1);
    expectRounded(MediaTime::makeWithSeconds(-0.5, 1), -1, 1);
    expectRounded(MediaTime::makeWithSeconds(2.5, 1), 3, 1);
    expectRounded(MediaTime::makeWithSeconds(-2.5, 1), -3, 1);
    expectRounded(MediaTime::makeWithSeconds(0.25, 2), 1, 2);
}

TEST(MediaTimeWithSeconds, takes_the_product_exactly) {
    // The double next below one half: its product with 25 in doubles may round up to the half.
    const double belowHalf = std::nextafter(0.5, 0.0);
    expectRounded(MediaTime::makeWithSeconds(belowHalf, 1), 0, 1);
    expectRounded(MediaTime::makeWithSeconds(std::nextafter(0.02, 0.0), 25), 0, 25);
    expectRounded(MediaTime::makeWithSeconds(-belowHalf, 1), 0, 1);
    // 0.1 is a hair above a tenth, 0.3 a hair below three tenths: halves of a fifth of a second.
    expectRounded(MediaTime::makeWithSeconds(0.1, 5), 1, 5);
    expectRounded(MediaTime::makeWithSeconds(0.3, 5), 1, 5);
}

TEST(MediaTimeWithSeconds, agrees_with_long_double_products) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> seconds(-100'000, 100'000);
    for (int i = 0; i < 100'000; ++i) {
        const double time = seconds(random);
        const auto timescale = static_cast<std::int32_t>(1 + random() % 2000);
        // 53 + 11 binary digits fit in the 64 of a long double.
        const long double product = static_cast<long double>(time) * timescale;
        ASSERT_EQ(MediaTime::makeWithSeconds(time, timescale).value, std::llroundl(product));
    }
}

TEST(MediaTimeWithSeconds, marks_a_time_so_small_that_no_tick_is_left) {
    expectRounded(MediaTime::makeWithSeconds(1e-300, kMostScale), 0, kMostScale);
    expectRounded(MediaTime::makeWithSeconds(-std::numeric_limits<double>::denorm_min(), 1), 0, 1);
    expectExactly(MediaTime::makeWithSeconds(-0.0, 25), 0, 25);
}

TEST(MediaTimeWithSeconds, reaches_the_ends_of_64_bits) {
    expectExactly(MediaTime::makeWithSeconds(-0x1p63, 1), kLeast, 1);
    expectExactly(MediaTime::makeWithSeconds(0x1p62, 1), std::int64_t{1} << 62, 1);
    expectExactly(MediaTime::makeWithSeconds(0x1.fffffffffffffp62, 1), kMost - 1023, 1);
}

TEST(MediaTimeWithSeconds, becomes_infinite_beyond_64_bits) {
    expectSameKind(MediaTime::makeWithSeconds(0x1p63, 1), kPositive);
    expectSameKind(MediaTime::makeWithSeconds(0x1p62, 2), kPositive);
    expectSameKind(MediaTime::makeWithSeconds(-0x1p63 - 2048, 1), kNegative);
    expectSameKind(MediaTime::makeWithSeconds(1e300, 25), kPositive);
    expectSameKind(MediaTime::makeWithSeconds(-1e300, 25), kNegative);
    expectSameKind(MediaTime::makeWithSeconds(kInfinity, 25), kPositive);
    expectSameKind(MediaTime::makeWithSeconds(-kInfinity, 25), kNegative);
}

TEST(MediaTimeWithSeconds, is_indefinite_for_what_is_not_a_number) {
    expectSameKind(MediaTime::makeWithSeconds(kNotANumber, 25), kIndefinite);
}

TEST(MediaTimeWithSeconds, is_invalid_without_a_timescale_above_zero) {
    expectSameKind(MediaTime::makeWithSeconds(1, 0), kInvalid);
    expectSameKind(MediaTime::makeWithSeconds(kNotANumber, -1), kInvalid);
}

TEST(MediaTimeSeconds, are_value_by_timescale) {
    EXPECT_EQ(ticks(1, 4).seconds(), 0.25);
    EXPECT_EQ(ticks(-1001, 30000).seconds(), -1001.0 / 30000);
    EXPECT_EQ(ticks(kLeast, 1).seconds(), -0x1p63);
}

TEST(MediaTimeSeconds, of_other_kinds_are_infinite_or_not_a_number) {
    EXPECT_EQ(kPositive.seconds(), kInfinity);
    EXPECT_EQ(kNegative.seconds(), -kInfinity);
    EXPECT_TRUE(std::isnan(kIndefinite.seconds()));
    EXPECT_TRUE(std::isnan(kInvalid.seconds()));
    EXPECT_TRUE(std::isnan(MediaTime({1, 0, MediaTime::kValid, 0}).seconds()));
}

TEST(MediaTimeSum, stands_on_the_least_common_multiple_of_the_timescales) {
    expectExactly(ticks(1, 25) + ticks(2, 25), 3, 25);
    expectExactly(ticks(1, 24) + ticks(1, 30), 9, 120);
    expectExactly(ticks(1, 1) + ticks(1001, 30000), 31001, 30000);
    expectExactly(ticks(1, 24) + ticks(-1, 24), 0, 24);
}

TEST(MediaTimeDifference, stands_on_the_least_common_multiple_of_the_timescales) {
    expectExactly(ticks(1, 24) - ticks(1, 30), 1, 120);
    expectExactly(ticks(0, 25) - ticks(1, 25), -1, 25);
    expectExactly(MediaTime::zero() - ticks(kMost, 1), -kMost, 1);
}

TEST(MediaTimeSum, is_rounded_to_the_larger_timescale_where_no_common_one_fits) {
    // The common multiple of two large primes does not fit in 31 bits.
    constexpr std::int32_t kLargePrime = 2147483629;
    expectRounded(ticks(1, 1'000'003) + ticks(0, kLargePrime), 2147, kLargePrime); // 2147.477
    expectRounded(ticks(-1, 1'000'003) + ticks(0, kLargePrime), -2147, kLargePrime);
    expectRounded(ticks(0, kLargePrime) - ticks(3, 1'000'003), -6442, kLargePrime); // -6442.43
}

TEST(MediaTimeSum, rounds_halves_away_from_zero) {
    // On 2^30 and 3 x 2^29: 2^29 is common to both, one tick of 3 x 2^30 is half of one of the
    // larger scale.
    constexpr std::int32_t kSmaller = 1 << 30;
    constexpr std::int32_t kLarger = 3 * (1 << 29);
    expectRounded(ticks(1, kSmaller) + ticks(0, kLarger), 2, kLarger); // 1.5
    expectRounded(ticks(-1, kSmaller) + ticks(0, kLarger), -2, kLarger);
    expectRounded(ticks(1, kSmaller) + ticks(-1, kLarger), 1, kLarger); // 0.5
    expectExactly(ticks(2, kSmaller) + ticks(0, kLarger), 3, kLarger);
}

TEST(MediaTimeSum, keeps_to_the_larger_timescale_where_the_value_fits_only_there) {
    // On 50 the values would need 64 bits. 12.5 ticks on 25 are added to the first.
    expectRounded(ticks(kMost - 20, 25) + ticks(1, 2), kMost - 7, 25);
    expectExactly(ticks(kMost / 2 + 2, 25) + ticks(2, 2), kMost / 2 + 27, 25);
}

TEST(MediaTimeSum, overflows_to_infinity) {
    expectSameKind(ticks(kMost, 1) + ticks(1, 1), kPositive);
    expectSameKind(ticks(kLeast, 1) + ticks(-1, 1), kNegative);
    expectSameKind(ticks(kLeast, 1) - ticks(1, 1), kNegative);
    expectSameKind(ticks(kMost, 1) - ticks(kLeast, 1), kPositive);
    expectSameKind(ticks(kMost, 1) + ticks(1, kMostScale), kPositive);
    expectExactly(ticks(kMost, 1) + ticks(kLeast, 1), -1, 1);
}

TEST(MediaTimeSum, inherits_that_an_operand_was_rounded) {
    const MediaTime rounded = MediaTime::makeWithSeconds(0.1, 25);
    expectRounded(rounded + ticks(1, 25), 4, 25);
    expectRounded(ticks(1, 25) - rounded, -2, 25);
}

TEST(MediaTimeSum, with_an_infinite_time_is_infinite) {
    expectSameKind(kPositive + ticks(1, 25), kPositive);
    expectSameKind(ticks(1, 25) + kNegative, kNegative);
    expectSameKind(kPositive + kPositive, kPositive);
    expectSameKind(ticks(1, 25) - kPositive, kNegative);
    expectSameKind(ticks(1, 25) - kNegative, kPositive);
    expectSameKind(kPositive - kNegative, kPositive);
    expectSameKind(kNegative - ticks(1, 25), kNegative);
}

TEST(MediaTimeSum, of_opposite_infinities_is_indefinite) {
    expectSameKind(kPositive + kNegative, kIndefinite);
    expectSameKind(kPositive - kPositive, kIndefinite);
    expectSameKind(kNegative - kNegative, kIndefinite);
}

TEST(MediaTimeSum, with_an_indefinite_time_is_indefinite) {
    for (const MediaTime& other : {ticks(1, 25), kPositive, kNegative, kIndefinite}) {
        expectSameKind(kIndefinite + other, kIndefinite);
        expectSameKind(other - kIndefinite, kIndefinite);
    }
}

TEST(MediaTimeSum, with_an_invalid_time_is_invalid) {
    for (const MediaTime& other : {ticks(1, 25), kPositive, kNegative, kIndefinite, kInvalid}) {
        expectSameKind(kInvalid + other, kInvalid);
        expectSameKind(other - kInvalid, kInvalid);
    }
}

TEST(MediaTimeProduct, is_exact) {
    expectExactly(ticks(1001, 30000).multipliedBy(1800), 1801800, 30000);
    expectExactly(ticks(1001, 30000).multipliedBy(-2), -2002, 30000);
    expectExactly(ticks(1001, 30000).multipliedBy(0), 0, 30000);
    expectRounded(MediaTime::makeWithSeconds(0.1, 25).multipliedBy(2), 6, 25);
}

TEST(MediaTimeProduct, overflows_to_infinity) {
    constexpr auto kLeastFactor = std::numeric_limits<std::int32_t>::min();
    expectSameKind(ticks(kMost, 25).multipliedBy(2), kPositive);
    expectSameKind(ticks(kMost, 25).multipliedBy(-2), kNegative);
    expectSameKind(ticks(kLeast, 25).multipliedBy(-1), kPositive);
    expectSameKind(ticks(kLeast, 25).multipliedBy(kLeastFactor), kPositive);
    expectExactly(ticks(std::int64_t{1} << 32, 25).multipliedBy(kLeastFactor), kLeast, 25);
}

TEST(MediaTimeProduct, of_other_kinds_keeps_the_kind) {
    expectSameKind(kPositive.multipliedBy(2), kPositive);
    expectSameKind(kPositive.multipliedBy(-2), kNegative);
    expectSameKind(kNegative.multipliedBy(-2), kPositive);
    expectSameKind(kPositive.multipliedBy(0), kIndefinite);
    expectSameKind(kIndefinite.multipliedBy(2), kIndefinite);
    expectSameKind(kInvalid.multipliedBy(2), kInvalid);
}

TEST(MediaTimeConversion, is_exact_where_it_can_be) {
    expectExactly(ticks(1, 25).convertedTo(25000), 1000, 25000);
    expectExactly(ticks(1000, 25000).convertedTo(25), 1, 25);
    expectExactly(ticks(-3, 1).convertedTo(7), -21, 7);
}

TEST(MediaTimeConversion, rounds_halves_away_from_zero_and_says_so) {
    expectRounded(ticks(1, 2).convertedTo(1), 1, 1);
    expectRounded(ticks(-1, 2).convertedTo(1), -1, 1);
    expectRounded(ticks(1, 3).convertedTo(1), 0, 1);
    expectRounded(ticks(-2, 3).convertedTo(1), -1, 1);
    expectRounded(ticks(5, 2).convertedTo(1), 3, 1);
    expectRounded(ticks(kMost, kMostScale).convertedTo(kMostScale - 1), 9223372032559808509,
                  kMostScale - 1);
}

TEST(MediaTimeConversion, does_not_forget_an_earlier_rounding) {
    expectRounded(MediaTime::makeWithSeconds(0.1, 25).convertedTo(50), 6, 50);
}

TEST(MediaTimeConversion, overflows_to_infinity) {
    expectSameKind(ticks(kMost, 1).convertedTo(2), kPositive);
    expectSameKind(ticks(kLeast, 1).convertedTo(2), kNegative);
}

TEST(MediaTimeConversion, is_invalid_without_a_timescale_above_zero) {
    expectSameKind(ticks(1, 25).convertedTo(0), kInvalid);
    expectSameKind(ticks(1, 25).convertedTo(-1), kInvalid);
}

TEST(MediaTimeConversion, leaves_other_kinds_as_they_are) {
    for (const MediaTime& time : {kPositive, kNegative, kIndefinite, kInvalid}) {
        expectSameKind(time.convertedTo(25), time);
    }
}

TEST(MediaTimeOrder, is_that_of_the_exact_times) {
    EXPECT_LT(ticks(1001, 30000), ticks(1, 29));
    EXPECT_EQ(ticks(1, 25), ticks(1000, 25000));
    EXPECT_NE(ticks(1, 25), ticks(1001, 25000));
    EXPECT_GT(ticks(0, 25), ticks(-1, 1'000'000));
    EXPECT_EQ(ticks(0, 25), ticks(0, 24));
    EXPECT_LE(ticks(1, 25), ticks(2, 50));
}

TEST(MediaTimeOrder, tells_times_apart_that_are_equal_as_doubles) {
    const MediaTime a = ticks(kMost, 3);
    const MediaTime b = ticks(kMost - 1, 3);
    ASSERT_EQ(a.seconds(), b.seconds());
    EXPECT_GT(a, b);
    EXPECT_GT(ticks(kMost, kMostScale - 1), ticks(kMost, kMostScale));
    EXPECT_LT(ticks(kLeast, kMostScale - 1), ticks(kLeast, kMostScale));
}

TEST(MediaTimeOrder, takes_no_notice_of_rounding) {
    EXPECT_EQ(MediaTime::makeWithSeconds(0.1, 25), ticks(3, 25));
}

TEST(MediaTimeOrder, puts_the_kinds_in_a_row) {
    const MediaTime row[] = {kNegative, ticks(kLeast, 1), MediaTime::zero(), ticks(kMost, 1),
                             kPositive, kIndefinite,      kInvalid};
    for (std::size_t i = 0; i < std::size(row); ++i) {
        EXPECT_EQ(row[i], row[i]);
        for (std::size_t j = i + 1; j < std::size(row); ++j) {
            EXPECT_LT(row[i], row[j]);
            EXPECT_GT(row[j], row[i]);
        }
    }
}

TEST(MediaTimeOrder, is_the_same_from_both_sides_for_any_pair) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 100'000; ++i) {
        const MediaTime a = ticks(static_cast<std::int64_t>(random() % 2000) - 1000,
                                  static_cast<std::int32_t>(1 + random() % 100));
        const MediaTime b = ticks(static_cast<std::int64_t>(random() % 2000) - 1000,
                                  static_cast<std::int32_t>(1 + random() % 100));
        ASSERT_EQ(a == b, b == a);
        ASSERT_EQ(a<b, b> a);
        ASSERT_EQ(a < b, (a - b).value < 0);
        ASSERT_EQ((a + b) - b, a);
        ASSERT_EQ(a + b, b + a);
    }
}

TEST(MediaTimeRangeContains, its_start_and_not_its_end) {
    const MediaTimeRange range{ticks(10, 25), ticks(5, 25)};
    EXPECT_EQ(range.end(), ticks(15, 25));
    EXPECT_FALSE(range.contains(ticks(9, 25)));
    EXPECT_TRUE(range.contains(ticks(10, 25)));
    EXPECT_TRUE(range.contains(ticks(14999, 25000)));
    EXPECT_FALSE(range.contains(ticks(15, 25)));
    EXPECT_FALSE(range.contains(ticks(-10, 25)));
}

TEST(MediaTimeRangeContains, nothing_when_it_is_empty_or_negative) {
    EXPECT_FALSE((MediaTimeRange{ticks(10, 25), ticks(0, 25)}.contains(ticks(10, 25))));
    EXPECT_FALSE((MediaTimeRange{ticks(10, 25), ticks(-5, 25)}.contains(ticks(8, 25))));
    EXPECT_FALSE((MediaTimeRange{ticks(10, 25), ticks(-5, 25)}.contains(ticks(10, 25))));
}

TEST(MediaTimeRangeContains, everything_later_when_its_duration_is_infinite) {
    const MediaTimeRange range{ticks(10, 25), kPositive};
    EXPECT_TRUE(range.contains(ticks(kMost, 1)));
    EXPECT_TRUE(range.contains(ticks(10, 25)));
    EXPECT_FALSE(range.contains(ticks(9, 25)));
    EXPECT_FALSE(range.contains(kPositive));
}

TEST(MediaTimeRangeContains, everything_later_when_its_end_overflows) {
    const MediaTimeRange range{ticks(10, 1), ticks(kMost, 1)};
    EXPECT_TRUE(range.contains(ticks(kMost, 1)));
}

TEST(MediaTimeRangeContains, nothing_when_a_part_is_not_numeric) {
    for (const MediaTime& part : {kNegative, kIndefinite, kInvalid}) {
        EXPECT_FALSE((MediaTimeRange{part, ticks(1, 1)}.contains(MediaTime::zero())));
        EXPECT_FALSE((MediaTimeRange{MediaTime::zero(), part}.contains(MediaTime::zero())));
        EXPECT_FALSE((MediaTimeRange{MediaTime::zero(), ticks(1, 1)}.contains(part)));
    }
    EXPECT_FALSE((MediaTimeRange{kPositive, ticks(1, 1)}.contains(kPositive)));
    EXPECT_FALSE(MediaTimeRange().contains(MediaTime()));
}

} // namespace
} // namespace fw
