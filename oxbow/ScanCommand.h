#pragma once

#include "oxbow/CommandLine.h"
#include "oxbow/Output.h"
#include "oxbow/ScanJob.h"

namespace fw {

/// "oxbow scan": results to the output, progress and messages to standard error.
ExitStatus runScanCommand(const ScanRequest& request, const ScanServices& services,
                          const Output& output);

} // namespace fw
