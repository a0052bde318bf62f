#pragma once

#include <cstdint>

namespace fw {

/// A moment in universal time (proleptic Gregorian calendar, without leap seconds).
struct UtcTime {
    std::int64_t year = 1970;
    unsigned month = 1; ///< 1 to 12.
    unsigned day = 1;   ///< 1 to 31.
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    bool operator==(const UtcTime&) const = default;
};

/// The moment so many seconds after 1970-01-01 00:00:00. A signal handler may call it, unlike the
/// C library's functions of time.
UtcTime utcTime(std::int64_t secondsSince1970);

} // namespace fw
