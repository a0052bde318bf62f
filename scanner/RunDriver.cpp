#include "scanner/RunDriver.h"

#include "base/numbers.h"
#include "base/text.h"
#include "media/FWAVFoundation.h"
#include "support/CrashReports.h"
#include "support/FWFileManager.h"

#include <algorithm>
#include <cstdio>
#include <thread>
#include <utility>

namespace fw {
namespace {

using Arguments = std::vector<std::string>;

/// Two fewer than are read; callers pass all fourteen, the program's path included.
constexpr std::size_t kFewestArguments = 12;
constexpr std::chrono::milliseconds kPollingInterval{300};

// Where each argument stands.
constexpr std::size_t kMoviePath = 1;
constexpr std::size_t kStartFrame = 2;
constexpr std::size_t kEndFrame = 3;
constexpr std::size_t kReserved = 4;
constexpr std::size_t kCheckLuma = 5;
constexpr std::size_t kBlackLevel = 6;
constexpr std::size_t kWhiteLevel = 7;
constexpr std::size_t kBitDepth = 8;
constexpr std::size_t kCheckFlashFrames = 9;
constexpr std::size_t kFlashFrameLength = 10;
constexpr std::size_t kFlashFrameSensitivity = 11;
constexpr std::size_t kEnforceAspectRatio = 12;
constexpr std::size_t kAspectRatio = 13;

bool isCountAcceptable(const Arguments& arguments) {
    return arguments.size() >= kFewestArguments ||
           std::find(arguments.begin(), arguments.end(), "-timing") != arguments.end();
}

std::int64_t integerAt(const Arguments& arguments, std::size_t index) {
    return leadingInteger(arguments.at(index));
}

bool flagAt(const Arguments& arguments, std::size_t index) {
    return arguments.at(index) == "1";
}

/// What the run scans: the start and end frame as times, the end no later than the movie's.
///
/// The end's value is taken on the start's timescale even when the movie's own end came in with
/// another one: deliberate; callers that need exact ranges pass end frames inside the movie.
MediaTimeRange scanRange(const Arguments& arguments, const Asset& asset) {
    const std::int64_t startFrame = integerAt(arguments, kStartFrame);
    const std::int64_t endFrame = integerAt(arguments, kEndFrame);
    static_cast<void>(arguments.at(kReserved)); // Must be there; its value plays no part.

    const double fps = FWAVFoundation::fpsForAsset(asset);
    const MediaTime start =
        FWAVFoundation::timeFromFrameCount(static_cast<std::uint64_t>(startFrame), fps);
    MediaTime end = FWAVFoundation::timeFromFrameCount(static_cast<std::uint64_t>(endFrame), fps);
    if (end > asset.duration()) {
        end = asset.duration();
    }
    return {start, MediaTime::make(saturatingSubtract(end.value, start.value), start.timescale)};
}

void configureChecks(FWFrameScan& scan, const Arguments& arguments) {
    scan.setShouldCheckLuma(flagAt(arguments, kCheckLuma));
    scan.setRefBlack(integerAt(arguments, kBlackLevel));
    scan.setRefWhite(integerAt(arguments, kWhiteLevel));
    scan.setBitDepth(integerAt(arguments, kBitDepth));
    scan.setShouldCheckFlashFrames(flagAt(arguments, kCheckFlashFrames));
    scan.setFlashFrameLength(integerAt(arguments, kFlashFrameLength));
    scan.setFlashFrameSensitivity(integerAt(arguments, kFlashFrameSensitivity));
    scan.setEnforceAspectRatio(flagAt(arguments, kEnforceAspectRatio));
    scan.setAspectRatio(snappedAspectRatio(leadingDouble(arguments.at(kAspectRatio))));
}

} // namespace

RunDriver::RunDriver(RunServices services) : services_(std::move(services)) {}

int RunDriver::run(const Arguments& arguments) const {
    if (!isCountAcceptable(arguments)) {
        std::puts("ERR:Invalid argument count");
        return 1;
    }
    services_.diagnostics.start();
    const std::string& path = arguments.at(kMoviePath);
    if (!FWFileManager::fileExistsAtPath(path)) {
        return endedWithError(
            "ERR:Unable to locate file. The macOS sandbox may be preventing access.");
    }
    const std::shared_ptr<const Asset> asset = services_.openAsset(path);
    if (!asset->isPlayable() || !asset->isReadable()) {
        return endedWithError("ERR:Unable to load movie. This codec may not be supported.");
    }
    runScan(arguments, asset);
    services_.diagnostics.finishLog();
    services_.diagnostics.stopBugReporter();
    return 0;
}

int RunDriver::endedWithError(const char* line) const {
    std::puts(line);
    services_.diagnostics.stopBugReporter();
    return 1;
}

void RunDriver::runScan(const Arguments& arguments,
                        const std::shared_ptr<const Asset>& asset) const {
    const MediaTimeRange range = scanRange(arguments, *asset);
    FWFrameScan scan(services_.findConnection, arguments);
    scan.setFilename(arguments.at(kMoviePath));
    scan.setAsset(asset);
    scan.setTimecodeStart(FWAVFoundation::timecodeStartForAsset(*asset, "00:00:00:00"));
    scan.setTimeRange(range);
    configureChecks(scan, arguments);

    const std::jthread worker([&scan] {
        const CrashReportedThread reported;
        scan.startScanning();
    });
    while (!scan.scanComplete()) {
        services_.pause(kPollingInterval);
    }
}

double snappedAspectRatio(double ratio) {
    if (ratio > 1.77 && ratio <= 1.78) {
        return 16.0 / 9.0;
    }
    return ratio == 1.33 ? 4.0 / 3.0 : ratio;
}

} // namespace fw
