#include "platform/libav/MovieEnd.h"

#include "base/numbers.h"
#include "platform/libav/Container.h"
#include "platform/libav/StreamTiming.h"

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

namespace fw::libav {
namespace {

std::span<AVStream* const> streamsOf(const AVFormatContext& format) {
    return {format.streams, format.nb_streams};
}

bool counts(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO || isMovingPicture(stream);
}

/// A guess from the size and the bit rate is not a statement.
bool isGuess(const AVFormatContext& format) {
    return format.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
}

/// What the packets of one stream say about its end.
class StreamEnd {
public:
    StreamEnd(const AVFormatContext& format, const AVStream& stream)
        : timing_(format, stream),
          reorderedTicks_(saturatingMultiply(std::max(stream.codecpar->video_delay, 0),
                                             timing_.frameTicks())) {}

    void take(const AVPacket& packet) {
        const std::int64_t length = std::max(packet.duration, timing_.frameTicks());
        bound_ = saturatingAdd(bound_, length);
        if (packet.pts == AV_NOPTS_VALUE) {
            areAllTimed_ = false;
            return;
        }
        const std::int64_t end = saturatingAdd(packet.pts, length);
        latest_ = std::max(latest_.value_or(packet.pts), end);
        // Every packet from here on lies at most its own length further on; and a frame that was
        // coded earlier may be shown later.
        const std::int64_t bound = saturatingAdd(end, reorderedTicks_);
        bound_ = hasBound_ ? std::min(bound_, bound) : bound;
        hasBound_ = true;
    }

    /// Exact when every packet has a time; else not before the end of the last frame, and at most
    /// the decoder's delay after it. Program streams stamp only the first frame that begins in a
    /// packet of theirs, however many follow in it.
    std::optional<MediaTime> end() const {
        if (!latest_) {
            return std::nullopt;
        }
        return timing_.timeAt(areAllTimed_ ? *latest_ : std::max(*latest_, bound_));
    }

private:
    StreamTiming timing_;
    std::int64_t reorderedTicks_;
    std::optional<std::int64_t> latest_;
    std::int64_t bound_ = 0;
    bool hasBound_ = false;
    bool areAllTimed_ = true;
};

/// The end of the last frame from here to the end of the file.
MediaTime packetsEnd(AVFormatContext& format) {
    std::vector<StreamEnd> ends;
    for (const AVStream* stream : streamsOf(format)) {
        ends.emplace_back(format, *stream);
    }
    const PacketHandle packet = makePacket();
    while (av_read_frame(&format, packet.get()) >= 0) {
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (index < ends.size() && counts(*format.streams[index])) {
            ends[index].take(*packet);
        }
        av_packet_unref(packet.get());
    }
    MediaTime end = MediaTime::zero();
    for (const StreamEnd& stream : ends) {
        end = std::max(end, stream.end().value_or(end));
    }
    return end;
}

/// Reads the file through, which is exact and takes as long as reading it takes.
MediaTime measuredEnd(const std::string& path) {
    const auto opened = openContainer(path);
    return opened ? packetsEnd(*opened.value()) : MediaTime::zero();
}

/// Reads the last megabytes only.
MediaTime measuredEndOfTail(const std::string& path) {
    constexpr std::int64_t kTailBytes = 4 << 20;
    const auto opened = openContainer(path);
    if (!opened) {
        return MediaTime::zero();
    }
    AVFormatContext& format = *opened.value();
    const std::int64_t size = avio_size(format.pb);
    if (size > kTailBytes && av_seek_frame(&format, -1, size - kTailBytes, AVSEEK_FLAG_BYTE) < 0) {
        return MediaTime::zero();
    }
    return packetsEnd(format);
}

/// Where the last tags of an FLV begin; nothing when their sizes, one after each tag, do not lead
/// there.
std::optional<std::int64_t> lastFlvTags(AVIOContext& io) {
    constexpr int kTags = 256; // Far more than a decoder reorders, with sound in between.
    constexpr std::int64_t kHeader = 13;
    std::int64_t position = avio_size(&io);
    for (int i = 0; i < kTags && position > kHeader; ++i) {
        const std::int64_t size = avio_seek(&io, position - 4, SEEK_SET) < 0 ? 0 : avio_rb32(&io);
        position -= size + 4;
        if (size == 0 || position < kHeader) {
            return std::nullopt;
        }
    }
    return position;
}

MediaTime measuredEndOfFlv(const std::string& path) {
    const auto opened = openContainer(path);
    if (!opened) {
        return MediaTime::zero();
    }
    AVFormatContext& format = *opened.value();
    const auto tags = lastFlvTags(*format.pb);
    if (!tags || av_seek_frame(&format, -1, *tags, AVSEEK_FLAG_BYTE) < 0) {
        return measuredEnd(path);
    }
    return packetsEnd(format);
}

} // namespace

MediaTime endOfIndex(const AVFormatContext& format, const AVStream& stream) {
    if (!isContainer(format, "mov")) {
        return MediaTime::zero();
    }
    const StreamTiming timing(format, stream);
    for (int i = avformat_index_get_entries_count(&stream) - 1; i >= 0; --i) {
        const auto* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), i);
        if ((entry->flags & AVINDEX_DISCARD_FRAME) == 0) {
            return timing.timeAt(saturatingAdd(entry->timestamp, timing.frameTicks()));
        }
    }
    return MediaTime::zero();
}

MediaTime movieEnd(const std::string& path, const AVFormatContext& format) {
    MediaTime end = MediaTime::zero();
    bool isComplete = !isGuess(format);
    for (const AVStream* stream : streamsOf(format)) {
        if (counts(*stream)) {
            const auto stated = statedEnd(format, *stream);
            isComplete = isComplete && stated.has_value();
            end = std::max({end, stated.value_or(end), endOfIndex(format, *stream)});
        }
    }
    if (isComplete) {
        return isContainer(format, "mpeg") ? std::max(end, measuredEndOfTail(path)) : end;
    }
    const bool isStated = format.duration != AV_NOPTS_VALUE && format.duration > 0;
    if (isStated && !isGuess(format)) {
        const std::int64_t start =
            format.start_time == AV_NOPTS_VALUE ? 0 : std::max<std::int64_t>(format.start_time, 0);
        // Matroska and FLV state when the last frame ends, counted from their own zero.
        end = std::max(end, MediaTime::make(format.duration - start, AV_TIME_BASE));
        // Where FLV states nothing libavformat gives the time of the last tag instead, which is
        // before that frame ends, and before those that were coded earlier and are shown later.
        return isContainer(format, "flv") ? std::max(end, measuredEndOfFlv(path)) : end;
    }
    return measuredEnd(path);
}

} // namespace fw::libav
