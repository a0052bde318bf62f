#pragma once

#include "oxbow/Fault.h"

#include <cstdint>
#include <map>
#include <optional>

namespace fw {

enum class Verdict { kClean, kFaults, kIncomplete };

/// "clean", "faults", "incomplete".
std::string_view nameOf(Verdict verdict);

/// What a scan has come to, counted as its reports arrive.
class ScanTally {
public:
    /// Frames below the start of the range are read to fill the flash history; they do not count.
    ScanTally(std::int64_t startFrame, std::optional<std::int64_t> expectedFrames);

    /// Gives the faults of the report.
    std::vector<Fault> take(const FrameReport& report);
    void takeClosingMessage() { isClosed_ = true; }

    std::optional<std::int64_t> expectedFrames() const { return expectedFrames_; }
    std::int64_t reportedFrames() const { return reportedFrames_; }
    /// Of the newest frame report; 0 before.
    std::int64_t newestFrame() const { return newestFrame_; }
    std::int64_t faultCount() const;
    std::int64_t faultCount(FaultKind kind) const;
    /// The closing message came, and no fewer frames than expected.
    bool isComplete() const;
    Verdict verdict() const;

private:
    std::int64_t startFrame_;
    std::optional<std::int64_t> expectedFrames_;
    std::int64_t reportedFrames_ = 0;
    std::int64_t newestFrame_ = 0;
    std::map<FaultKind, std::int64_t> faultCounts_;
    bool isClosed_ = false;
};

} // namespace fw
