#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "media/MediaTime.h"
#include "platform/libav/ContainerSource.h"
#include "platform/libav/DamageWatch.h"
#include "platform/libav/Handles.h"
#include "platform/libav/StartWatch.h"
#include "platform/libav/StreamDecoder.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace fw::libav {

/// Decodes one sound stream of one file from its start, in order. It never stops at damage: it
/// notes the first error and goes on with what still decodes.
class AudioDecoder {
public:
    static Result<std::unique_ptr<AudioDecoder>> open(ContainerSource& source, int streamIndex,
                                                      int threads);

    /// The next piece of sound, valid until the next call; null at the end of the stream.
    const AVFrame* next();

    /// The first damage: data that does not decode after the first piece that did, a start or a
    /// whole of which nothing decodes, data marked as corrupt, a failed read.
    const std::optional<Error>& firstError() const { return firstError_; }
    const AVFormatContext& format() const { return *input_.format; }
    const AVStream& stream() const { return *input_.stream; }

private:
    AudioDecoder(std::unique_ptr<DamageWatch> damage, StreamDecoder input);

    void feed();
    void noteDamageIn(const AVFrame& frame);
    std::int64_t toleranceTicks() const;
    void noteEnd();
    void noteIfAny(const std::optional<Error>& error);
    void noteDamage(int code);

    std::unique_ptr<DamageWatch> damage_; ///< Outlives the decoder that it listens to.
    StreamDecoder input_;
    FrameHandle frame_ = makeFrame();
    PacketHandle packet_ = makePacket();
    std::optional<Error> firstError_;
    StartWatch start_;
    bool hasDecoded_ = false;
};

} // namespace fw::libav
