#pragma once

#include "oxbow/CommandLine.h"
#include "oxbow/Output.h"
#include "oxbow/ScanJob.h"

namespace fw {

/// "oxbow demo": makes a movie with known faults in a temporary folder, scans it, and shows what
/// must be found beside what was found. kNoFaults when that is the same, kFaults when not.
ExitStatus runDemoCommand(const DemoRequest& request, const ScanServices& services,
                          const Output& output);

} // namespace fw
