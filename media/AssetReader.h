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

/// Decoded sound: interleaved signed 16-bit samples in the machine's byte order, at the sample rate
/// and with the channels that the track's description states. 8-bit samples become the high byte,
/// wider ones lose their low bits, floating-point ones are rounded to the nearest and held at the
/// ends of the range (either end from 65536 times full scale on).
struct AudioSamples {};

using OutputSettings = std::variant<NativeSamples, VideoFrames, AudioSamples>;

/// One sample of a track: a decoded frame, some decoded sound, or stored bytes.
struct SampleBuffer {
    MediaTime presentationTime; ///< Of sound: of its first sample.
    /// Decoded frames only. The memory is used again once the last holder lets go.
    std::shared_ptr<PixelBuffer> imageBuffer;
    /// Stored bytes, or decoded sound.
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
    /// as at least zero; of sound each single sample counts. Without it everything is read.
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
