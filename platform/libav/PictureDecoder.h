#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "media/MediaTime.h"
#include "platform/libav/ContainerSource.h"
#include "platform/libav/DamageWatch.h"
#include "platform/libav/FormatWatch.h"
#include "platform/libav/Handles.h"
#include "platform/libav/LostPictures.h"
#include "platform/libav/StartWatch.h"
#include "platform/libav/StreamTiming.h"

#include <memory>
#include <optional>

namespace fw::libav {

/// Decodes one video stream of one file, every frame once, in presentation order. It never stops
/// at damage: it notes the first error and goes on with what still decodes.
class PictureDecoder {
public:
    static Result<std::unique_ptr<PictureDecoder>> open(ContainerSource& source, int streamIndex,
                                                        int threads);

    struct Frame {
        const AVFrame* picture = nullptr; ///< Valid until the next call.
        MediaTime time; ///< Invalid for a frame right after a seek whose time is not known.
    };

    /// How much earlier than wanted to seek, in seconds, so that times are right where it matters.
    std::int64_t seekMargin() const;
    /// Moves to a key frame before or at a time; what was noted is forgotten. False when the
    /// container cannot do it.
    bool seekTo(const MediaTime& time);
    /// The next frame, or nothing at the end of the stream.
    std::optional<Frame> next();

    /// The first damage since opening or seeking: data that does not decode after the first frame
    /// that did or the first key frame, data marked as corrupt, a failed read, an end clearly
    /// before the stated one.
    const std::optional<Error>& firstError() const { return firstError_; }
    const StreamTiming& timing() const { return timing_; }
    AVCodecID codec() const { return codec_->codec_id; }

private:
    PictureDecoder(FormatHandle format, std::unique_ptr<DamageWatch> damage, CodecHandle codec,
                   AVStream* stream);

    bool feed();
    void send();
    void resume();
    void drain(int readResult);
    void letAllOut();
    void begin();
    double missingSeconds() const;
    bool jumpOverDamage();
    bool isRepeated(const AVFrame& frame) const;
    bool isOfBeforeTheStart(const AVFrame& frame) const;
    void noteEnd();
    void note(const Error& error);
    void noteIfAny(const std::optional<Error>& error);
    Error missingPicture() const;
    void noteDamage(int code);
    bool ownsItsDamage(const std::optional<std::int64_t>& timestamp) const;
    Frame taken();
    std::optional<std::int64_t> timestampOf(const AVFrame& frame) const;

    FormatHandle format_;
    std::unique_ptr<DamageWatch> damage_; ///< Outlives the decoder that it listens to.
    CodecHandle codec_;
    AVStream* stream_;
    StreamTiming timing_;
    FormatWatch watch_;
    FrameHandle frame_ = makeFrame();
    PacketHandle packet_ = makePacket();
    std::optional<Error> firstError_;
    StartWatch start_;
    LostPictures lost_;
    std::int64_t framesSinceSeek_ = 0;
    std::optional<std::int64_t> lastTimestamp_;
    MediaTime reached_ = MediaTime::zero(); ///< The latest end of a frame.
    std::int64_t jumpFrames_ = 1;           ///< How far the next try over damage goes.
    bool isDraining_ = false;
    bool hasHeldPacket_ = false; ///< packet_ waits until the decoder is empty.
    bool hasEnded_ = false;
    bool hasSought_ = false;
};

} // namespace fw::libav
