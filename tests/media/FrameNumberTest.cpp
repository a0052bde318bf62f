#include "media/FrameNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace fw {
namespace {

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class UsualRate : public testing::TestWithParam<FrameRate> {
protected:
    const std::int64_t numerator_ = GetParam().numerator;
    const std::int64_t denominator_ = GetParam().denominator;
    const float nominal_ = nominalFrameRate(GetParam());
};

TEST_P(UsualRate, gives_frame_n_at_n_times_the_frame_length) {
    const auto timescale = static_cast<std::int32_t>(numerator_);
    for (std::int64_t n = 0; n <= 1'000'000; ++n) {
        ASSERT_EQ(frameNumberAtTime(MediaTime::make(n * denominator_, timescale), nominal_), n);
    }
}

TEST_P(UsualRate, gives_frame_n_until_half_way_to_the_next) {
    const auto timescale = static_cast<std::int32_t>(numerator_ * 2);
    for (std::int64_t n = 0; n <= 1'000'000; n += 13) {
        const MediaTime halfWay = MediaTime::make((2 * n + 1) * denominator_, timescale);
        ASSERT_EQ(frameNumberAtTime(halfWay, nominal_), n);
    }
}

TEST_P(UsualRate, gives_frame_n_on_a_finer_clock_too) {
    const auto timescale = static_cast<std::int32_t>(numerator_ * 1000);
    for (std::int64_t n = 0; n <= 1'000'000; n += 7) {
        ASSERT_EQ(frameNumberAtTime(MediaTime::make(n * denominator_ * 1000, timescale), nominal_),
                  n);
    }
}

TEST_P(UsualRate, has_the_smallest_float_not_below_it_as_nominal_rate) {
    // Exact in double: 24 binary digits of the float times a denominator of 10.
    const double rate = static_cast<double>(numerator_);
    const auto denominator = static_cast<double>(denominator_);
    EXPECT_GE(nominal_ * denominator, rate);
    EXPECT_LT(std::nextafter(nominal_, 0.0F) * denominator, rate);
}

INSTANTIATE_TEST_SUITE_P(EveryFrame, UsualRate,
                         testing::Values(FrameRate{24000, 1001}, FrameRate{24, 1}, FrameRate{25, 1},
                                         FrameRate{30000, 1001}, FrameRate{30, 1}, FrameRate{50, 1},
                                         FrameRate{60000, 1001}, FrameRate{60, 1}, FrameRate{25, 2},
                                         FrameRate{120, 1}),
                         [](const testing::TestParamInfo<FrameRate>& rate) {
                             return std::to_string(rate.param.numerator) + "by" +
                                    std::to_string(rate.param.denominator);
                         });

TEST(FrameNumberAtTime, takes_the_product_exactly_where_doubles_fall_short) {
    const MediaTime time = MediaTime::make(29, 25);
    ASSERT_LT(time.seconds() * 25, 29.0);
    EXPECT_EQ(frameNumberAtTime(time, 25), 29);
}

TEST(FrameNumberAtTime, rounds_down) {
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(999, 25000), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1000, 25000), 25), 1);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1999, 25000), 25), 1);
}

TEST(FrameNumberAtTime, is_zero_for_negative_and_undefined_times) {
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(-1, 25), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(-kMost, 1), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::zero(), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::invalid(), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::indefinite(), 25), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::negativeInfinity(), 25), 0);
}

TEST(FrameNumberAtTime, is_zero_for_rates_that_are_not_above_zero) {
    const MediaTime time = MediaTime::make(100, 1);
    for (const float rate : {0.0F, -0.0F, -25.0F, -kInfinity, std::nanf("")}) {
        EXPECT_EQ(frameNumberAtTime(time, rate), 0) << rate;
    }
}

TEST(FrameNumberAtTime, is_held_at_the_largest_value) {
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(kMost, 1), 25), kMost);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(kMost, 1), 1), kMost);
    EXPECT_EQ(frameNumberAtTime(MediaTime::positiveInfinity(), 25), kMost);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1), kInfinity), kMost);
    EXPECT_EQ(frameNumberAtTime(MediaTime::zero(), kInfinity), 0);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1), std::numeric_limits<float>::max()), kMost);
}

TEST(FrameNumberAtTime, is_exact_at_the_largest_and_smallest_rates) {
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(3, 1), 0x1p24F), 3 << 24);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1), 0x1p62F), std::int64_t{1} << 62);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1), 0x1p63F), kMost);
    // A tick of 2^-30 s at 2^92 frames a second is frame 2^62.
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1 << 30), 0x1p92F), std::int64_t{1} << 62);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(1, 1 << 30), 0x1p93F), kMost);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make(std::int64_t{1} << 62, 1), 0x1p-62F), 1);
    EXPECT_EQ(frameNumberAtTime(MediaTime::make((std::int64_t{1} << 62) - 1, 1), 0x1p-62F), 0);
    EXPECT_EQ(
        frameNumberAtTime(MediaTime::make(kMost, 1), std::numeric_limits<float>::denorm_min()), 0);
}

TEST(NominalFrameRate, is_the_rate_itself_where_a_float_holds_it) {
    EXPECT_EQ(nominalFrameRate({25, 1}), 25.0F);
    EXPECT_EQ(nominalFrameRate({25, 2}), 12.5F);
    EXPECT_EQ(nominalFrameRate({2, 4}), 0.5F);
}

TEST(NominalFrameRate, is_zero_when_the_rate_is_unknown) {
    EXPECT_EQ(nominalFrameRate({}), 0.0F);
    EXPECT_EQ(nominalFrameRate({0, 0}), 0.0F);
    EXPECT_EQ(nominalFrameRate({25, 0}), 0.0F);
    EXPECT_EQ(nominalFrameRate({-25, 1}), 0.0F);
    EXPECT_EQ(nominalFrameRate({25, -1}), 0.0F);
    EXPECT_EQ(nominalFrameRate({-25, -1}), 0.0F);
}

TEST(NominalFrameRate, is_the_smallest_float_not_below_any_rate_of_32_bit_terms) {
    // long double holds 64 binary digits: a float times 32 bits is exact.
    std::mt19937 random(1);
    std::uniform_int_distribution<std::int64_t> term(1, 0x7FFF'FFFF);
    for (int i = 0; i < 100'000; ++i) {
        const FrameRate rate{term(random) >> (random() % 31), term(random) >> (random() % 31)};
        if (!rate.isKnown()) {
            continue;
        }
        const float nominal = nominalFrameRate(rate);
        const auto numerator = static_cast<long double>(rate.numerator);
        const auto denominator = static_cast<long double>(rate.denominator);
        ASSERT_GE(nominal * denominator, numerator) << rate.numerator << '/' << rate.denominator;
        ASSERT_LT(std::nextafter(nominal, 0.0F) * denominator, numerator)
            << rate.numerator << '/' << rate.denominator;
    }
}

TEST(NominalFrameRate, is_found_for_the_largest_and_smallest_rates) {
    EXPECT_EQ(nominalFrameRate({kMost, 1}), 0x1p63F);
    EXPECT_EQ(nominalFrameRate({kMost, kMost}), 1.0F);
    // 1 / (2^63 - 1) lies just above 2^-63.
    EXPECT_EQ(nominalFrameRate({1, kMost}),
              std::nextafter(0x1p-63F, std::numeric_limits<float>::infinity()));
    EXPECT_EQ(nominalFrameRate({(1 << 24) + 1, 1}), static_cast<float>((1 << 24) + 2));
}

} // namespace
} // namespace fw
