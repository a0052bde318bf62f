#include "platform/libav/StartWatch.h"

#include "base/numbers.h"
#include "platform/libav/Container.h"
#include "platform/libav/StreamDecoder.h"

namespace fw::libav {

void StartWatch::packet(const AVPacket& packet) {
    if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0) {
        return;
    }
    hasPacket_ = true;
    if (!hasBegun_ && (isWhole() || (packet.flags & AV_PKT_FLAG_KEY) != 0)) {
        hasBegun_ = true;
        if (packet.pts != AV_NOPTS_VALUE) {
            start_ = packet.pts;
        }
    }
}

void StartWatch::failed(const Error& error) {
    if (hasBegun_) {
        keepFirst(failure_, error);
    }
}

bool StartWatch::shouldDecode(std::int64_t timestamp) const {
    return start_ ? timestamp >= *start_ : isWhole();
}

/// Data in mid stream may be left out without a word for good reasons.
std::optional<Error> StartWatch::damageBefore(std::int64_t first, std::int64_t tolerance,
                                              const Error& untold) const {
    if (!start_ || saturatingSubtract(first, *start_) <= tolerance) {
        return std::nullopt;
    }
    return failure_ || !isWhole() ? failure_ : std::optional(untold);
}

std::optional<Error> StartWatch::damageOfAll(const Error& untold) const {
    return hasPacket_ ? std::optional(failure_.value_or(untold)) : std::nullopt;
}

StartWatch::Begins beginningOf(const AVFormatContext& format) {
    const bool isAnywhere = isContainer(format, "mpegts") || isContainer(format, "mpeg");
    return isAnywhere ? StartWatch::Begins::kAnywhere : StartWatch::Begins::kWhole;
}

} // namespace fw::libav
