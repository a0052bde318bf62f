#pragma once

#include "base/numbers.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace fw {

/// A limit of time in seconds.
struct Timeout {
    explicit constexpr Timeout(double limit) : seconds(limit) {}

    /// Deliberate: cut to whole seconds, so that 2.9 s are 2 s. A negative limit and one that is
    /// not a number are none at all; the largest is about 31 years.
    constexpr std::chrono::seconds wholeSeconds() const {
        constexpr std::int64_t kLongest = 1'000'000'000;
        return std::chrono::seconds(
            std::clamp(saturatingCast<std::int64_t>(seconds), std::int64_t{0}, kLongest));
    }

    double seconds;
};

} // namespace fw
