#include "platform/libav/LibavAsset.h"

#include "media/FWAVFoundation.h"
#include "media/MediaError.h"
#include "platform/libav/Container.h"
#include "platform/libav/ContainerSource.h"
#include "platform/libav/LibavReader.h"
#include "platform/libav/MovieEnd.h"
#include "platform/libav/TrackDescription.h"

#include <algorithm>
#include <utility>

namespace fw {
namespace libav {
namespace {

/// An asset's answers, all found when it is opened.
struct Description {
    bool isPlayable = false;
    bool isReadable = false;
    std::optional<Error> error;
    MediaTime duration = MediaTime::zero();
    std::vector<Track> tracks;
    std::shared_ptr<const std::vector<TimecodeTrack>> timecodeTracks =
        std::make_shared<std::vector<TimecodeTrack>>();
};

class LibavAsset final : public Asset {
public:
    /// `source` may be null when the description says that the movie is not readable.
    LibavAsset(std::string path, LibavOptions options, Description description,
               std::shared_ptr<ContainerSource> source)
        : path_(std::move(path)), options_(options), description_(std::move(description)),
          source_(std::move(source)) {}

    std::optional<AssetUrl> url() const override { return AssetUrl{"file", path_}; }
    bool isPlayable() const override { return description_.isPlayable; }
    bool isReadable() const override { return description_.isReadable; }
    std::optional<Error> error() const override { return description_.error; }
    MediaTime duration() const override { return description_.duration; }
    const std::vector<Track>& tracks() const override { return description_.tracks; }
    Result<std::unique_ptr<AssetReader>> makeReader() const override {
        if (!description_.isReadable) {
            return *description_.error;
        }
        return std::unique_ptr<AssetReader>(std::make_unique<LibavReader>(
            source_, options_.decodeThreads, description_.duration, description_.timecodeTracks));
    }

    void setDuration(const MediaTime& duration) { description_.duration = duration; }

private:
    std::string path_;
    LibavOptions options_;
    Description description_;
    std::shared_ptr<ContainerSource> source_;
};

bool hasDecoder(const AVStream& stream) {
    const bool isSound = stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    return (isSound || isMovingPicture(stream)) &&
           avcodec_find_decoder(stream.codecpar->codec_id) != nullptr;
}

FrameRate rateOfFirstVideo(const std::vector<Track>& tracks) {
    const auto video = std::find_if(tracks.begin(), tracks.end(), [](const Track& track) {
        return track.mediaType == MediaType::kVideo;
    });
    return video == tracks.end() ? FrameRate{} : video->frameRate;
}

void describeTracks(Description& description, const std::string& path,
                    const AVFormatContext& format, const std::vector<MovSampleEntry>& entries) {
    std::vector<TimecodeTrack> timecodeTracks;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        if (auto timecode = timecodeTrackOfStream(path, stream, entries)) {
            description.tracks.push_back(timecode->track);
            timecodeTracks.push_back(std::move(*timecode));
        } else {
            description.tracks.push_back(trackOfStream(format, stream));
        }
    }
    if (auto timecode = timecodeTrackOfTag(format, static_cast<int>(format.nb_streams),
                                           rateOfFirstVideo(description.tracks))) {
        description.tracks.push_back(timecode->track);
        timecodeTracks.push_back(std::move(*timecode));
    }
    description.timecodeTracks =
        std::make_shared<std::vector<TimecodeTrack>>(std::move(timecodeTracks));
}

Description describe(const std::string& path, const AVFormatContext& format) {
    Description description;
    const auto entries =
        isContainer(format, "mov") ? readMovSampleEntries(path) : std::vector<MovSampleEntry>{};
    describeTracks(description, path, format, entries);
    const auto streams = std::span(format.streams, format.nb_streams);
    description.isPlayable = std::any_of(
        streams.begin(), streams.end(), [](const AVStream* stream) { return hasDecoder(*stream); });
    description.isReadable =
        std::none_of(streams.begin(), streams.end(),
                     [&](const AVStream* stream) { return isEncrypted(*stream, entries); });
    if (!description.isPlayable) {
        description.error = mediaError(MediaErrorCode::kNoPlayableTrack,
                                       "No video or sound track of the movie can be decoded.");
    } else if (!description.isReadable) {
        description.error = mediaError(MediaErrorCode::kEncrypted, "The movie is encrypted.");
    }
    return description;
}

/// Up to a whole tick of one frame's timescale, so that the end of the movie and the ends that
/// frame numbers give lie on one timescale.
MediaTime roundedUp(const MediaTime& end, std::int32_t timescale) {
    if (timescale <= 0) {
        return end; // The rate is not known.
    }
    const MediaTime nearest = end.convertedTo(timescale);
    const MediaTime ticks = MediaTime::make(nearest.value, nearest.timescale);
    return ticks < end ? ticks + MediaTime::make(1, timescale) : ticks;
}

} // namespace
} // namespace libav

std::shared_ptr<const Asset> openLibavAsset(const std::string& path, const LibavOptions& options) {
    auto format = libav::openContainer(path);
    libav::Description description;
    if (!format) {
        description.error = format.error();
        return std::make_shared<libav::LibavAsset>(path, options, std::move(description), nullptr);
    }
    description = libav::describe(path, *format.value());
    const MediaTime end = libav::movieEnd(path, *format.value());
    auto source = std::make_shared<libav::ContainerSource>(path, std::move(format).value());
    const auto asset = std::make_shared<libav::LibavAsset>(path, options, std::move(description),
                                                           std::move(source));
    asset->setDuration(
        libav::roundedUp(end, FWAVFoundation::frameLengthForAsset(*asset).timescale));
    return asset;
}

} // namespace fw
