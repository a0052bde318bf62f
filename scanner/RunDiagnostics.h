#pragma once

#include <functional>

namespace fw {

/// The log and the crash reporter of a run.
struct RunDiagnostics {
    /// Looks whether the last run crashed, marks the start of this one, opens a new log.
    std::function<void()> start;
    /// Waits until the log is written.
    std::function<void()> finishLog;
    /// Marks the clean end of the run.
    std::function<void()> stopBugReporter;
};

/// The suite's own: the log and the crash reporter by the name "OxbowGlint", with the marker file
/// in the user's preferences folder. They never write to standard output.
RunDiagnostics suiteDiagnostics();

} // namespace fw
