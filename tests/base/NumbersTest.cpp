#include "base/numbers.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

template <typename Integer>
class SaturatingCast : public testing::Test {};

using Integers = testing::Types<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t,
                                std::int32_t, std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(SaturatingCast, Integers);

TYPED_TEST(SaturatingCast, holds_what_is_too_large_or_too_small_at_the_ends_of_the_range) {
    using Limits = std::numeric_limits<TypeParam>;
    EXPECT_EQ(saturatingCast<TypeParam>(kInfinity), Limits::max());
    EXPECT_EQ(saturatingCast<TypeParam>(1e300), Limits::max());
    EXPECT_EQ(saturatingCast<TypeParam>(-kInfinity), Limits::min());
    EXPECT_EQ(saturatingCast<TypeParam>(-1e300), Limits::min());
}

TYPED_TEST(SaturatingCast, turns_the_power_of_two_just_beyond_the_range_into_the_end_of_it) {
    using Limits = std::numeric_limits<TypeParam>;
    const double beyond = std::ldexp(1.0, Limits::digits);
    EXPECT_EQ(saturatingCast<TypeParam>(beyond), Limits::max());
    const double below = std::nextafter(beyond, 0.0);
    EXPECT_EQ(saturatingCast<TypeParam>(below), static_cast<TypeParam>(below));
}

TYPED_TEST(SaturatingCast, makes_not_a_number_zero) {
    EXPECT_EQ(saturatingCast<TypeParam>(kNotANumber), TypeParam{0});
    EXPECT_EQ(saturatingCast<TypeParam>(-kNotANumber), TypeParam{0});
}

TYPED_TEST(SaturatingCast, cuts_toward_zero) {
    EXPECT_EQ(saturatingCast<TypeParam>(1.999), TypeParam{1});
    EXPECT_EQ(saturatingCast<TypeParam>(0.999), TypeParam{0});
    EXPECT_EQ(saturatingCast<TypeParam>(-0.999), TypeParam{0});
    EXPECT_EQ(saturatingCast<TypeParam>(-0.0), TypeParam{0});
}

TEST(SaturatingCastSigned, cuts_negative_numbers_toward_zero_and_reaches_the_least) {
    EXPECT_EQ(saturatingCast<std::int64_t>(-1.999), -1);
    EXPECT_EQ(saturatingCast<std::int32_t>(-2147483648.0),
              std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(saturatingCast<std::int32_t>(-2147483647.5), -2147483647);
    EXPECT_EQ(saturatingCast<std::int64_t>(-0x1p63), std::numeric_limits<std::int64_t>::min());
}

TEST(SaturatingArithmetic, adds_exactly_within_the_range) {
    EXPECT_EQ(saturatingAdd(40, 2), 42);
    EXPECT_EQ(saturatingAdd(-40, 2), -38);
    EXPECT_EQ(saturatingSubtract(40, 2), 38);
    EXPECT_EQ(saturatingSubtract(40, -2), 42);
    EXPECT_EQ(saturatingMultiply(-6, 7), -42);
    EXPECT_EQ(saturatingMultiply(-6, -7), 42);
}

TEST(SaturatingArithmetic, stops_at_the_ends_of_the_range) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(saturatingAdd(kMost, 0), kMost);
    EXPECT_EQ(saturatingAdd(kMost, 1), kMost);
    EXPECT_EQ(saturatingAdd(kLeast, -1), kLeast);
    EXPECT_EQ(saturatingAdd(kLeast, kMost), -1);
    EXPECT_EQ(saturatingSubtract(kLeast, 0), kLeast);
    EXPECT_EQ(saturatingSubtract(kLeast, 1), kLeast);
    EXPECT_EQ(saturatingSubtract(kMost, -1), kMost);
    EXPECT_EQ(saturatingSubtract(0, kLeast), kMost);
    EXPECT_EQ(saturatingMultiply(kLeast, 1), kLeast);
    EXPECT_EQ(saturatingMultiply(kLeast, 0), 0);
    EXPECT_EQ(saturatingMultiply(kLeast, -1), kMost);
    EXPECT_EQ(saturatingMultiply(kMost, 2), kMost);
    EXPECT_EQ(saturatingMultiply(kMost, -2), kLeast);
    EXPECT_EQ(saturatingMultiply(-2, kMost), kLeast);
}

TEST(Low32Bits, are_kept_signed_and_unsigned) {
    EXPECT_EQ(low32Signed(0x1'0000'0005), 5);
    EXPECT_EQ(low32Signed(0xFFFF'FFFF), -1);
    EXPECT_EQ(low32Signed(0x8000'0000), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(low32Signed(std::numeric_limits<std::int64_t>::min()), 0);
    EXPECT_EQ(low32Unsigned(-1), 0xFFFF'FFFFU);
    EXPECT_EQ(low32Unsigned(0x1'0000'0005), 5U);
}

} // namespace
} // namespace fw
