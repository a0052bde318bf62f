#include "platform/libav/StreamTiming.h"

#include "base/numbers.h"
#include "base/text.h"
#include "platform/libav/Container.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <algorithm>
#include <limits>
#include <vector>

namespace fw::libav {
namespace {

struct RateOfStream {
    FrameRate rate;
    bool isConstant = false;
};

FrameRate asRate(const AVRational& rational) {
    return rational.num > 0 && rational.den > 0 ? FrameRate{rational.num, rational.den}
                                                : FrameRate{};
}

/// The decoding times of all samples; only the QuickTime family keeps an entry for each.
std::vector<std::int64_t> sampleStarts(const AVFormatContext& format, const AVStream& stream) {
    std::vector<std::int64_t> starts;
    if (isContainer(format, "mov")) {
        const int count = avformat_index_get_entries_count(&stream);
        starts.reserve(static_cast<std::size_t>(std::max(count, 0)));
        for (int i = 0; i < count; ++i) {
            starts.push_back(
                avformat_index_get_entry(const_cast<AVStream*>(&stream), i)->timestamp);
        }
    }
    return starts;
}

/// MXF and AVI count in frames: their clock is their rate, unless most of its ticks are empty.
std::optional<FrameRate> clockRate(const AVFormatContext& format, const AVStream& stream) {
    if (!isContainer(format, "mxf") && !isContainer(format, "avi")) {
        return std::nullopt;
    }
    const FrameRate clock = asRate(av_inv_q(stream.time_base));
    const double measured = av_q2d(stream.avg_frame_rate);
    const bool isMeasured = stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0;
    const double ticks =
        static_cast<double>(clock.numerator) / static_cast<double>(clock.denominator);
    return !isMeasured || measured > ticks * 0.9 ? std::optional(clock) : std::nullopt;
}

RateOfStream rateOf(const AVFormatContext& format, const AVStream& stream) {
    if (!isMovingPicture(stream)) {
        return {};
    }
    const Tick tick{stream.time_base.num, stream.time_base.den};
    const auto starts = sampleStarts(format, stream);
    if (const auto constant = constantRate(starts, tick)) {
        return {*constant, true};
    }
    if (const auto clock = clockRate(format, stream)) {
        return {*clock, true};
    }
    FrameRate average = asRate(stream.avg_frame_rate);
    if (!average.isKnown()) {
        average = asRate(stream.r_frame_rate);
    }
    if (starts.size() >= 2) {
        return {average, false}; // All samples are known, and their rate varies.
    }
    // Elsewhere the average is what the container rounds or libavformat measures.
    const auto standard = standardRate(average);
    return {standard.value_or(average), standard.has_value()};
}

/// AVI counts empty chunks, too, which stand for the picture before them. Only an index of as many
/// chunks that all hold something says that the count is one of pictures.
bool hasNoEmptyChunk(const AVStream& stream) {
    const int entries = avformat_index_get_entries_count(&stream);
    for (int i = 0; i < entries; ++i) {
        if (avformat_index_get_entry(const_cast<AVStream*>(&stream), i)->size == 0) {
            return false;
        }
    }
    return entries == stream.nb_frames;
}

/// "HH:MM:SS.fraction", as Matroska's statistics tags have it.
std::optional<MediaTime> durationTag(const AVStream& stream) {
    const AVDictionaryEntry* tag = av_dict_get(stream.metadata, "DURATION", nullptr, 0);
    if (tag == nullptr) {
        return std::nullopt;
    }
    const auto fields = splitAtAnyOf(tag->value, ":");
    if (fields.size() != 3) {
        return std::nullopt;
    }
    const std::int64_t minutes = leadingInteger(fields[0]) * 60 + leadingInteger(fields[1]);
    const double seconds = static_cast<double>(minutes) * 60 + leadingDouble(fields[2]);
    return seconds > 0 ? std::optional(MediaTime::makeWithSeconds(seconds, 1000000)) : std::nullopt;
}

} // namespace

StreamTiming::StreamTiming(const AVFormatContext& format, const AVStream& stream)
    : timeBase_(stream.time_base), offset_(startOffset(format, stream)),
      grid_(Tick{}, FrameRate{}, false) {
    const RateOfStream found = rateOf(format, stream);
    rate_ = found.rate;
    grid_ = FrameGrid(Tick{timeBase_.num, timeBase_.den}, found.rate, found.isConstant);
}

std::int64_t StreamTiming::timestampAt(const MediaTime& time) const {
    const std::int64_t ticks = av_rescale_rnd(
        time.value, timeBase_.den, std::int64_t{timeBase_.num} * time.timescale, AV_ROUND_DOWN);
    const bool isTooLarge = ticks == std::numeric_limits<std::int64_t>::min() && time.value > 0;
    return isTooLarge ? std::numeric_limits<std::int64_t>::max() : saturatingAdd(ticks, offset_);
}

std::int64_t StreamTiming::frameTicks() const {
    if (!rate_.isKnown()) {
        return 1;
    }
    return std::max<std::int64_t>(
        av_rescale(rate_.denominator, timeBase_.den, rate_.numerator * timeBase_.num), 1);
}

std::optional<MediaTime> statedEnd(const AVFormatContext& format, const AVStream& stream) {
    if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0) {
        std::int64_t end = stream.duration;
        if (isContainer(format, "mov") && stream.start_time != AV_NOPTS_VALUE) {
            end = saturatingAdd(end, std::max<std::int64_t>(stream.start_time, 0));
        } else if (stream.start_time != AV_NOPTS_VALUE) {
            const std::int64_t start =
                saturatingSubtract(stream.start_time, startOffset(format, stream));
            end = saturatingAdd(end, std::max<std::int64_t>(start, 0));
        }
        // A damaged header can state any length.
        const std::int64_t most = std::numeric_limits<std::int64_t>::max() / stream.time_base.num;
        return MediaTime::make(std::min(end, most) * stream.time_base.num, stream.time_base.den);
    }
    return durationTag(stream);
}

std::optional<std::int64_t> statedFrameCount(const AVFormatContext& format,
                                             const AVStream& stream) {
    if (isContainer(format, "mov") && stream.nb_frames > 0) {
        const int entries = avformat_index_get_entries_count(&stream);
        if (entries < stream.nb_frames) {
            return std::nullopt; // Fragments that the index does not know yet.
        }
        std::int64_t presented = 0;
        for (int i = 0; i < entries; ++i) {
            const auto* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), i);
            presented += (entry->flags & AVINDEX_DISCARD_FRAME) == 0 ? 1 : 0;
        }
        return presented;
    }
    if (isContainer(format, "avi") && stream.nb_frames > 0 && hasNoEmptyChunk(stream)) {
        return stream.nb_frames;
    }
    const bool ticksAreFrames = stream.avg_frame_rate.num > 0 &&
                                av_cmp_q(av_inv_q(stream.time_base), stream.avg_frame_rate) == 0;
    if (isContainer(format, "mxf") && ticksAreFrames && stream.duration > 0) {
        return stream.duration;
    }
    return std::nullopt;
}

} // namespace fw::libav
