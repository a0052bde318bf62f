#pragma once

#include <compare>
#include <cstdint>
#include <optional>

namespace fw {

/// A point in time or a length of time: value / timescale seconds. A value; safe from any thread.
///
/// Kinds are kept apart by flags: numeric (valid alone or with rounded), the two infinities,
/// indefinite, and invalid (flags 0). Sums and differences are exact where the result fits on the
/// common timescale (the least common multiple); otherwise they are rounded, halves away from
/// zero, to the larger of the two timescales and carry kRounded. With operands that are not
/// numeric: invalid wins, then indefinite, then infinite (opposite infinities give indefinite).
struct MediaTime {
    static constexpr std::uint32_t kValid = 1;
    static constexpr std::uint32_t kRounded = 2;
    static constexpr std::uint32_t kPositiveInfinity = 4;
    static constexpr std::uint32_t kNegativeInfinity = 8;
    static constexpr std::uint32_t kIndefinite = 16;

    std::int64_t value = 0;
    std::int32_t timescale = 0; ///< Ticks a second; above 0 in every numeric time.
    std::uint32_t flags = 0;
    std::int64_t epoch = 0; ///< Always 0 here; kept for arithmetic between equal epochs only.

    /// value / timescale seconds; invalid when the timescale is not above 0.
    static MediaTime make(std::int64_t value, std::int32_t timescale);
    /// Seconds on a timescale, to the nearest tick, halves away from zero (the product is taken
    /// exactly). What does not fit in 64 bits becomes infinite, a value that is not a number
    /// indefinite, a timescale that is not above 0 invalid.
    static MediaTime makeWithSeconds(double seconds, std::int32_t timescale);
    static MediaTime zero() { return {0, 1, kValid, 0}; }
    static MediaTime positiveInfinity() { return {0, 0, kValid | kPositiveInfinity, 0}; }
    static MediaTime negativeInfinity() { return {0, 0, kValid | kNegativeInfinity, 0}; }
    static MediaTime indefinite() { return {0, 0, kValid | kIndefinite, 0}; }
    static MediaTime invalid() { return {}; }

    bool isValid() const { return (flags & kValid) != 0; }
    bool isIndefinite() const { return isValid() && (flags & kIndefinite) != 0; }
    bool isPositiveInfinity() const { return isValid() && (flags & kPositiveInfinity) != 0; }
    bool isNegativeInfinity() const { return isValid() && (flags & kNegativeInfinity) != 0; }
    bool isNumeric() const {
        return isValid() && (flags & (kPositiveInfinity | kNegativeInfinity | kIndefinite)) == 0 &&
               timescale > 0;
    }

    /// value / timescale in double precision; the infinities for infinite times, not a number for
    /// invalid and indefinite ones.
    double seconds() const;

    /// Times a whole number, exactly; infinite when the value does not fit in 64 bits.
    MediaTime multipliedBy(std::int32_t factor) const;

    /// The same time on another timescale, halves away from zero. kRounded tells that it differs.
    MediaTime convertedTo(std::int32_t newTimescale) const;

    friend MediaTime operator+(const MediaTime& a, const MediaTime& b);
    friend MediaTime operator-(const MediaTime& a, const MediaTime& b);

    /// Exact order by time (128-bit cross products): negative infinity, numeric, positive
    /// infinity, indefinite, invalid. Equal times on different timescales are equal.
    friend std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b);
    friend bool operator==(const MediaTime& a, const MediaTime& b) {
        return (a <=> b) == std::strong_ordering::equal;
    }
};

/// A start and a length; contains its start and not its end.
struct MediaTimeRange {
    MediaTime start;
    MediaTime duration;

    MediaTime end() const { return start + duration; }
    /// Never true when a part is not numeric (an infinite duration is allowed) or negative.
    bool contains(const MediaTime& time) const;
};

} // namespace fw
