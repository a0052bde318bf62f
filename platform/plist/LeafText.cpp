#include "platform/plist/LeafText.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace fw {
namespace {

/// The digits at [position, position + length) of a text that is long enough.
std::optional<unsigned> digits(std::string_view text, std::size_t position, std::size_t length) {
    unsigned value = 0;
    for (const char c : text.substr(position, length)) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    return value;
}

/// Whether `text` has the letters of `shape` wherever that has no '0'.
bool hasShape(std::string_view text, std::string_view shape) {
    if (text.size() != shape.size()) {
        return false;
    }
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] != '0' && shape[i] != text[i]) {
            return false;
        }
    }
    return true;
}

/// A number with nothing behind it.
template <typename Number, typename... Base>
std::optional<Number> wholeNumber(std::string_view text, Base... base) {
    Number value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value, base...);
    const bool isWhole = failure == std::errc() && stop == end;
    return isWhole ? std::optional(value) : std::nullopt;
}

} // namespace

std::optional<std::chrono::sys_seconds> dateFromText(std::string_view text) {
    if (!hasShape(text, "0000-00-00T00:00:00Z")) {
        return std::nullopt;
    }
    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2);
    const auto minute = digits(text, 14, 2);
    const auto second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(*year)),
                                           std::chrono::month(*month), std::chrono::day(*day));
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
           std::chrono::seconds(*second);
}

std::string textFromDate(std::chrono::sys_seconds date) {
    const auto day = std::chrono::floor<std::chrono::days>(date);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(date - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(calendar.year()),
                       static_cast<unsigned>(calendar.month()),
                       static_cast<unsigned>(calendar.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count());
}

std::optional<std::string> plainInteger(std::string_view text) {
    constexpr std::uint64_t kMostBelowZero = std::uint64_t{1} << 63;
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto magnitude = isHexadecimal ? wholeNumber<std::uint64_t>(text.substr(2), 16)
                                         : wholeNumber<std::uint64_t>(text, 10);
    if (!magnitude || (isNegative && *magnitude > kMostBelowZero)) {
        return std::nullopt;
    }
    return fmt::format("{}{}", isNegative ? "-" : "", *magnitude);
}

bool isReal(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return !text.starts_with("+") && wholeNumber<double>(text).has_value();
}

} // namespace fw
