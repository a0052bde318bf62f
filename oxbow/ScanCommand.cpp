#include "oxbow/ScanCommand.h"

#include "base/systemLog.h"
#include "oxbow/Diagnostics.h"
#include "oxbow/ErrorLine.h"
#include "oxbow/JsonReport.h"
#include "oxbow/Progress.h"
#include "oxbow/TextReport.h"

#include <unistd.h>

#include <chrono>

namespace fw {
namespace {

/// What somebody in front of a terminal sees on standard error while a scan runs.
class ScanDisplay {
public:
    explicit ScanDisplay(bool isVerbose) : progress_(STDERR_FILENO), isVerbose_(isVerbose) {}

    /// The receivers refer to this object.
    void observe(ScanObserver& observer) {
        if (progress_.isOnTerminal()) {
            observer.progress = [this](const ScanPlan& plan, const ScanTally& tally) {
                show(plan, tally);
            };
        }
        if (isVerbose_) {
            observer.diagnostics = [this, write = diagnosticsWriter(STDERR_FILENO)](auto text) {
                progress_.clear();
                write(text);
            };
        }
    }
    /// Before other text, which may go to the same terminal.
    void clear() { progress_.clear(); }

private:
    void show(const ScanPlan& plan, const ScanTally& tally) {
        progress_.show(
            progressText({tally.newestFrame(), tally.reportedFrames(), plan.estimatedFrames,
                          tally.faultCount(), std::chrono::steady_clock::now() - start_}));
    }

    ProgressLine progress_;
    bool isVerbose_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

bool wasScanned(const ScanResult& result) {
    return result.plan && result.status != ExitStatus::kInternal &&
           result.status != ExitStatus::kNotOpened;
}

/// On standard error, for what is not the result of a scan.
void complain(const std::string& movie, const ScanResult& result) {
    const bool isAboutMovie = result.status == ExitStatus::kNotOpened;
    systemLog(errorLine((isAboutMovie ? movie + ": " : "") + result.error->description));
}

ExitStatus scanToText(const ScanRequest& request, const ScanServices& services,
                      const Output& output) {
    ScanDisplay display(request.isVerbose);
    ScanObserver observer;
    display.observe(observer);
    observer.fault = [&](const Fault& fault) {
        display.clear();
        output.write(faultLine(fault));
    };
    const ScanResult result = performScan(request.settings, services, observer);
    display.clear();
    if (wasScanned(result)) {
        output.write(scanSummary(result));
    } else {
        complain(request.settings.movie, result);
    }
    return result.status;
}

ExitStatus scanToJson(const ScanRequest& request, const ScanServices& services,
                      const Output& output) {
    ScanDisplay display(request.isVerbose);
    ScanObserver observer;
    display.observe(observer);
    JsonReport report(request.settings.movie, output);
    observer.planned = [&report](const ScanPlan& plan) {
        report.begin(plan);
    };
    observer.fault = [&](const Fault& fault) {
        display.clear();
        report.add(fault);
    };
    const ScanResult result = performScan(request.settings, services, observer);
    display.clear();
    if (result.status == ExitStatus::kUsage) {
        complain(request.settings.movie, result);
    } else {
        report.end(result);
    }
    return result.status;
}

} // namespace

ExitStatus runScanCommand(const ScanRequest& request, const ScanServices& services,
                          const Output& output) {
    return request.isJson ? scanToJson(request, services, output)
                          : scanToText(request, services, output);
}

} // namespace fw
