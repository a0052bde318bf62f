#pragma once

#include "media/Asset.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fw::test {

/// One sample that a synthetic reader hands over, or, with neither image nor data, a sample
/// without an image.
struct SyntheticSample {
    MediaTime time;
    std::shared_ptr<PixelBuffer> image;
    std::vector<std::byte> data;
    FormatDescription format;
};

/// What a synthetic asset's readers do. Every field may be set by a test.
struct SyntheticReading {
    std::vector<SyntheticSample> samples;
    /// makeReader fails with this.
    std::optional<Error> creationError;
    /// The reader fails with this after its last sample.
    std::optional<Error> finalError;
    /// startReading leaves the status unknown and returns false.
    bool neverStarts = false;
    /// copyNextSampleBuffer throws PlatformException with this text at the sample of this index.
    std::optional<std::string> exceptionText;
    std::size_t exceptionIndex = 0;
    /// How often copyNextSampleBuffer returns nothing, status still reading, before each sample.
    int emptyAnswers = 0;
    /// Deliver all samples whatever the range.
    bool ignoreRange = false;
};

/// What the last reader of an asset was told.
struct SyntheticReaderLog {
    int readersMade = 0;
    int cancellations = 0;
    std::optional<MediaTimeRange> range;
    std::optional<int> trackId;
    std::optional<OutputSettings> settings;
};

/// A movie whose every answer is given by a test.
class SyntheticAsset final : public Asset {
public:
    std::optional<AssetUrl> url_ = AssetUrl{"file", "/synthetic/movie.mov"};
    bool playable_ = true;
    bool readable_ = true;
    MediaTime duration_ = MediaTime::zero();
    std::vector<Track> tracks_;
    /// By track id.
    std::vector<std::pair<int, SyntheticReading>> readings_;
    mutable SyntheticReaderLog log_;

    std::optional<AssetUrl> url() const override { return url_; }
    bool isPlayable() const override { return playable_; }
    bool isReadable() const override { return readable_; }
    std::optional<Error> error() const override { return std::nullopt; }
    MediaTime duration() const override { return duration_; }
    const std::vector<Track>& tracks() const override { return tracks_; }
    Result<std::unique_ptr<AssetReader>> makeReader() const override;

    SyntheticReading& reading(int trackId);
};

/// A video track with an exact rate.
Track videoTrack(int id, std::int64_t rateNumerator, std::int64_t rateDenominator = 1);
/// A 'tmcd' (or other subtype) track.
Track timecodeTrack(int id, std::int32_t timescale, std::int32_t frameDuration,
                    std::uint32_t quanta, std::uint32_t flags, FourCC subType);
/// A native sample with a big-endian 32-bit frame number.
SyntheticSample timecodeSample(std::uint32_t frameNumber, const Track& track);

} // namespace fw::test
