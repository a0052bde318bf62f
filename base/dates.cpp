#include "base/dates.h"

#include <fmt/format.h>

namespace fw {

std::string dateDescription(std::chrono::system_clock::time_point date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto midnight = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss time(seconds - midnight);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} +0000", static_cast<int>(day.year()),
                       static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                       time.hours().count(), time.minutes().count(), time.seconds().count());
}

} // namespace fw
