#pragma once

#include "base/Error.h"
#include "media/Asset.h"
#include "platform/connection/ParentConnection.h"
#include "scanner/FlashDetector.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// Where the reports of a scan go.
struct ReportTarget {
    std::shared_ptr<ParentProxy> parent; ///< May be null: then its messages go nowhere.
    bool standardOutput = false;         ///< Also print a record for each report.
};

/// Tells the parent, and standard output when asked for, what a scan found. A record is printed
/// just after its message is sent. Nothing is flushed. Operations throw what the parent throws.
class ScanReporter {
public:
    /// The asset and its starting timecode give the timecodes of the reports.
    ScanReporter(ReportTarget target, std::shared_ptr<const Asset> asset,
                 std::optional<std::string> timecodeStart);

    void note(const std::string& text) const;
    void cleanFrame(std::int64_t frame) const;
    void faultyFrame(std::int64_t frame, const MediaTime& time,
                     const std::vector<std::string>& faults) const;
    void flash(const FlashReport& flash) const;
    /// A flash found after the last frame: printed, never sent.
    void lateFlash(const FlashReport& flash) const;
    void failed(const Error& error) const;
    void finished() const;

private:
    std::string timecodeAt(const MediaTime& time) const;
    void send(const FrameReport& report) const;

    ReportTarget target_;
    std::shared_ptr<const Asset> asset_;
    std::optional<std::string> timecodeStart_;
};

} // namespace fw
