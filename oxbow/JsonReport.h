#pragma once

#include "oxbow/Fault.h"
#include "oxbow/Output.h"
#include "oxbow/ScanJob.h"

#include <string>

namespace fw {

/// A scan as one JSON document, written while it goes on, so that memory does not grow with the
/// faults: movie, settings, faults [{kind, frame, timecode, value, timescale, message}], one a
/// line, frames {expected, reported}, complete, verdict, error {domain, code, description} or
/// null. Text that is not UTF-8 is repaired. Every operation throws OutputError.
class JsonReport {
public:
    /// Writes nothing yet; the output must outlive the report.
    JsonReport(std::string movie, const Output& output);

    /// Begins the document: what is scanned is known.
    void begin(const ScanPlan& plan);
    /// After begin.
    void add(const Fault& fault);
    /// Ends the document, the line too; begins it, when nothing was scanned.
    void end(const ScanResult& result);

private:
    void writeHead(const std::string& settings);

    std::string movie_;
    const Output& output_;
    bool hasBegun_ = false;
    bool hasFaults_ = false;
};

} // namespace fw
