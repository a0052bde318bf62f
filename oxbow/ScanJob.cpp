#include "oxbow/ScanJob.h"

#include "oxbow/ScannerRun.h"
#include "oxbow/SignalWatch.h"

#include <cstring>

namespace fw {
namespace {

constexpr const char* kDomain = "com.fernwick.Oxbow";

/// An error of our own, told by its exit status.
Error ownError(ExitStatus status, std::string description) {
    return {kDomain, static_cast<std::int64_t>(status), std::move(description)};
}

Error interruption() {
    return ownError(ExitStatus::kIncomplete, "The scan was interrupted.");
}

ScanResult failedScan(ExitStatus status, const Error& error) {
    ScanResult result;
    result.status = status;
    result.error = error;
    return result;
}

std::string endDescription(const ChildEnd& end) {
    if (const auto* killed = std::get_if<KilledBySignal>(&end)) {
        return "The scanner was killed by signal " + std::to_string(killed->signal) + " (" +
               ::strsignal(killed->signal) + ").";
    }
    return "The scanner ended with status " +
           std::to_string(std::get<ExitedWithStatus>(end).status) +
           " before the scan was complete.";
}

/// Why a scan is not complete; nothing when it is.
std::optional<Error> incompleteness(const ScannerRunOutcome& outcome, const ScanTally& tally) {
    if (tally.isComplete()) {
        return std::nullopt;
    }
    if (outcome.interruption) {
        return interruption();
    }
    if (outcome.failure) {
        return outcome.failure;
    }
    if (!outcome.isFinished) {
        return ownError(ExitStatus::kIncomplete, endDescription(outcome.end));
    }
    return ownError(ExitStatus::kIncomplete, "Fewer frames were reported than the movie has.");
}

ExitStatus statusOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::kClean:
        return ExitStatus::kNoFaults;
    case Verdict::kFaults:
        return ExitStatus::kFaults;
    case Verdict::kIncomplete:
        break;
    }
    return ExitStatus::kIncomplete;
}

void judge(ScanResult& result, const ScannerRunOutcome& outcome) {
    if (!outcome.errorLine.empty()) {
        // The scanner's own words for a movie that it cannot find or load begin like this.
        const bool isAboutMovie = outcome.errorLine.starts_with("Unable to ");
        result.status = isAboutMovie ? ExitStatus::kNotOpened : ExitStatus::kInternal;
        result.error = ownError(result.status, outcome.errorLine);
        return;
    }
    if (outcome.isFinished && !outcome.failure) {
        result.tally.takeClosingMessage();
    }
    result.status = statusOf(result.tally.verdict());
    result.error = incompleteness(outcome, result.tally);
}

ScannerRunEvents eventsFor(ScanResult& result, const ScanObserver& observer) {
    ScannerRunEvents events;
    events.report = [&result, &observer](const FrameReport& report) {
        for (const Fault& fault : result.tally.take(report)) {
            if (observer.fault) {
                observer.fault(fault);
            }
        }
    };
    events.diagnostics = observer.diagnostics;
    if (observer.progress) {
        events.tick = [&result, &observer] {
            observer.progress(*result.plan, result.tally);
        };
    }
    return events;
}

ScanResult runPlan(const ScanPlan& plan, const std::string& scanner, const ScanObserver& observer,
                   SignalWatch& signals) {
    if (observer.planned) {
        observer.planned(plan);
    }
    ScanResult result;
    result.plan = plan;
    result.tally = ScanTally(plan.range.startFrame, plan.expectedFrames);
    if (signals.take() != 0) {
        // It came while the movie was opened: the scanner need not start.
        result.status = ExitStatus::kIncomplete;
        result.error = interruption();
        return result;
    }
    ScannerRunOptions options;
    options.scanner = scanner;
    options.arguments = scannerArguments(plan);
    const auto outcome = runScanner(options, eventsFor(result, observer), signals);
    if (outcome) {
        judge(result, outcome.value());
    } else {
        result.error = outcome.error();
    }
    return result;
}

} // namespace

ScanResult performScan(const ScanSettings& settings, const ScanServices& services,
                       const ScanObserver& observer) {
    SignalWatch signals;
    const std::shared_ptr<const Asset> asset = services.openAsset(settings.movie);
    if (!asset->isPlayable() || !asset->isReadable()) {
        return failedScan(ExitStatus::kNotOpened,
                          asset->error().value_or(
                              ownError(ExitStatus::kNotOpened, "The movie cannot be opened.")));
    }
    const Result<ScanPlan> plan = plannedScan(settings, *asset);
    if (!plan) {
        return failedScan(ExitStatus::kUsage, plan.error());
    }
    const std::optional<std::string> scanner = services.findScanner();
    if (!scanner) {
        return failedScan(ExitStatus::kInternal,
                          ownError(ExitStatus::kInternal,
                                   "The scanner OxbowGlint is neither beside this program nor "
                                   "where it is installed."));
    }
    return runPlan(plan.value(), *scanner, observer, signals);
}

} // namespace fw
