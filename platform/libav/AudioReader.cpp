#include "platform/libav/AudioReader.h"

#include "base/numbers.h"
#include "media/MediaError.h"
#include "platform/libav/Container.h"
#include "platform/libav/MovieEnd.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace fw::libav {
namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

/// The first sample that is not before a time.
std::int64_t sampleFrom(const MediaTime& time, int sampleRate) {
    if (time.isNegativeInfinity()) {
        return std::numeric_limits<std::int64_t>::min();
    }
    const MediaTime nearest = time.convertedTo(sampleRate);
    if (!nearest.isNumeric()) {
        return kMost;
    }
    return nearest < time ? nearest.value + 1 : nearest.value;
}

/// Where sound ends whose last packet holds more than the movie shows: coders fill their last
/// block with silence. Only the QuickTime family tells to the sample. An edit list that shows
/// parts again, and fragments, make the statement too short.
MediaTime shownEnd(const AVFormatContext& format, const AVStream& stream) {
    const auto stated = statedEnd(format, stream);
    const bool isExact = stated && isContainer(format, "mov") && stream.nb_frames > 0 &&
                         !(*stated < endOfIndex(format, stream));
    return isExact ? *stated : MediaTime::positiveInfinity();
}

} // namespace

Result<std::unique_ptr<AudioReader>> AudioReader::open(ContainerSource& source, int streamIndex,
                                                       int threads, const MediaTime& start,
                                                       const MediaTime& end) {
    auto decoder = AudioDecoder::open(source, streamIndex, threads);
    if (!decoder) {
        return decoder.error();
    }
    const AVCodecParameters& sound = *decoder.value()->stream().codecpar;
    if (sound.sample_rate <= 0 || sound.ch_layout.nb_channels <= 0) {
        return mediaError(MediaErrorCode::kSampleFormat,
                          "The movie does not say how its sound is sampled.");
    }
    return std::unique_ptr<AudioReader>(new AudioReader(std::move(decoder).value(), start, end));
}

AudioReader::AudioReader(std::unique_ptr<AudioDecoder> decoder, const MediaTime& start,
                         const MediaTime& end)
    : decoder_(std::move(decoder)), timing_(decoder_->format(), decoder_->stream()),
      sampleRate_(decoder_->stream().codecpar->sample_rate),
      converter_(sampleRate_, decoder_->stream().codecpar->ch_layout.nb_channels),
      first_(sampleFrom(start, sampleRate_)), end_(sampleFrom(end, sampleRate_)),
      shownEnd_(sampleFrom(shownEnd(decoder_->format(), decoder_->stream()), sampleRate_)) {}

std::optional<SampleBuffer> AudioReader::next() {
    while (!hasEnded_) {
        SampleBuffer buffer = decodedNext();
        if (!buffer.data.empty()) {
            return buffer;
        }
    }
    return std::nullopt;
}

/// What is wanted of the next piece, which may be nothing.
SampleBuffer AudioReader::decodedNext() {
    SampleBuffer buffer;
    const AVFrame* const frame = decoder_->next();
    const std::int64_t position = frame != nullptr ? positionOf(*frame) : reached_.value_or(0);
    if (frame != nullptr) {
        converter_.append(*frame, buffer.data);
    } else {
        converter_.finish(buffer.data);
    }
    reached_ = saturatingAdd(position, framesIn(buffer.data.size()));
    keepWanted(buffer, position);
    hasEnded_ = frame == nullptr || *reached_ >= end_;
    firstError_ = decoder_->firstError();
    if (frame == nullptr) {
        noteEnd();
    }
    return buffer;
}

std::int64_t AudioReader::framesIn(std::size_t bytes) const {
    return static_cast<std::int64_t>(bytes / converter_.bytesPerFrame());
}

/// Cuts off what lies outside of the range or of the movie.
void AudioReader::keepWanted(SampleBuffer& buffer, std::int64_t position) const {
    const std::int64_t count = framesIn(buffer.data.size());
    const std::int64_t from =
        std::clamp<std::int64_t>(saturatingSubtract(first_, position), 0, count);
    const std::int64_t to = std::clamp<std::int64_t>(
        saturatingSubtract(std::min(end_, shownEnd_), position), from, count);
    const auto offset = [this](std::int64_t frames) {
        return frames * static_cast<std::int64_t>(converter_.bytesPerFrame());
    };
    buffer.data.resize(static_cast<std::size_t>(offset(to)));
    buffer.data.erase(buffer.data.begin(), buffer.data.begin() + offset(from));
    buffer.presentationTime = MediaTime::make(position + from, sampleRate_);
}

/// Where a piece begins. Coarse clocks (Matroska's milliseconds, say) cannot tell each sample.
std::int64_t AudioReader::positionOf(const AVFrame& frame) const {
    if (frame.best_effort_timestamp == AV_NOPTS_VALUE) {
        return reached_.value_or(0);
    }
    const MediaTime time = timing_.timeAt(frame.best_effort_timestamp);
    if (reached_) {
        const AVRational& tick = decoder_->stream().time_base;
        const MediaTime expected = MediaTime::make(*reached_, sampleRate_);
        const MediaTime apart = time < expected ? expected - time : time - expected;
        if (apart <= MediaTime::make(tick.num, tick.den)) {
            return *reached_;
        }
    }
    return time.convertedTo(sampleRate_).value;
}

/// Movies that were cut off end like whole ones: only their own word tells them apart. A length
/// guessed from the bit rate is not their word.
void AudioReader::noteEnd() {
    constexpr double kTolerance = 0.5; // Seconds.
    const auto stated = statedEnd(decoder_->format(), decoder_->stream());
    if (!stated || decoder_->format().duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return;
    }
    const double end = MediaTime::make(reached_.value_or(0), sampleRate_).seconds();
    if (stated->seconds() - end > kTolerance) {
        keepFirst(firstError_, mediaError(MediaErrorCode::kEndsEarly,
                                          "The sound ends clearly before its stated end."));
    }
}

} // namespace fw::libav
