#include "scanner/ScanReporter.h"

#include "base/numbers.h"
#include "media/FWAVFoundation.h"

#include <cstdio>
#include <fmt/format.h>
#include <utility>

namespace fw {
namespace {

FrameReport reportAt(std::int64_t frame, const MediaTime& time, std::string timecode,
                     std::vector<std::string> errors) {
    FrameReport report;
    report.frame = frame;
    report.timecode = std::move(timecode);
    report.val = time.value;
    report.timescale = time.timescale;
    report.errors = std::move(errors);
    return report;
}

void print(const std::string& record) {
    std::fwrite(record.data(), 1, record.size(), stdout);
}

void printCleanRecord(std::int64_t frame) {
    print(fmt::format("{}@No errors\n", low32Unsigned(frame)));
}

/// Nothing is escaped: a message that contains "@" breaks the number of fields.
void printRecord(std::int64_t frame, const std::string& timecode, const MediaTime& time,
                 const std::string& text) {
    print(fmt::format("{}@{}@{}@{}@{}\n", low32Unsigned(frame), timecode,
                      static_cast<std::uint64_t>(time.value), time.timescale, text));
}

} // namespace

ScanReporter::ScanReporter(ReportTarget target, std::shared_ptr<const Asset> asset,
                           std::optional<std::string> timecodeStart)
    : target_(std::move(target)), asset_(std::move(asset)),
      timecodeStart_(std::move(timecodeStart)) {}

void ScanReporter::note(const std::string& text) const {
    if (target_.parent) {
        target_.parent->callback(text);
    }
}

void ScanReporter::cleanFrame(std::int64_t frame) const {
    FrameReport report;
    report.frame = frame;
    send(report);
    if (target_.standardOutput) {
        printCleanRecord(frame);
    }
}

void ScanReporter::faultyFrame(std::int64_t frame, const MediaTime& time,
                               const std::vector<std::string>& faults) const {
    const std::string timecode = timecodeAt(time);
    send(reportAt(frame, time, timecode, faults));
    if (target_.standardOutput) {
        printRecord(frame, timecode, time, fmt::format("{}", fmt::join(faults, "#")));
    }
}

void ScanReporter::flash(const FlashReport& flash) const {
    const std::string timecode = timecodeAt(flash.time);
    FrameReport report = reportAt(flash.frame, flash.time, timecode, {flash.message});
    report.info = flash.info;
    send(report);
    if (target_.standardOutput) {
        printRecord(flash.frame, timecode, flash.time, flash.message);
    }
}

void ScanReporter::lateFlash(const FlashReport& flash) const {
    if (target_.standardOutput) {
        printRecord(flash.frame, timecodeAt(flash.time), flash.time, flash.message);
    }
}

void ScanReporter::failed(const Error& error) const {
    if (target_.parent) {
        target_.parent->frameProcessingFailedWithError(error);
    }
}

void ScanReporter::finished() const {
    if (target_.parent) {
        target_.parent->frameProcessingFinished();
    }
}

std::string ScanReporter::timecodeAt(const MediaTime& time) const {
    return FWAVFoundation::timecodeAtTime(time, *asset_, timecodeStart_);
}

void ScanReporter::send(const FrameReport& report) const {
    if (target_.parent) {
        target_.parent->frameProcessed(report);
    }
}

} // namespace fw
