#pragma once

#include "base/Error.h"
#include "media/MediaTime.h"
#include "media/Track.h"
#include "pixels/PixelBuffer.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace fw {

/// The samples as they are stored, undecoded.
struct NativeSamples {};

/// Decoded video frames.
struct VideoFrames {
    PixelLayout layout = PixelLayout::k2vuy;
};

using OutputSettings = std::variant<NativeSamples, VideoFrames>;

/// One sample of a track: a decoded frame, or stored bytes.
struct SampleBuffer {
    MediaTime presentationTime;
    /// Decoded frames only. The memory is used again once the last holder lets go.
    std::shared_ptr<PixelBuffer> imageBuffer;
    /// Native samples only.
    std::vector<std::byte> data;
    std::shared_ptr<const FormatDescription> formatDescription;
};

/// Reads the samples of one track once, in presentation order. Not thread-safe; it may be used on
/// another thread than the one that made it. The machine's readers may throw PlatformException.
///
///     reader->setTimeRange(range);
///     reader->addOutput(track, VideoFrames{PixelLayout::kV210});
///     reader->startReading();
///     while (reader->status() == AssetReader::Status::kReading) {
///         if (auto sample = reader->copyNextSampleBuffer()) { ... }
///     }
///     if (reader->status() == AssetReader::Status::kFailed) { ... reader->error() ... }
class AssetReader {
public:
    enum class Status { kUnknown, kReading, kCompleted, kFailed, kCancelled };

    virtual ~AssetReader() = default;

    /// Before startReading: the samples whose time lies in [start, end) are read, the start taken
    /// as at least zero. Without it everything is read.
    virtual void setTimeRange(const MediaTimeRange& range) = 0;
    /// Before startReading, exactly once.
    virtual void addOutput(const Track& track, const OutputSettings& settings) = 0;
    /// True when status is then kReading; otherwise it is kFailed.
    virtual bool startReading() = 0;
    virtual Status status() const = 0;
    /// Why status is kFailed; absent otherwise.
    virtual std::optional<Error> error() const = 0;
    /// The next sample, or nothing when there is no further one: then status is no longer
    /// kReading. Damaged input loses no frame that still decodes: those are delivered first, and
    /// only then does status become kFailed, with the first error.
    virtual std::optional<SampleBuffer> copyNextSampleBuffer() = 0;
    virtual void cancelReading() = 0;
};

} // namespace fw
