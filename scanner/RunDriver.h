#pragma once

#include "media/Asset.h"
#include "platform/mainthread/MainThread.h"
#include "scanner/FWFrameScan.h"
#include "scanner/RunDiagnostics.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace fw {

/// What a run takes from the machine.
struct RunServices {
    AssetOpener openAsset;
    ConnectionFinder findConnection = publishedConnection;
    RunDiagnostics diagnostics = suiteDiagnostics();
    /// Waits between two looks at the scan, and runs what other threads post to the main thread.
    std::function<void(std::chrono::milliseconds)> pause = [](std::chrono::milliseconds length) {
        serviceMainThread(length);
    };
};

/// One run of the program, from its arguments to its exit status.
class RunDriver {
public:
    explicit RunDriver(RunServices services);

    /// The arguments are the program's own path, then: movie path, start frame, end frame
    /// (exclusive), a reserved number, "1" to check luma, black level, white level, bit depth, "1"
    /// to check for flash frames, their length, their sensitivity, "1" to enforce the aspect ratio,
    /// the aspect ratio. The word "-timing" anywhere waives the check of their number.
    ///
    /// A wrong number of arguments is found before anything else is done. After that the crash
    /// reporter and the log run; the crash reporter is stopped on every way out, the log is
    /// finished after a scan only.
    ///
    /// Returns 0 once a scan is complete, whatever it found, and 1 after one "ERR:" line on
    /// standard output. An argument that is missing in spite of the check of their number throws
    /// std::out_of_range, which is not to be caught: such a call ends the process abnormally.
    int run(const std::vector<std::string>& arguments) const;

private:
    int endedWithError(const char* line) const;
    void runScan(const std::vector<std::string>& arguments,
                 const std::shared_ptr<const Asset>& asset) const;

    RunServices services_;
};

/// 16/9 for ratios above 1.77 and up to 1.78, 4/3 for exactly 1.33, every other as it is: one-sided
/// on purpose.
double snappedAspectRatio(double ratio);

} // namespace fw
