#include "oxbow/ScanTally.h"

#include <numeric>

namespace fw {

std::string_view nameOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::kClean:
        return "clean";
    case Verdict::kFaults:
        return "faults";
    case Verdict::kIncomplete:
        break;
    }
    return "incomplete";
}

ScanTally::ScanTally(std::int64_t startFrame, std::optional<std::int64_t> expectedFrames)
    : startFrame_(startFrame), expectedFrames_(expectedFrames) {}

std::vector<Fault> ScanTally::take(const FrameReport& report) {
    if (!isFlashReport(report)) {
        newestFrame_ = report.frame;
        reportedFrames_ += report.frame >= startFrame_ ? 1 : 0;
    }
    std::vector<Fault> faults = faultsOf(report);
    for (const Fault& fault : faults) {
        ++faultCounts_[fault.kind];
    }
    return faults;
}

std::int64_t ScanTally::faultCount() const {
    return std::accumulate(faultCounts_.begin(), faultCounts_.end(), std::int64_t{0},
                           [](std::int64_t sum, const auto& entry) { return sum + entry.second; });
}

std::int64_t ScanTally::faultCount(FaultKind kind) const {
    const auto entry = faultCounts_.find(kind);
    return entry != faultCounts_.end() ? entry->second : 0;
}

bool ScanTally::isComplete() const {
    return isClosed_ && reportedFrames_ >= expectedFrames_.value_or(0);
}

Verdict ScanTally::verdict() const {
    if (!isComplete()) {
        return Verdict::kIncomplete;
    }
    return faultCount() > 0 ? Verdict::kFaults : Verdict::kClean;
}

} // namespace fw
