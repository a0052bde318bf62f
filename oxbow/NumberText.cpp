#include "oxbow/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace fw {
namespace {

template <typename Number, typename... Format>
std::optional<Number> wholeTextAs(std::string_view text, Format... format) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc() && stop == end ? std::optional<Number>(number) : std::nullopt;
}

std::optional<double> positiveNumber(std::string_view text) {
    const std::optional<double> number = wholeTextAs<double>(text, std::chars_format::fixed);
    return number && std::isfinite(*number) && *number > 0 ? number : std::nullopt;
}

} // namespace

std::optional<std::int64_t> wholeNumber(std::string_view text) {
    const bool isDigits =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    return isDigits ? wholeTextAs<std::int64_t>(text) : std::nullopt;
}

std::optional<double> aspectRatio(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return positiveNumber(text);
    }
    const std::optional<double> width = positiveNumber(text.substr(0, colon));
    const std::optional<double> height = positiveNumber(text.substr(colon + 1));
    if (!width || !height) {
        return std::nullopt;
    }
    const double ratio = *width / *height;
    return std::isfinite(ratio) && ratio > 0 ? std::optional<double>(ratio) : std::nullopt;
}

std::string shortestText(double number) {
    std::array<char, 32> text = {};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::string(text.data(), end) : std::string();
}

} // namespace fw
