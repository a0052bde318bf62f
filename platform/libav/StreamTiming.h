#pragma once

#include "base/numbers.h"
#include "media/MediaTime.h"
#include "media/Track.h"
#include "platform/libav/FrameGrid.h"
#include "platform/libav/Handles.h"

#include <optional>

namespace fw::libav {

/// The rate and the clock of one stream.
class StreamTiming {
public:
    StreamTiming(const AVFormatContext& format, const AVStream& stream);

    /// Unknown for a stream without pictures.
    const FrameRate& rate() const { return rate_; }
    /// A timestamp of the stream as time since the start of the presentation.
    MediaTime timeAt(std::int64_t timestamp) const {
        return grid_.timeAt(saturatingSubtract(timestamp, offset_));
    }
    /// The timestamp at which the presentation starts.
    std::int64_t firstTimestamp() const { return offset_; }
    /// The timestamp of a time, rounded down; held at the ends of the range.
    std::int64_t timestampAt(const MediaTime& time) const;
    /// One frame's length in ticks of the stream, at least 1.
    std::int64_t frameTicks() const;

private:
    AVRational timeBase_;
    std::int64_t offset_;
    FrameRate rate_;
    FrameGrid grid_;
};

/// Where the stream ends by the container's own word, as time since the start of the
/// presentation; nothing when the container does not say.
std::optional<MediaTime> statedEnd(const AVFormatContext& format, const AVStream& stream);

/// How many frames the container says that it presents; nothing when it keeps no count.
std::optional<std::int64_t> statedFrameCount(const AVFormatContext& format, const AVStream& stream);

} // namespace fw::libav
