#include "platform/libav/StartWatch.h"

#include "base/numbers.h"
#include "platform/libav/Container.h"
#include "platform/libav/StreamDecoder.h"

namespace fw::libav {

StartWatch::StartWatch(const AVFormatContext& format)
    : mayBeginAnywhere_(isContainer(format, "mpegts") || isContainer(format, "mpeg")) {}

void StartWatch::packet(const AVPacket& packet) {
    if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0) {
        return;
    }
    hasPacket_ = true;
    if (!shouldDecode_ && (!mayBeginAnywhere_ || (packet.flags & AV_PKT_FLAG_KEY) != 0)) {
        shouldDecode_ = true;
        if (packet.pts != AV_NOPTS_VALUE) {
            start_ = packet.pts;
        }
    }
}

void StartWatch::failed(const Error& error) {
    if (shouldDecode_) {
        keepFirst(failure_, error);
    }
}

std::optional<Error> StartWatch::damageBefore(std::int64_t first, std::int64_t tolerance) const {
    const bool isLate = start_ && saturatingSubtract(first, *start_) > tolerance;
    return isLate ? failure_ : std::nullopt;
}

std::optional<Error> StartWatch::damageOfAll(const Error& untold) const {
    return hasPacket_ ? std::optional(failure_.value_or(untold)) : std::nullopt;
}

} // namespace fw::libav
