#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "oxbow/SignalWatch.h"
#include "platform/connection/FrameReport.h"
#include "platform/connection/RuntimeFolder.h"
#include "platform/process/ChildProcess.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

struct ScannerRunOptions {
    std::string scanner;                ///< Path of the program.
    std::vector<std::string> arguments; ///< The first is the movie's path.
    /// How long the scanner may take to end once it has been told to; then it is killed.
    std::chrono::milliseconds patience = std::chrono::seconds(3);
    std::vector<RuntimeFolder> runtimeFolders = standardRuntimeFolders();
};

/// What happens while the scanner runs. Every member may be empty. What they throw ends the scan
/// and comes out of runScanner.
struct ScannerRunEvents {
    std::function<void(const FrameReport& report)> report;
    /// What the scanner writes to its standard error, in pieces.
    std::function<void(std::string_view text)> diagnostics;
    /// A few times a second.
    std::function<void()> tick;
};

/// How the scanner ended.
struct ScannerRunOutcome {
    ChildEnd end;
    bool isFinished = false;         ///< frameProcessingFinished came.
    std::optional<Error> failure;    ///< Of frameProcessingFailedWithError.
    std::string errorLine;           ///< What followed "ERR:" on its standard output, else empty.
    std::optional<int> interruption; ///< The signal that asked us to end.
};

/// Publishes the connection, starts the scanner, and serves both until the scanner has ended and
/// everything that it sent has arrived. A signal asks the scanner to end. No process and no socket
/// is left, however this ends. The error says why the scanner could not be started.
Result<ScannerRunOutcome> runScanner(const ScannerRunOptions& options,
                                     const ScannerRunEvents& events, SignalWatch& signals);

} // namespace fw
