#include "tests/support/SyntheticAsset.h"

#include "base/PlatformException.h"
#include "media/FrameNumber.h"

namespace fw::test {
namespace {

class SyntheticReader final : public AssetReader {
public:
    SyntheticReader(const SyntheticAsset& asset) : asset_(asset) {}

    void setTimeRange(const MediaTimeRange& range) override {
        range_ = range;
        asset_.log_.range = range;
    }
    void addOutput(const Track& track, const OutputSettings& settings) override {
        asset_.log_.trackId = track.id;
        asset_.log_.settings = settings;
        for (const auto& [id, reading] : asset_.readings_) {
            if (id == track.id) {
                reading_ = reading;
            }
        }
    }
    bool startReading() override {
        if (reading_.neverStarts) {
            return false;
        }
        status_ = Status::kReading;
        pendingEmptyAnswers_ = reading_.emptyAnswers;
        return true;
    }
    Status status() const override { return status_; }
    std::optional<Error> error() const override {
        return status_ == Status::kFailed ? reading_.finalError : std::nullopt;
    }
    std::optional<SampleBuffer> copyNextSampleBuffer() override {
        if (status_ != Status::kReading || pendingEmptyAnswers_-- > 0) {
            return std::nullopt;
        }
        pendingEmptyAnswers_ = reading_.emptyAnswers;
        while (next_ < reading_.samples.size() && !isWanted(reading_.samples[next_])) {
            ++next_;
        }
        if (reading_.exceptionText && next_ == reading_.exceptionIndex) {
            throw PlatformException(*reading_.exceptionText);
        }
        if (next_ >= reading_.samples.size()) {
            status_ = reading_.finalError ? Status::kFailed : Status::kCompleted;
            return std::nullopt;
        }
        const SyntheticSample& sample = reading_.samples[next_++];
        return SampleBuffer{sample.time, sample.image, sample.data,
                            std::make_shared<FormatDescription>(sample.format)};
    }
    void cancelReading() override {
        ++asset_.log_.cancellations;
        status_ = Status::kCancelled;
    }

private:
    bool isWanted(const SyntheticSample& sample) const {
        if (reading_.ignoreRange || !range_) {
            return true;
        }
        return !(sample.time < range_->start) && sample.time < range_->end();
    }

    const SyntheticAsset& asset_;
    SyntheticReading reading_;
    std::optional<MediaTimeRange> range_;
    Status status_ = Status::kUnknown;
    std::size_t next_ = 0;
    int pendingEmptyAnswers_ = 0;
};

} // namespace

Result<std::unique_ptr<AssetReader>> SyntheticAsset::makeReader() const {
    ++log_.readersMade;
    for (const auto& [id, reading] : readings_) {
        if (reading.creationError) {
            return *reading.creationError;
        }
    }
    return std::unique_ptr<AssetReader>(std::make_unique<SyntheticReader>(*this));
}

SyntheticReading& SyntheticAsset::reading(int trackId) {
    for (auto& [id, reading] : readings_) {
        if (id == trackId) {
            return reading;
        }
    }
    readings_.emplace_back(trackId, SyntheticReading{});
    return readings_.back().second;
}

Track videoTrack(int id, std::int64_t rateNumerator, std::int64_t rateDenominator) {
    Track track;
    track.id = id;
    track.mediaType = MediaType::kVideo;
    track.frameRate = {rateNumerator, rateDenominator};
    track.nominalFrameRate = nominalFrameRate(track.frameRate);
    track.formatDescriptions.push_back({});
    track.formatDescriptions.back().mediaType = fourCC("vide");
    return track;
}

Track timecodeTrack(int id, std::int32_t timescale, std::int32_t frameDuration,
                    std::uint32_t quanta, std::uint32_t flags, FourCC subType) {
    Track track;
    track.id = id;
    track.mediaType = MediaType::kTimecode;
    FormatDescription format;
    format.mediaType = fourCC("tmcd");
    format.mediaSubType = subType;
    format.frameDuration = MediaTime::make(frameDuration, timescale);
    format.frameQuanta = quanta;
    format.timecodeFlags = flags;
    track.formatDescriptions.push_back(format);
    return track;
}

SyntheticSample timecodeSample(std::uint32_t frameNumber, const Track& track) {
    SyntheticSample sample;
    sample.time = MediaTime::zero();
    sample.format = track.formatDescriptions.front();
    for (const int shift : {24, 16, 8, 0}) {
        sample.data.push_back(static_cast<std::byte>(frameNumber >> shift));
    }
    return sample;
}

} // namespace fw::test
