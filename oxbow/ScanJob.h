#pragma once

#include "base/Error.h"
#include "media/Asset.h"
#include "oxbow/ExitStatus.h"
#include "oxbow/Fault.h"
#include "oxbow/ScanPlan.h"
#include "oxbow/ScanSettings.h"
#include "oxbow/ScanTally.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// What a scan needs from the program around it.
struct ScanServices {
    AssetOpener openAsset;
    /// The scanner program; nothing when there is none.
    std::function<std::optional<std::string>()> findScanner;
};

/// What happens during a scan. Every member may be empty; what they throw comes out of
/// performScan.
struct ScanObserver {
    /// What is scanned, before anything else; not called when the movie cannot be scanned.
    std::function<void(const ScanPlan& plan)> planned;
    std::function<void(const Fault& fault)> fault;
    std::function<void(std::string_view text)> diagnostics;
    /// A few times a second.
    std::function<void(const ScanPlan& plan, const ScanTally& tally)> progress;
};

/// How a scan went.
struct ScanResult {
    ExitStatus status = ExitStatus::kInternal;
    std::optional<ScanPlan> plan; ///< Absent when there was nothing to scan.
    ScanTally tally{0, std::nullopt};
    /// Why it is not complete.
    std::optional<Error> error;
};

/// Opens the movie, runs the scanner over it, and judges what came. Ctrl-C ends the scan, not the
/// program; while the movie is being opened, as soon as that is done.
ScanResult performScan(const ScanSettings& settings, const ScanServices& services,
                       const ScanObserver& observer);

} // namespace fw
