#include "scanner/FWFrameScan.h"

#include "analysis/FWHistogram.h"
#include "analysis/MatteCheck.h"
#include "base/PlatformException.h"
#include "base/numbers.h"
#include "base/systemLog.h"
#include "base/text.h"
#include "media/FrameNumber.h"
#include "platform/connection/ConnectionName.h"
#include "scanner/FlashDetector.h"
#include "scanner/LeadIn.h"
#include "scanner/LumaCheck.h"
#include "scanner/ScanReporter.h"

#include <algorithm>
#include <exception>
#include <fmt/format.h>
#include <iterator>
#include <utility>

namespace fw {
namespace {

constexpr std::int64_t kTenBits = 10;

std::string timeRangeNote(const MediaTimeRange& range) {
    return fmt::format("timerange: {},{} - {}, {}", low32Signed(range.duration.value),
                       range.duration.timescale, low32Signed(range.start.value),
                       range.start.timescale);
}

std::string durationNote(const MediaTime& duration) {
    return fmt::format("duration: {} {}", low32Signed(duration.value), duration.timescale);
}

/// The closing message.
void reportEnd(const AssetReader& reader, const ScanReporter& reporter) {
    if (reader.status() == AssetReader::Status::kFailed) {
        reporter.failed(reader.error().value_or(Error{}));
    } else {
        reporter.finished();
    }
}

} // namespace

std::shared_ptr<ParentConnection> publishedConnection(const std::string& name) {
    return connectionWithRegisteredName(name);
}

FWFrameScan::FWFrameScan(ConnectionFinder findConnection, std::vector<std::string> processArguments)
    : findConnection_(std::move(findConnection)), processArguments_(std::move(processArguments)) {}

FWFrameScan::~FWFrameScan() = default;

void FWFrameScan::startScanning() {
    try {
        scan();
    } catch (const std::exception& exception) {
        systemLog(fmt::format("Exception: {}", exception.what()));
    }
    scanComplete_ = true;
}

void FWFrameScan::scan() {
    connectToParent();
    if (!asset_) {
        throw PlatformException("The scan has no movie.");
    }
    const ScanReporter reporter({proxyObject_, shouldOutputToStdout_}, asset_, timecodeStart_);
    sendStartUpNotes(reporter);
    scanComplete_ = false;
    lastFrame_ = -1;
    const std::int64_t historyLength = flashFrameLength_;
    flashFrameLength_ = std::max<std::int64_t>(flashFrameLength_, 1);

    const Result<std::unique_ptr<AssetReader>> made = asset_->makeReader();
    if (!made) {
        reporter.failed(made.error());
        return;
    }
    AssetReader& reader = *made.value();
    if (const Track* track = asset_->firstTrack(MediaType::kVideo)) {
        FlashDetector flashes({historyLength, flashFrameSensitivity_, track->nominalFrameRate});
        readFrames(reader, *track, flashes, reporter);
        reportLateFlashes(flashes, reporter);
    }
    reportEnd(reader, reporter);
}

/// Without a parent both stay null, and every message goes nowhere.
void FWFrameScan::connectToParent() {
    setConnection(findConnection_(connectionNameForMovie(filename_)));
    setProxyObject(connection_ ? connection_->rootProxy() : nullptr);
    if (proxyObject_) {
        proxyObject_->respondsTo("frameProcessed:"); // The question is the greeting.
    }
}

void FWFrameScan::sendStartUpNotes(const ScanReporter& reporter) const {
    reporter.note("init");
    reporter.note(timeRangeNote(timeRange_));
    reporter.note(durationNote(asset_->duration()));
    reporter.note("args: " + listDescription(processArguments_));
}

void FWFrameScan::readFrames(AssetReader& reader, const Track& track, FlashDetector& flashes,
                             const ScanReporter& reporter) const {
    const PixelLayout layout = bitDepth_ == kTenBits ? PixelLayout::kV210 : PixelLayout::k2vuy;
    reader.setTimeRange(rangeWithLeadIn(timeRange_, flashFrameLength_, track.nominalFrameRate));
    reader.addOutput(track, VideoFrames{layout});
    reader.startReading();
    while (reader.status() == AssetReader::Status::kReading) {
        const std::optional<SampleBuffer> sample = reader.copyNextSampleBuffer();
        if (sample && sample->imageBuffer) {
            scanFrame(*sample, track, flashes, reporter);
        }
    }
}

/// Flashes are reported at once and before the frame's own report, which comes once it is known
/// whether the frame lies in the range: of the frames before it, faults are dropped.
void FWFrameScan::scanFrame(const SampleBuffer& sample, const Track& track, FlashDetector& flashes,
                            const ScanReporter& reporter) const {
    PixelBuffer& buffer = *sample.imageBuffer;
    const MediaTime& time = sample.presentationTime;
    const PixelBufferLock lock(buffer);
    const std::vector<std::string> faults = pictureFaults(buffer);
    if (shouldCheckFlashFrames_) {
        detectFlashes(buffer, time, flashes, reporter);
    }
    const std::int64_t frame = frameNumberAtTime(time, track.nominalFrameRate);
    if (faults.empty() || !timeRange_.contains(time)) {
        reporter.cleanFrame(frame);
    } else {
        reporter.faultyFrame(frame, time, faults);
    }
}

std::vector<std::string> FWFrameScan::pictureFaults(PixelBuffer& buffer) const {
    std::vector<std::string> faults;
    const auto append = [&faults](std::vector<std::string> found) {
        std::move(found.begin(), found.end(), std::back_inserter(faults));
    };
    if (enforceAspectRatio_) {
        append(checkAspectRatio(buffer).value_or(std::vector<std::string>{}));
    }
    if (shouldCheckLuma_) {
        append(lumaFaults(buffer.base(), buffer.height() * buffer.bytesPerRow(),
                          {refBlack_, refWhite_, bitDepth_}));
    }
    return faults;
}

void FWFrameScan::detectFlashes(PixelBuffer& buffer, const MediaTime& time, FlashDetector& flashes,
                                const ScanReporter& reporter) const {
    const FWHistogram histogram =
        FWHistogram::histogramFromColorBuffer(buffer, true, static_cast<std::uint64_t>(bitDepth_));
    for (const FlashReport& flash :
         flashes.examine(histogram, time, buffer.height() * buffer.bytesPerRow())) {
        reporter.flash(flash);
    }
}

/// These go to standard output only, so they are looked for only when it is written to.
void FWFrameScan::reportLateFlashes(FlashDetector& flashes, const ScanReporter& reporter) const {
    if (!shouldCheckFlashFrames_ || !shouldOutputToStdout_) {
        return;
    }
    for (const FlashReport& flash : flashes.finish()) {
        reporter.lateFlash(flash);
    }
}

std::optional<std::vector<std::string>> FWFrameScan::checkAspectRatio(PixelBuffer& buffer) const {
    return matte::checkAspectRatio(buffer, aspectRatio_, bitDepth_);
}

void FWFrameScan::scanPixelRow(PixelBuffer& buffer, std::uint64_t atIndex,
                               std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels) const {
    matte::scanPixelRow(buffer, atIndex, bitDepth_, blackPixels, nonBlackPixels);
}

void FWFrameScan::scanPixelColumn(PixelBuffer& buffer, std::uint64_t atIndex,
                                  std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels) const {
    matte::scanPixelColumn(buffer, atIndex, bitDepth_, blackPixels, nonBlackPixels);
}

} // namespace fw
