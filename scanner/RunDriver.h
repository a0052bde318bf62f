#pragma once

#include "media/Asset.h"
#include "scanner/FWFrameScan.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace fw {

/// What a run takes from the machine.
struct RunServices {
    AssetOpener openAsset;
    ConnectionFinder findConnection = publishedConnection;
    /// Waits between two looks at the scan.
    std::function<void(std::chrono::milliseconds)> pause = [](std::chrono::milliseconds length) {
        std::this_thread::sleep_for(length);
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
    /// Returns 0 once a scan is complete, whatever it found, and 1 after one "ERR:" line on
    /// standard output. An argument that is missing in spite of the check of their number throws
    /// std::out_of_range, which is not to be caught: such a call ends the process abnormally.
    int run(const std::vector<std::string>& arguments) const;

private:
    void runScan(const std::vector<std::string>& arguments,
                 const std::shared_ptr<const Asset>& asset) const;

    RunServices services_;
};

/// 16/9 for ratios above 1.77 and up to 1.78, 4/3 for exactly 1.33, every other as it is: one-sided
/// on purpose.
double snappedAspectRatio(double ratio);

} // namespace fw
