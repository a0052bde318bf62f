#include "platform/libav/LibavReader.h"

#include "base/PlatformException.h"
#include "media/MediaError.h"

#include <algorithm>
#include <string>
#include <utility>

namespace fw::libav {

LibavReader::LibavReader(std::shared_ptr<ContainerSource> source, int decodeThreads,
                         const MediaTime& movieEnd,
                         std::shared_ptr<const std::vector<TimecodeTrack>> timecodeTracks)
    : source_(std::move(source)), decodeThreads_(decodeThreads), movieEnd_(movieEnd),
      timecodeTracks_(std::move(timecodeTracks)) {}

void LibavReader::setTimeRange(const MediaTimeRange& range) {
    start_ = std::max(range.start, MediaTime::zero());
    end_ = range.end();
}

void LibavReader::addOutput(const Track& track, const OutputSettings& settings) {
    track_ = track;
    settings_ = settings;
}

bool LibavReader::startReading() {
    if (status_ != Status::kUnknown || !track_) {
        return fail(mediaError(MediaErrorCode::kWrongUse,
                               "A reader is started once, after its output is set."));
    }
    if (!track_->formatDescriptions.empty()) {
        formatDescription_ =
            std::make_shared<FormatDescription>(track_->formatDescriptions.front());
    }
    const auto* frames = std::get_if<VideoFrames>(&settings_);
    if (frames != nullptr && track_->mediaType == MediaType::kVideo) {
        return startVideo(*frames);
    }
    if (std::holds_alternative<AudioSamples>(settings_) && track_->mediaType == MediaType::kAudio) {
        return startAudio();
    }
    if (std::holds_alternative<NativeSamples>(settings_) &&
        track_->mediaType == MediaType::kTimecode) {
        return startTimecode();
    }
    return fail(mediaError(MediaErrorCode::kWrongUse,
                           "This kind of track is not read with these settings."));
}

bool LibavReader::startTimecode() {
    for (const TimecodeTrack& candidate : *timecodeTracks_) {
        if (candidate.track.id == track_->id) {
            timecodeSamples_ = candidate.samples;
        }
    }
    status_ = Status::kReading;
    return true;
}

bool LibavReader::startAudio() {
    auto opened = AudioReader::open(*source_, track_->id, decodeThreads_, start_, end_);
    if (!opened) {
        return fail(opened.error());
    }
    audio_ = std::move(opened).value();
    status_ = Status::kReading;
    return true;
}

bool LibavReader::startVideo(const VideoFrames& settings) {
    if (!openDecoder()) {
        return false;
    }
    converter_ = std::make_unique<FrameConverter>(settings.layout, decoder_->codec());
    if (!moveToStart()) {
        return false;
    }
    status_ = Status::kReading;
    return true;
}

bool LibavReader::openDecoder() {
    met_.reset();
    auto opened = PictureDecoder::open(*source_, track_->id, decodeThreads_);
    if (!opened) {
        return fail(opened.error());
    }
    decoder_ = std::move(opened).value();
    return true;
}

/// Goes to a key frame from which decoding forward reaches the start. The key frame before the
/// start may not do: frames between it and the start can depend on still earlier ones (open
/// GOPs), and a transport stream lands after the target. Then further back, at last the start.
bool LibavReader::moveToStart() {
    if (!(start_ > MediaTime::zero()) || !start_.isNumeric()) {
        return true;
    }
    for (std::int64_t back = 0; back <= 1 << 20; back = back == 0 ? 1 : back * 2) {
        const MediaTime target = start_ - MediaTime::make(back + decoder_->seekMargin(), 1);
        if (!(target > MediaTime::zero()) || !decoder_->seekTo(target)) {
            break;
        }
        met_ = decoder_->next();
        if (met_ && met_->time.isNumeric() && met_->time <= start_) {
            return true;
        }
    }
    return openDecoder();
}

std::optional<SampleBuffer> LibavReader::copyNextSampleBuffer() {
    if (status_ != Status::kReading) {
        return std::nullopt;
    }
    if (decoder_) {
        return nextFrame();
    }
    return audio_ ? nextAudio() : nextTimecodeSample();
}

std::optional<PictureDecoder::Frame> LibavReader::nextInRange() {
    for (;;) {
        auto frame = met_ ? std::exchange(met_, std::nullopt) : decoder_->next();
        if (!frame) {
            return std::nullopt;
        }
        if (frame->time < start_) {
            continue;
        }
        if (frame->time < end_) {
            return frame;
        }
        if (end_ < movieEnd_) {
            return std::nullopt;
        }
        ++framesBeyondEnd_;
    }
}

std::optional<SampleBuffer> LibavReader::nextFrame() {
    const auto frame = nextInRange();
    if (!frame) {
        end();
        return std::nullopt;
    }
    SampleBuffer sample;
    sample.presentationTime = frame->time;
    sample.formatDescription = formatDescription_;
    try {
        sample.imageBuffer = converter_->convert(*frame->picture);
    } catch (const PlatformException& exception) {
        fail(mediaError(MediaErrorCode::kPixelFormat, exception.what()));
        return std::nullopt;
    }
    return sample;
}

std::optional<SampleBuffer> LibavReader::nextAudio() {
    try {
        if (auto sample = audio_->next()) {
            sample->formatDescription = formatDescription_;
            return sample;
        }
    } catch (const PlatformException& exception) {
        fail(mediaError(MediaErrorCode::kSampleFormat, exception.what()));
        return std::nullopt;
    }
    if (audio_->firstError()) {
        fail(*audio_->firstError());
    } else {
        status_ = Status::kCompleted;
    }
    audio_.reset();
    return std::nullopt;
}

std::optional<SampleBuffer> LibavReader::nextTimecodeSample() {
    if (nextTimecodeSample_ == timecodeSamples_.size()) {
        status_ = Status::kCompleted;
        return std::nullopt;
    }
    return timecodeSamples_[nextTimecodeSample_++];
}

void LibavReader::cancelReading() {
    if (status_ == Status::kUnknown || status_ == Status::kReading) {
        status_ = Status::kCancelled;
        decoder_.reset();
        audio_.reset();
    }
}

bool LibavReader::fail(const Error& error) {
    status_ = Status::kFailed;
    error_ = error;
    return false;
}

void LibavReader::end() {
    if (decoder_->firstError()) {
        fail(*decoder_->firstError());
    } else if (framesBeyondEnd_ > 0) {
        // The movie's clock jumps: these frames cannot be placed.
        fail(mediaError(MediaErrorCode::kDamagedContainer,
                        framesBeyondEnd_ == 1
                            ? "1 frame has a time beyond the end of the movie."
                            : std::to_string(framesBeyondEnd_) +
                                  " frames have times beyond the end of the movie."));
    } else {
        status_ = Status::kCompleted;
    }
    decoder_.reset();
}

} // namespace fw::libav
