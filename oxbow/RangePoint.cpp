#include "oxbow/RangePoint.h"

#include "base/text.h"
#include "oxbow/NumberText.h"

#include <algorithm>
#include <vector>

namespace fw {
namespace {

constexpr std::size_t kMostDecimals = 9;
constexpr std::size_t kTimecodeFields = 4;
constexpr std::size_t kMostDigitsOfAField = 3;

std::optional<RangePoint> parsedSeconds(std::string_view text) {
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view decimals =
        point == std::string_view::npos ? std::string_view() : text.substr(point + 1);
    if ((point != std::string_view::npos && decimals.empty()) || decimals.size() > kMostDecimals) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> numerator =
        wholeNumber(std::string(whole) + std::string(decimals));
    if (!numerator || whole.empty()) {
        return std::nullopt;
    }
    SecondsPoint seconds{*numerator, 1};
    for (std::size_t i = 0; i < decimals.size(); ++i) {
        seconds.denominator *= 10;
    }
    return seconds;
}

std::optional<RangePoint> parsedTimecode(std::string_view text) {
    const std::vector<std::string_view> fields = splitAtAnyOf(text, ":;");
    const bool isTimecode = fields.size() == kTimecodeFields &&
                            std::all_of(fields.begin(), fields.end(), [](std::string_view field) {
                                return wholeNumber(field) && field.size() <= kMostDigitsOfAField;
                            });
    return isTimecode ? std::optional<RangePoint>(TimecodePoint{std::string(text)}) : std::nullopt;
}

} // namespace

std::optional<RangePoint> parsedRangePoint(std::string_view text) {
    if (text.find_first_of(":;") != std::string_view::npos) {
        return parsedTimecode(text);
    }
    if (text.ends_with('s')) {
        return parsedSeconds(text.substr(0, text.size() - 1));
    }
    const std::optional<std::int64_t> frame = wholeNumber(text);
    return frame ? std::optional<RangePoint>(FramePoint{*frame}) : std::nullopt;
}

} // namespace fw
