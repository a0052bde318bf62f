#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace fw {

/// A frame, counted from 0 at the start of the movie.
struct FramePoint {
    std::int64_t frame = 0;
    bool operator==(const FramePoint&) const = default;
};
/// Seconds from the start of the movie, exactly: numerator / denominator.
struct SecondsPoint {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;
    bool operator==(const SecondsPoint&) const = default;
};
/// A timecode as the movie counts it.
struct TimecodePoint {
    std::string text;
    bool operator==(const TimecodePoint&) const = default;
};

/// Where a scan starts or ends, as somebody typed it.
using RangePoint = std::variant<FramePoint, SecondsPoint, TimecodePoint>;

/// "250" is a frame, "12.5s" seconds (up to nine decimals), "01:00:00:00" or "01:00:00;00" a
/// timecode. Nothing for any other text: signs, blanks and trailing text included.
std::optional<RangePoint> parsedRangePoint(std::string_view text);

} // namespace fw
