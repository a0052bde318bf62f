#include "platform/libav/PictureDecoder.h"

#include "base/numbers.h"
#include "media/MediaError.h"
#include "platform/libav/Container.h"
#include "platform/libav/LibavError.h"
#include "platform/libav/StreamDecoder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <string>

namespace fw::libav {
namespace {

/// How far apart, in frames, two tries to find the way behind damage can come to lie.
constexpr std::int64_t kMostJumpFrames = std::int64_t{1} << 24;

/// `format` has one place for seconds.
std::string secondsText(const char* format, const MediaTime& time) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), format, time.seconds());
    return text.data();
}

bool isDamaged(const AVFrame& frame) {
    return (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0;
}

} // namespace

Result<std::unique_ptr<PictureDecoder>> PictureDecoder::open(ContainerSource& source,
                                                             int streamIndex, int threads) {
    auto opened = openStream(source, streamIndex, threads);
    if (!opened) {
        return opened.error();
    }
    StreamDecoder input = std::move(opened).value();
    auto damage = std::make_unique<DamageWatch>(*input.codec);
    if (const auto error = startDecoder(*input.codec)) {
        return *error;
    }
    return std::unique_ptr<PictureDecoder>(new PictureDecoder(
        std::move(input.format), std::move(damage), std::move(input.codec), input.stream));
}

PictureDecoder::PictureDecoder(FormatHandle format, std::unique_ptr<DamageWatch> damage,
                               CodecHandle codec, AVStream* stream)
    : format_(std::move(format)), damage_(std::move(damage)), codec_(std::move(codec)),
      stream_(stream), timing_(*format_, *stream), watch_(*stream->codecpar),
      start_(beginningOf(*format_)), lost_(*format_, codec_->codec_id) {}

/// Frames of a program stream may have no time of their own; right after a seek theirs are guessed.
/// A real one comes at least every 0.7 s (ISO/IEC 13818-1, 2.7.4).
std::int64_t PictureDecoder::seekMargin() const {
    return isContainer(*format_, "mpeg") ? 4 : 0;
}

bool PictureDecoder::seekTo(const MediaTime& time) {
    const int result = av_seek_frame(format_.get(), stream_->index, timing_.timestampAt(time),
                                     AVSEEK_FLAG_BACKWARD);
    begin();
    av_packet_unref(packet_.get());
    firstError_.reset();
    start_ = StartWatch(StartWatch::Begins::kAnywhere);
    lost_.clear();
    damage_->takeDamage();
    framesSinceSeek_ = 0;
    lastTimestamp_.reset();
    reached_ = MediaTime::zero();
    jumpFrames_ = 1;
    hasHeldPacket_ = false;
    hasEnded_ = false;
    hasSought_ = true;
    return result >= 0;
}

std::optional<PictureDecoder::Frame> PictureDecoder::next() {
    int errorsInARow = 0;
    while (!hasEnded_) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result == 0 && lost_.isAnyMissingBefore(*frame_)) {
            note(missingPicture());
        }
        if (result == 0 && (isRepeated(*frame_) || isOfBeforeTheStart(*frame_))) {
            continue;
        }
        if (result == 0) {
            return taken();
        }
        if (result == AVERROR_EOF && hasHeldPacket_) {
            resume();
        } else if (result == AVERROR_EOF) {
            if (!jumpOverDamage()) {
                noteEnd();
            }
        } else if (result == AVERROR(EAGAIN)) {
            hasEnded_ = !feed();
        } else {
            noteDamage(result);
            if (++errorsInARow > kMostErrorsInARow) {
                noteEnd();
            }
        }
    }
    return std::nullopt;
}

/// Gives the decoder one more packet, or tells it that there is none; false when neither helps.
bool PictureDecoder::feed() {
    if (isDraining_) {
        return false;
    }
    if (const int read = readPacket(*format_, *stream_, *packet_, firstError_); read < 0) {
        drain(read);
        return true;
    }
    if (watch_.changesAt(*packet_)) {
        hasHeldPacket_ = true;
        letAllOut();
    } else {
        send();
    }
    return true;
}

void PictureDecoder::send() {
    start_.packet(*packet_);
    if (packet_->pts != AV_NOPTS_VALUE && start_.shouldDecode(packet_->pts)) {
        lost_.packet(*packet_);
    }
    damage_->packet(*codec_);
    const int sent = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent < 0 && sent != AVERROR_EOF) {
        noteDamage(sent);
    }
}

/// Goes on with the packet at which the format changes, now that all frames before it are out.
void PictureDecoder::resume() {
    hasHeldPacket_ = false;
    begin();
    send();
}

void PictureDecoder::drain(int readResult) {
    if (const auto error = errorAtEnd(*format_, readResult)) {
        note(*error);
    }
    isDraining_ = true;
    letAllOut();
}

/// Tells the decoder that no packet comes for now. That of H.264 holds pictures back until one has
/// come out on which a reader can rely, but at the end never finds that those behind it can be
/// relied on, too: shortly before the end of a movie the last pictures would be missing.
void PictureDecoder::letAllOut() {
    if (codec_->codec_id == AV_CODEC_ID_H264) {
        codec_->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
    }
    avcodec_send_packet(codec_.get(), nullptr);
}

/// Gives packets again, from a place where the decoder knows nothing of what was before.
void PictureDecoder::begin() {
    avcodec_flush_buffers(codec_.get());
    codec_->flags &= ~AV_CODEC_FLAG_OUTPUT_CORRUPT;
    isDraining_ = false;
}

