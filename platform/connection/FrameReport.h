#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace fw {

/// What the scanner says of one frame, or of one flash. A clean frame has `frame` alone.
struct FrameReport {
    /// As a dictionary under the keys "frame", "timecode", "val", "timescale", "errors", "info".
    using Value = std::variant<std::int64_t, std::int32_t, std::string, std::vector<std::string>>;
    using Dictionary = std::map<std::string, Value>;

    std::int64_t frame = 0;
    std::optional<std::string> timecode;
    std::optional<std::int64_t> val;       ///< Of the time, in ticks of the timescale.
    std::optional<std::int32_t> timescale; ///< Ticks a second.
    std::optional<std::vector<std::string>> errors;
    std::optional<std::string> info;

    /// The keys that are present.
    Dictionary dictionary() const;
    bool operator==(const FrameReport&) const = default;
};

} // namespace fw
