#include "platform/libav/PictureDecoder.h"

#include "media/MediaError.h"
#include "platform/libav/Container.h"
#include "platform/libav/LibavError.h"

#include <cstdio>

namespace fw::libav {
namespace {

/// Damaged data in a row that is passed over before the file is given up as unreadable.
constexpr int kMostErrorsInARow = 4096;

std::string placeText(const std::optional<MediaTime>& time) {
    if (!time || !time->isNumeric()) {
        return "at the start of the movie";
    }
    char text[64];
    std::snprintf(text, sizeof text, "after %.3f s", time->seconds());
    return text;
}

bool isDamaged(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

} // namespace

Result<std::unique_ptr<PictureDecoder>> PictureDecoder::open(const std::string& path,
                                                             int streamIndex, int threads) {
    auto opened = openContainer(path);
    if (!opened) {
        return opened.error();
    }
    FormatHandle format = std::move(opened).value();
    if (streamIndex < 0 || streamIndex >= static_cast<int>(format->nb_streams)) {
        return mediaError(MediaErrorCode::kWrongUse, "The movie has no such track.");
    }
    AVStream* stream = format->streams[streamIndex];
    const AVCodec* decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (decoder == nullptr) {
        return mediaError(MediaErrorCode::kDecoderMissing,
                          std::string("There is no decoder for ") +
                              avcodec_get_name(stream->codecpar->codec_id) + ".");
    }
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        format->streams[i]->discard =
            format->streams[i] == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    CodecHandle codec(avcodec_alloc_context3(decoder));
    int result = codec ? avcodec_parameters_to_context(codec.get(), stream->codecpar)
                       : AVERROR(ENOMEM);
    if (result >= 0) {
        codec->pkt_timebase = stream->time_base;
        codec->thread_count = threads;
        result = avcodec_open2(codec.get(), decoder, nullptr);
    }
    if (result < 0) {
        return mediaError(MediaErrorCode::kDecoderMissing,
                          "The decoder cannot start (" + libavText(result) + ").");
    }
    return std::unique_ptr<PictureDecoder>(
        new PictureDecoder(std::move(format), std::move(codec), stream));
}

PictureDecoder::PictureDecoder(FormatHandle format, CodecHandle codec, AVStream* stream)
    : format_(std::move(format)), codec_(std::move(codec)), stream_(stream),
      timing_(*format_, *stream) {}

bool PictureDecoder::seekTo(const MediaTime& time) {
    const int result = av_seek_frame(format_.get(), stream_->index, timing_.timestampAt(time),
                                     AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(codec_.get());
    firstError_.reset();
    framesSinceSeek_ = 0;
    lastTimestamp_.reset();
    isDraining_ = false;
    hasEnded_ = false;
    hasSought_ = true;
    return result >= 0;
}

std::optional<PictureDecoder::Frame> PictureDecoder::next() {
    int errorsInARow = 0;
    while (!hasEnded_) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result == 0) {
            return taken();
        }
        if (result == AVERROR_EOF) {
            noteEnd();
        } else if (result == AVERROR(EAGAIN)) {
            hasEnded_ = !feed();
        } else {
            noteDamage(result);
            hasEnded_ = ++errorsInARow > kMostErrorsInARow;
        }
    }
    return std::nullopt;
}

/// Gives the decoder one more packet, or tells it that there is none; false when neither helps.
bool PictureDecoder::feed() {
    if (isDraining_) {
        return false;
    }
    for (int errors = 0; errors <= kMostErrorsInARow; ++errors) {
        const int read = av_read_frame(format_.get(), packet_.get());
        if (read < 0) {
            if (read == AVERROR_INVALIDDATA) {
                note(mediaError(MediaErrorCode::kDamagedContainer,
                                "The movie's data is damaged (" + libavText(read) + ")."));
                continue; // Demuxers find their way back behind the damage.
            }
            drain(read);
            return true;
        }
        if (packet_->stream_index != stream_->index) {
            av_packet_unref(packet_.get());
            errors = -1;
            continue;
        }
        if ((packet_->flags & AV_PKT_FLAG_CORRUPT) != 0) {
            note(mediaError(MediaErrorCode::kDamagedContainer,
                            "The container marks its data as corrupt."));
        }
        const int sent = avcodec_send_packet(codec_.get(), packet_.get());
        av_packet_unref(packet_.get());
        if (sent < 0 && sent != AVERROR_EOF) {
            noteDamage(sent);
        }
        return true;
    }
    drain(AVERROR_INVALIDDATA);
    return true;
}

void PictureDecoder::drain(int readResult) {
    const int inputError = format_->pb != nullptr ? format_->pb->error : 0;
    if (readResult != AVERROR_EOF || (inputError < 0 && inputError != AVERROR_EOF)) {
        note(mediaError(MediaErrorCode::kReadFailed,
                        "The file could not be read to its end (" +
                            libavText(inputError < 0 ? inputError : readResult) + ")."));
    }
    isDraining_ = true;
    avcodec_send_packet(codec_.get(), nullptr);
}

/// Movies that were cut off end like whole ones: only their own word tells them apart.
void PictureDecoder::noteEnd() {
    hasEnded_ = true;
    const auto stated = statedEnd(*format_, *stream_);
    if (!stated) {
        return;
    }
    constexpr double kTolerance = 0.5; // Seconds; and never less than two frames.
    double reached = 0;
    double frameLength = 0;
    if (timing_.rate().isKnown()) {
        frameLength = static_cast<double>(timing_.rate().denominator) /
                      static_cast<double>(timing_.rate().numerator);
    }
    if (lastTimestamp_) {
        reached = timing_.timeAt(*lastTimestamp_).seconds() + frameLength;
    }
    const double missing = stated->seconds() - reached;
    if (missing > kTolerance && missing > 2 * frameLength) {
        char text[128];
        std::snprintf(text, sizeof text,
                      "The movie ends at %.3f s, before its stated end at %.3f s.", reached,
                      stated->seconds());
        note(mediaError(MediaErrorCode::kEndsEarly, text));
    }
}

void PictureDecoder::note(const Error& error) {
    if (!firstError_) {
        firstError_ = error;
    }
}

/// Until a first frame has decoded, data that does not decode may belong to frames before the
/// place where reading began.
void PictureDecoder::noteDamage(int code) {
    if (framesSinceSeek_ > 0) {
        const auto place = lastTimestamp_ ? std::optional(timing_.timeAt(*lastTimestamp_))
                                          : std::nullopt;
        note(mediaError(MediaErrorCode::kDamagedPicture, "Picture data is damaged " +
                                                             placeText(place) + " (" +
                                                             libavText(code) + ")."));
    }
}

PictureDecoder::Frame PictureDecoder::taken() {
    if (isDamaged(*frame_)) {
        noteDamage(AVERROR_INVALIDDATA);
    }
    ++framesSinceSeek_;
    if (const auto timestamp = timestampOf(*frame_)) {
        lastTimestamp_ = timestamp;
        return {frame_.get(), timing_.timeAt(*timestamp)};
    }
    return {frame_.get(), MediaTime::invalid()};
}

/// Some frames of program streams and AVI carry no time: they follow the frame before.
std::optional<std::int64_t> PictureDecoder::timestampOf(const AVFrame& frame) const {
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE) {
        return frame.best_effort_timestamp;
    }
    if (lastTimestamp_) {
        return *lastTimestamp_ + timing_.frameTicks();
    }
    return hasSought_ ? std::nullopt : std::optional(timing_.firstTimestamp());
}

} // namespace fw::libav
