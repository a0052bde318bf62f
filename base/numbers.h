#pragma once

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>

namespace fw {

/// A double as an integer: cut toward zero, held at the ends of the type's range; a value that is
/// not a number gives 0.
template <std::integral Integer>
constexpr Integer saturatingCast(double value) {
    using Limits = std::numeric_limits<Integer>;
    // The upper bound is a power of two, which a double holds exactly; max() itself may not fit.
    constexpr double kUpper = 2.0 * static_cast<double>((Limits::max() >> 1) + 1);
    if (value != value) {
        return 0;
    }
    if (value >= kUpper) {
        return Limits::max();
    }
    if (value <= static_cast<double>(Limits::min())) {
        return Limits::min();
    }
    return static_cast<Integer>(value);
}

/// Sum, difference and product held at the ends of the range.
constexpr std::int64_t saturatingAdd(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) {
        return sum;
    }
    return b > 0 ? std::numeric_limits<std::int64_t>::max()
                 : std::numeric_limits<std::int64_t>::min();
}

constexpr std::int64_t saturatingSubtract(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference)) {
        return difference;
    }
    return b < 0 ? std::numeric_limits<std::int64_t>::max()
                 : std::numeric_limits<std::int64_t>::min();
}

constexpr std::int64_t saturatingMultiply(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    if (!__builtin_mul_overflow(a, b, &product)) {
        return product;
    }
    return (a < 0) == (b < 0) ? std::numeric_limits<std::int64_t>::max()
                              : std::numeric_limits<std::int64_t>::min();
}

/// The low 32 bits, as "%i" and "%u" print a wider value.
constexpr std::int32_t low32Signed(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}
constexpr std::uint32_t low32Unsigned(std::int64_t value) {
    return static_cast<std::uint32_t>(value);
}

} // namespace fw
