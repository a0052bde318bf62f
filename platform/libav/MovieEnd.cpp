#include "platform/libav/MovieEnd.h"

#include "platform/libav/Container.h"
#include "platform/libav/StreamTiming.h"

#include <algorithm>
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

/// Reads every packet's time. Exact, and as long as reading the file takes.
MediaTime measuredEnd(const std::string& path) {
    MediaTime end = MediaTime::zero();
    auto opened = openContainer(path);
    if (!opened) {
        return end;
    }
    const FormatHandle& format = opened.value();
    std::vector<StreamTiming> timings;
    for (const AVStream* stream : streamsOf(*format)) {
        timings.emplace_back(*format, *stream);
    }
    const PacketHandle packet = makePacket();
    while (av_read_frame(format.get(), packet.get()) >= 0) {
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (index < timings.size() && packet->pts != AV_NOPTS_VALUE &&
            counts(*format->streams[index])) {
            const std::int64_t length =
                packet->duration > 0 ? packet->duration : timings[index].frameTicks();
            end = std::max(end, timings[index].timeAt(packet->pts + length));
        }
        av_packet_unref(packet.get());
    }
    return end;
}

/// Program streams are measured at their last timestamp; the frames after it, which a decoder
/// gives out late, carry none.
MediaTime untimedTail(const AVFormatContext& format, const AVStream& stream) {
    if (!isContainer(format, "mpeg") || !isMovingPicture(stream)) {
        return MediaTime::zero();
    }
    const std::int64_t frames = 1 + std::max(stream.codecpar->video_delay, 0);
    return MediaTime::make(frames * StreamTiming(format, stream).frameTicks() *
                               stream.time_base.num,
                           stream.time_base.den);
}

} // namespace

MediaTime movieEnd(const std::string& path, const AVFormatContext& format) {
    MediaTime end = MediaTime::zero();
    bool isComplete = !isGuess(format);
    for (const AVStream* stream : streamsOf(format)) {
        if (counts(*stream)) {
            const auto stated = statedEnd(format, *stream);
            isComplete = isComplete && stated.has_value();
            if (stated) {
                end = std::max(end, *stated + untimedTail(format, *stream));
            }
        }
    }
    if (isComplete) {
        return end;
    }
    const bool isStated = format.duration != AV_NOPTS_VALUE && format.duration > 0;
    if (isStated && !isGuess(format)) {
        const std::int64_t start =
            format.start_time == AV_NOPTS_VALUE ? 0 : std::max<std::int64_t>(format.start_time, 0);
        // Matroska and FLV state when the last frame ends, counted from their own zero.
        return std::max(end, MediaTime::make(format.duration - start, AV_TIME_BASE));
    }
    return measuredEnd(path);
}

} // namespace fw::libav