/// How much of the movie is missing by its own word, in seconds; 0 when it is whole or does not
/// say.
double PictureDecoder::missingSeconds() const {
    constexpr double kTolerance = 0.5; // And never less than two frames.
    const auto stated = statedEnd(*format_, *stream_);
    const double frame =
        timing_.timeAt(saturatingAdd(timing_.firstTimestamp(), timing_.frameTicks())).seconds();
    const double missing = stated ? stated->seconds() - reached_.seconds() : 0;
    return missing > kTolerance && missing > 2 * frame ? missing : 0;
}

/// Where a container's data is damaged a demuxer may lose its way to the end although the index
/// still tells where later frames are. Goes there, in steps that double while nothing comes of it;
/// false when there is no way on.
bool PictureDecoder::jumpOverDamage() {
    if (missingSeconds() == 0 || !lastTimestamp_ || jumpFrames_ > kMostJumpFrames) {
        return false;
    }
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    const std::int64_t target =
        saturatingAdd(*lastTimestamp_, saturatingMultiply(jumpFrames_, timing_.frameTicks()));
    jumpFrames_ *= 2;
    if (avformat_seek_file(format_.get(), stream_->index, target, target, kMost, 0) < 0) {
        return false;
    }
    begin();
    return true;
}

/// Whether a jump has come out before what was already read.
bool PictureDecoder::isRepeated(const AVFrame& frame) const {
    const auto timestamp = timestampOf(frame);
    return jumpFrames_ > 1 && timestamp && lastTimestamp_ && *timestamp <= *lastTimestamp_;
}

/// Pictures that refer to some before the place where reading began are let out only at the end.
bool PictureDecoder::isOfBeforeTheStart(const AVFrame& frame) const {
    const auto timestamp = timestampOf(frame);
    return framesSinceSeek_ == 0 && (codec_->flags & AV_CODEC_FLAG_OUTPUT_CORRUPT) != 0 &&
           timestamp && !start_.shouldDecode(*timestamp);
}

/// Movies that were cut off end like whole ones: only their own word tells them apart.
void PictureDecoder::noteEnd() {
    hasEnded_ = true;
    if (damage_->takeDamage() && start_.isWhole()) { // Of pictures that never came out.
        noteDamage(AVERROR_INVALIDDATA);
    }
    if (framesSinceSeek_ == 0) {
        noteIfAny(start_.damageOfAll(
            mediaError(MediaErrorCode::kDamagedPicture, "No picture can be decoded.")));
    } else if (lost_.isAnyMissing()) {
        note(missingPicture());
    }
    if (missingSeconds() > 0) {
        note(mediaError(
            MediaErrorCode::kEndsEarly,
            secondsText("The movie ends at %.3f s, clearly before its stated end.", reached_)));
    }
}

void PictureDecoder::note(const Error& error) {
    keepFirst(firstError_, error);
}

void PictureDecoder::noteIfAny(const std::optional<Error>& error) {
    if (error) {
        note(*error);
    }
}

Error PictureDecoder::missingPicture() const {
    return mediaError(MediaErrorCode::kDamagedPicture,
                      secondsText("A picture cannot be decoded near %.3f s.", reached_));
}

/// In mid stream data before the first frame that decodes may belong to frames before the place
/// where reading began.
void PictureDecoder::noteDamage(int code) {
    const Error error = mediaError(MediaErrorCode::kDamagedPicture,
                                   secondsText("Picture data is damaged near %.3f s", reached_) +
                                       " (" + libavText(code) + ").");
    if (framesSinceSeek_ > 0 || start_.isWhole()) {
        note(error);
    } else {
        start_.failed(error);
    }
}

/// Whether damage of the frame is not only that of frames before the start, to which it refers.
bool PictureDecoder::ownsItsDamage(const std::optional<std::int64_t>& timestamp) const {
    return framesSinceSeek_ > 0 || (timestamp && start_.shouldDecode(*timestamp));
}

PictureDecoder::Frame PictureDecoder::taken() {
    const auto timestamp = timestampOf(*frame_);
    const bool isShownDamaged = damage_->takeDamageOf(*frame_) || isDamaged(*frame_);
    if (framesSinceSeek_ == 0 && timestamp) {
        noteIfAny(start_.damageBefore(*timestamp, timing_.frameTicks() / 2, missingPicture()));
    }
    const bool isDamage = isShownDamaged && ownsItsDamage(timestamp);
    ++framesSinceSeek_;
    if (isDamage) {
        noteDamage(AVERROR_INVALIDDATA);
    }
    if (!timestamp) {
        return {frame_.get(), MediaTime::invalid()};
    }
    if (jumpFrames_ > 1) {
        note(mediaError(MediaErrorCode::kDamagedContainer,
                        secondsText("The movie's data cannot be read near %.3f s.", reached_)));
        jumpFrames_ = 1;
    }
    lastTimestamp_ = timestamp;
    const std::int64_t length = std::max(frame_->pkt_duration, timing_.frameTicks());
    reached_ = std::max(reached_, timing_.timeAt(saturatingAdd(*timestamp, length)));
    return {frame_.get(), timing_.timeAt(*timestamp)};
}

/// Some frames of program streams and AVI carry no time: they follow the frame before.
std::optional<std::int64_t> PictureDecoder::timestampOf(const AVFrame& frame) const {
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE) {
        return frame.best_effort_timestamp;
    }
    if (lastTimestamp_) {
        return saturatingAdd(*lastTimestamp_, timing_.frameTicks());
    }
    return hasSought_ ? std::nullopt : std::optional(timing_.firstTimestamp());
}

} // namespace fw::libav
