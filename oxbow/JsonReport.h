#pragma once

#include "oxbow/Fault.h"
#include "oxbow/ScanJob.h"

#include <string>
#include <vector>

namespace fw {

/// The whole scan as one JSON document with a line end: movie, complete, verdict, settings,
/// frames {expected, reported}, faults [{kind, frame, timecode, value, timescale, message}],
/// error {domain, code, description} or null. Text that is not UTF-8 is repaired.
std::string jsonReport(const std::string& movie, const ScanResult& result,
                       const std::vector<Fault>& faults);

} // namespace fw
