#pragma once

#include "oxbow/Fault.h"
#include "oxbow/ScanJob.h"

#include <string>

namespace fw {

/// "frame 250  00:00:10:00  Blacks too low - 3 (5184, 0.25%)" and a line end.
std::string faultLine(const Fault& fault);

/// Frames, faults by kind, the verdict, and why a scan is not complete.
std::string scanSummary(const ScanResult& result);

} // namespace fw
