#pragma once

#include "base/Error.h"
#include "platform/libav/Handles.h"

#include <cstdint>
#include <optional>

namespace fw::libav {

/// Tells damage at the start of what is read from data that nobody can decode there, because what
/// it refers to lies before the place where the recording began. Only transport and program streams
/// begin anywhere; everything should decode from their first key packet on, and from the first
/// packet on elsewhere. What does not is damage when nothing decodes at all, or when what does
/// begins later than that packet. One object for each run of a decoder.
class StartWatch {
public:
    explicit StartWatch(const AVFormatContext& format);

    /// A packet that the decoder is given.
    void packet(const AVPacket& packet);
    /// The decoder failed before anything came out of it.
    void failed(const Error& error);

    /// What was damaged before the first thing that decoded; `tolerance` is how much later than the
    /// first packet that should decode it may begin. All in ticks of the stream.
    std::optional<Error> damageBefore(std::int64_t first, std::int64_t tolerance) const;
    /// What was damaged when nothing has decoded; `untold` where the decoder told of no failure.
    std::optional<Error> damageOfAll(const Error& untold) const;

private:
    bool mayBeginAnywhere_;
    bool hasPacket_ = false; ///< Of what is presented.
    bool shouldDecode_ = false;
    std::optional<std::int64_t> start_; ///< The timestamp of the first packet that should decode.
    std::optional<Error> failure_;
};

} // namespace fw::libav
