#include "platform/crash/UtcTime.h"

namespace fw {
namespace {

constexpr std::int64_t kSecondsOfDay = 86'400;
constexpr std::int64_t kDaysOfEra = 146'097; // 400 years.
constexpr std::int64_t kDaysFromMarch0To1970 = 719'468;

std::int64_t floorDivided(std::int64_t dividend, std::int64_t divisor) {
    const std::int64_t quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

/// Sets year, month and day from days since 1970-01-01. Years begin in March here, so that the day
/// that comes and goes is the last one (Howard Hinnant, "chrono-Compatible Low-Level Date
/// Algorithms", civil_from_days).
void setDate(std::int64_t days, UtcTime& time) {
    days += kDaysFromMarch0To1970;
    const std::int64_t era = floorDivided(days, kDaysOfEra);
    const auto dayOfEra = static_cast<unsigned>(days - era * kDaysOfEra);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;
    time.day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    time.month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    time.year = yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0);
}

} // namespace

UtcTime utcTime(std::int64_t secondsSince1970) {
    const std::int64_t days = floorDivided(secondsSince1970, kSecondsOfDay);
    const auto secondOfDay = static_cast<unsigned>(secondsSince1970 - days * kSecondsOfDay);
    UtcTime time;
    setDate(days, time);
    time.hour = secondOfDay / 3600;
    time.minute = secondOfDay / 60 % 60;
    time.second = secondOfDay % 60;
    return time;
}

} // namespace fw
