#include "platform/libav/AudioDecoder.h"

#include "media/MediaError.h"
#include "platform/libav/LibavError.h"

#include <utility>

namespace fw::libav {

Result<std::unique_ptr<AudioDecoder>> AudioDecoder::open(ContainerSource& source, int streamIndex,
                                                         int threads) {
    auto opened = openStream(source, streamIndex, threads);
    if (!opened) {
        return opened.error();
    }
    StreamDecoder input = std::move(opened).value();
    input.codec->err_recognition |= AV_EF_CRCCHECK; // FLAC looks at no checksum otherwise.
    auto damage = std::make_unique<DamageWatch>(*input.codec);
    if (const auto error = startDecoder(*input.codec)) {
        return *error;
    }
    return std::unique_ptr<AudioDecoder>(new AudioDecoder(std::move(damage), std::move(input)));
}

AudioDecoder::AudioDecoder(std::unique_ptr<DamageWatch> damage, StreamDecoder input)
    : damage_(std::move(damage)), input_(std::move(input)), start_(beginningOf(*input_.format)) {}

const AVFrame* AudioDecoder::next() {
    for (int errorsInARow = 0; errorsInARow <= kMostErrorsInARow;) {
        const int result = avcodec_receive_frame(input_.codec.get(), frame_.get());
        if (result == 0) {
            noteDamageIn(*frame_);
            return frame_.get();
        }
        if (result == AVERROR_EOF) {
            break;
        }
        if (result == AVERROR(EAGAIN)) {
            feed();
        } else {
            noteDamage(result);
            ++errorsInARow;
        }
    }
    noteEnd();
    return nullptr;
}

/// Gives the decoder one more packet, or tells it that there is none.
void AudioDecoder::feed() {
    const int read = readPacket(*input_.format, *input_.stream, *packet_, firstError_);
    if (read < 0) {
        if (const auto error = errorAtEnd(*input_.format, read)) {
            keepFirst(firstError_, *error);
        }
        avcodec_send_packet(input_.codec.get(), nullptr);
        return;
    }
    start_.packet(*packet_);
    const int sent = avcodec_send_packet(input_.codec.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent < 0) {
        noteDamage(sent);
    }
}

void AudioDecoder::noteDamageIn(const AVFrame& frame) {
    if (!hasDecoded_ && frame.best_effort_timestamp != AV_NOPTS_VALUE) {
        noteIfAny(start_.damageBefore(frame.best_effort_timestamp, toleranceTicks(),
                                      mediaError(MediaErrorCode::kDamagedSound,
                                                 "The start of the sound cannot be decoded.")));
    }
    hasDecoded_ = true;
    if (damage_->takeDamage() || (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 ||
        frame.decode_error_flags != 0) {
        noteDamage(AVERROR_INVALIDDATA);
    }
}

/// The first pieces of coders that borrow from the piece before are lost where sound was cut out.
std::int64_t AudioDecoder::toleranceTicks() const {
    constexpr AVRational kTolerance{1, 2}; // Seconds.
    return av_rescale_q(1, kTolerance, input_.stream->time_base);
}

void AudioDecoder::noteEnd() {
    if (!hasDecoded_) {
        noteIfAny(start_.damageOfAll(
            mediaError(MediaErrorCode::kDamagedSound, "No sound can be decoded.")));
    }
}

void AudioDecoder::noteIfAny(const std::optional<Error>& error) {
    if (error) {
        keepFirst(firstError_, *error);
    }
}

/// Until a first piece has decoded, data that does not decode may belong to sound before it.
void AudioDecoder::noteDamage(int code) {
    const Error error = mediaError(MediaErrorCode::kDamagedSound,
                                   "Sound data is damaged (" + libavText(code) + ").");
    if (hasDecoded_) {
        keepFirst(firstError_, error);
    } else {
        start_.failed(error);
    }
}

} // namespace fw::libav
