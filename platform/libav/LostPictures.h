#pragma once

#include "platform/libav/Handles.h"

#include <cstdint>
#include <set>

namespace fw::libav {

/// Misses pictures that a decoder leaves out without a word. Those of MPEG-1, MPEG-2 and Dirac do
/// so with a packet that they find no picture in. In QuickTime, Matroska and MXF files each packet
/// holds one picture and has its time, and pictures come out in the order of their times.
class LostPictures {
public:
    LostPictures(const AVFormatContext& format, AVCodecID codec);

    /// A packet that the decoder is given; only one that should decode counts.
    void packet(const AVPacket& packet);
    /// A picture came out; whether any before it is missing.
    bool isAnyMissingBefore(const AVFrame& picture);
    /// Whether any is missing now that all have come out.
    bool isAnyMissing() const { return !awaited_.empty(); }
    void clear() { awaited_.clear(); }

private:
    bool isWatching_;
    std::set<std::int64_t> awaited_; ///< The times of packets whose pictures are not out.
};

} // namespace fw::libav
