#pragma once

#include "oxbow/RangePoint.h"

#include <cstdint>
#include <optional>
#include <string>

namespace fw {

/// What is asked of one scan.
struct ScanSettings {
    std::string movie; ///< Its path as it was typed.
    std::optional<RangePoint> start;
    std::optional<RangePoint> end;     ///< Exclusive.
    std::optional<int> depth;          ///< 8 or 10; absent: by the movie.
    std::optional<std::int64_t> black; ///< On the scale of the depth; absent: its legal black.
    std::optional<std::int64_t> white;
    bool checksLuma = true;
    bool checksFlashes = true;
    std::int64_t flashLength = 4;
    std::int64_t flashSensitivity = 5;
    std::optional<double> aspectRatio; ///< Absent: mattes are not checked.
};

} // namespace fw
