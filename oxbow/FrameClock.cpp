#include "oxbow/FrameClock.h"

#include "media/FWAVFoundation.h"

#include <algorithm>
#include <limits>

namespace fw {
namespace {

__extension__ using Wide = __int128;

/// What the scanner's arguments can hold: it multiplies 32-bit numbers.
constexpr std::int64_t kMostFrames = std::numeric_limits<std::int32_t>::max();

FrameRate rateOf(const Asset& asset, const MediaTime& frameLength) {
    const Track* const video = asset.firstTrack(MediaType::kVideo);
    const bool isKnown = video != nullptr && video->frameRate.isKnown() &&
                         video->frameRate.numerator <= kMostFrames &&
                         video->frameRate.denominator <= kMostFrames;
    return isKnown ? video->frameRate : FrameRate{frameLength.timescale, frameLength.value};
}

std::int64_t held(Wide number) {
    return static_cast<std::int64_t>(std::clamp<Wide>(number, 0, kMostFrames));
}

Wide dividedUp(Wide dividend, Wide divisor) {
    return (dividend + divisor - 1) / divisor;
}

} // namespace

FrameClock::FrameClock(const Asset& asset)
    : frameLength_(FWAVFoundation::frameLengthForAsset(asset)) {
    if (!frameLength_.isNumeric() || frameLength_.value <= 0) {
        frameLength_ = MediaTime::make(1001, 30000);
    }
    rate_ = rateOf(asset, frameLength_);
    const MediaTime duration = asset.duration();
    if (duration.isNumeric() && duration.value > 0) {
        frameCount_ = firstFrameFrom(duration.value, duration.timescale);
    }
}

MediaTime FrameClock::timeOf(std::int64_t frame) const {
    return MediaTime::make(std::clamp<std::int64_t>(frame, 0, kMostFrames) * rate_.denominator,
                           static_cast<std::int32_t>(rate_.numerator));
}

std::int64_t FrameClock::firstFrameFrom(std::int64_t numerator, std::int64_t denominator) const {
    // The seconds are held below 2^62, so that the products stay within 128 bits.
    const Wide seconds = std::min<std::int64_t>(numerator, std::int64_t{1} << 62);
    return held(dividedUp(seconds * rate_.numerator, Wide{denominator} * rate_.denominator));
}

std::int64_t FrameClock::startArgument(std::int64_t frame) const {
    const MediaTime time = timeOf(frame);
    return held(Wide{time.value} * frameLength_.timescale /
                (Wide{time.timescale} * frameLength_.value));
}

std::int64_t FrameClock::endArgument(std::int64_t frame) const {
    const std::int64_t argument = startArgument(frame);
    if (frame <= 0) {
        return argument;
    }
    const MediaTime before = timeOf(frame - 1);
    const bool isAfter = Wide{argument} * frameLength_.value * before.timescale >
                         Wide{before.value} * frameLength_.timescale;
    return isAfter ? argument : held(Wide{argument} + 1);
}

} // namespace fw
