#pragma once

#include "base/Result.h"
#include "media/Asset.h"
#include "oxbow/RangeArguments.h"
#include "oxbow/ScanSettings.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// A scan with everything decided that its settings left to the movie.
struct ScanPlan {
    std::string movie;
    RangeArguments range;
    int depth = 8;
    std::int64_t black = 16;
    std::int64_t white = 235;
    bool checksLuma = true;
    bool checksFlashes = true;
    std::int64_t flashLength = 4;
    std::int64_t flashSensitivity = 5;
    std::optional<double> aspectRatio;

    /// The container's own count, when the whole movie is scanned and the container keeps one.
    std::optional<std::int64_t> expectedFrames;
    /// About how many frames will be reported; 0 when that is unknown.
    std::int64_t estimatedFrames = 0;
};

/// The error's description is one sentence for whoever chose the settings.
Result<ScanPlan> plannedScan(const ScanSettings& settings, const Asset& asset);

/// The thirteen arguments of OxbowGlint.
std::vector<std::string> scannerArguments(const ScanPlan& plan);

} // namespace fw
