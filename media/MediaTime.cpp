#include "media/MediaTime.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace fw {
namespace {

__extension__ using Wide = __int128;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

/// numerator / denominator (above 0) to the nearest whole number, halves away from zero.
Wide roundedQuotient(Wide numerator, Wide denominator) {
    const Wide magnitude = numerator < 0 ? -numerator : numerator;
    const Wide quotient = magnitude / denominator;
    const Wide remainder = magnitude % denominator;
    const Wide rounded = quotient + (remainder >= denominator - remainder ? 1 : 0);
    return numerator < 0 ? -rounded : rounded;
}

/// A numeric time, or the infinity on the side that the value overflows.
MediaTime fromWide(Wide value, std::int32_t timescale, std::uint32_t flags) {
    if (value > kMost) {
        return MediaTime::positiveInfinity();
    }
    if (value < kLeast) {
        return MediaTime::negativeInfinity();
    }
    return {static_cast<std::int64_t>(value), timescale, flags, 0};
}

MediaTime sumOfNumeric(const MediaTime& a, const MediaTime& b, int signOfB) {
    const std::uint32_t inherited = (a.flags | b.flags) & MediaTime::kRounded;
    const std::int64_t common = std::lcm(std::int64_t{a.timescale}, std::int64_t{b.timescale});
    const Wide sum =
        Wide{a.value} * (common / a.timescale) + signOfB * (Wide{b.value} * (common / b.timescale));
    if (common <= std::numeric_limits<std::int32_t>::max() && sum <= kMost && sum >= kLeast) {
        return {static_cast<std::int64_t>(sum), static_cast<std::int32_t>(common),
                MediaTime::kValid | inherited, 0};
    }
    const std::int32_t larger = std::max(a.timescale, b.timescale);
    const std::int64_t factor = common / larger;
    const std::uint32_t rounded = sum % factor == 0 ? 0 : MediaTime::kRounded;
    return fromWide(roundedQuotient(sum, factor), larger, MediaTime::kValid | inherited | rounded);
}

MediaTime negated(const MediaTime& infinite) {
    return infinite.isPositiveInfinity() ? MediaTime::negativeInfinity()
                                         : MediaTime::positiveInfinity();
}

bool isInfinite(const MediaTime& time) {
    return time.isPositiveInfinity() || time.isNegativeInfinity();
}

/// The sum when at least one operand is not numeric.
MediaTime sumOfKinds(const MediaTime& a, const MediaTime& b, int signOfB) {
    const auto isInvalid = [](const MediaTime& t) {
        return !t.isNumeric() && !t.isIndefinite() && !isInfinite(t);
    };
    if (isInvalid(a) || isInvalid(b)) {
        return MediaTime::invalid();
    }
    if (a.isIndefinite() || b.isIndefinite()) {
        return MediaTime::indefinite();
    }
    const MediaTime signedB = isInfinite(b) && signOfB < 0 ? negated(b) : b;
    if (isInfinite(a) && isInfinite(b)) {
        return a.flags == signedB.flags ? a : MediaTime::indefinite();
    }
    return isInfinite(a) ? a : signedB;
}

MediaTime sum(const MediaTime& a, const MediaTime& b, int signOfB) {
    return a.isNumeric() && b.isNumeric() ? sumOfNumeric(a, b, signOfB) : sumOfKinds(a, b, signOfB);
}

/// The place of a kind in the order of times.
int rank(const MediaTime& time) {
    if (time.isNumeric()) {
        return 1;
    }
    if (time.isNegativeInfinity()) {
        return 0;
    }
    if (time.isPositiveInfinity()) {
        return 2;
    }
    return time.isIndefinite() ? 3 : 4;
}

} // namespace

MediaTime MediaTime::make(std::int64_t value, std::int32_t timescale) {
    return timescale > 0 ? MediaTime{value, timescale, kValid, 0} : invalid();
}

MediaTime MediaTime::makeWithSeconds(double seconds, std::int32_t timescale) {
    if (timescale <= 0) {
        return invalid();
    }
    if (std::isnan(seconds)) {
        return indefinite();
    }
    // A double product of seconds and timescale would round once more before the rounding to a
    // tick. Whole seconds and the fraction are multiplied apart, both in integers.
    const double whole = std::trunc(seconds);
    if (std::abs(whole) * timescale > 1.0e19) {
        return seconds > 0 ? positiveInfinity() : negativeInfinity();
    }
    const double fraction = seconds - whole;
    int exponent = 0;
    const double mantissa = std::frexp(fraction, &exponent); // fraction = mantissa x 2^exponent
    const auto digits = static_cast<std::int64_t>(std::ldexp(mantissa, 53));
    const Wide fractionTicks = Wide{digits} * timescale; // x 2^(exponent - 53)
    const int shift = 53 - exponent;
    // Below 2^-40 of a second the fraction is far less than half a tick.
    const Wide rounded = shift > 93 ? 0 : roundedQuotient(fractionTicks, Wide{1} << shift);
    const Wide value = static_cast<Wide>(whole) * timescale + rounded;
    const bool exact = shift <= 93 ? fractionTicks % (Wide{1} << shift) == 0 : fraction == 0;
    return fromWide(value, timescale, kValid | (exact ? 0 : kRounded));
}

double MediaTime::seconds() const {
    if (isNumeric()) {
        return static_cast<double>(value) / timescale;
    }
    if (isPositiveInfinity()) {
        return std::numeric_limits<double>::infinity();
    }
    if (isNegativeInfinity()) {
        return -std::numeric_limits<double>::infinity();
    }
    return std::numeric_limits<double>::quiet_NaN();
}

MediaTime MediaTime::multipliedBy(std::int32_t factor) const {
    if (isNumeric()) {
        return fromWide(Wide{value} * factor, timescale, flags);
    }
    if (!isInfinite(*this)) {
        return isIndefinite() ? indefinite() : invalid();
    }
    if (factor == 0) {
        return indefinite();
    }
    return factor > 0 ? *this : negated(*this);
}

MediaTime MediaTime::convertedTo(std::int32_t newTimescale) const {
    if (!isNumeric()) {
        return *this;
    }
    if (newTimescale <= 0) {
        return invalid();
    }
    const Wide scaled = Wide{value} * newTimescale;
    const std::uint32_t rounded = scaled % timescale == 0 ? 0 : kRounded;
    return fromWide(roundedQuotient(scaled, timescale), newTimescale, flags | rounded);
}

MediaTime operator+(const MediaTime& a, const MediaTime& b) {
    return sum(a, b, 1);
}

MediaTime operator-(const MediaTime& a, const MediaTime& b) {
    return sum(a, b, -1);
}

std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    if (a.isNumeric() && b.isNumeric()) {
        return Wide{a.value} * b.timescale <=> Wide{b.value} * a.timescale;
    }
    return rank(a) <=> rank(b);
}

bool MediaTimeRange::contains(const MediaTime& time) const {
    if (!time.isNumeric() || !start.isNumeric() || duration.isNegativeInfinity() ||
        !(duration.isNumeric() || duration.isPositiveInfinity())) {
        return false;
    }
    return start <= time && time < end();
}

} // namespace fw
