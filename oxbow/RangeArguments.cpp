#include "oxbow/RangeArguments.h"

#include "media/FWAVFoundation.h"
#include "oxbow/FrameClock.h"
#include "oxbow/TimecodeSearch.h"

#include <algorithm>

namespace fw {
namespace {

Error usageError(std::string description) {
    return {"com.fernwick.Oxbow.usage", 0, std::move(description)};
}

/// Turns a point into the frame it names.
class PointResolver {
public:
    PointResolver(const Asset& asset, const FrameClock& clock) : asset_(asset), clock_(clock) {}

    Result<std::int64_t> frameOf(const RangePoint& point) const {
        return std::visit([this](const auto& typed) { return resolve(typed); }, point);
    }

private:
    Result<std::int64_t> resolve(const FramePoint& point) const { return point.frame; }

    Result<std::int64_t> resolve(const SecondsPoint& point) const {
        return clock_.firstFrameFrom(point.numerator, point.denominator);
    }

    Result<std::int64_t> resolve(const TimecodePoint& point) const {
        const TimecodeSearch search(asset_, clock_);
        if (const std::optional<std::int64_t> frame = search.frameWithTimecode(point.text)) {
            return *frame;
        }
        return usageError("The movie has no timecode " + point.text + "; it runs from " +
                          search.firstTimecode() + " to " + search.lastTimecode() + ".");
    }

    const Asset& asset_;
    const FrameClock& clock_;
};

} // namespace

std::int64_t estimatedFrameCount(const Asset& asset) {
    return FrameClock(asset).frameCount();
}

Result<RangeArguments> resolvedRange(const std::optional<RangePoint>& start,
                                     const std::optional<RangePoint>& end, const Asset& asset) {
    const FrameClock clock(asset);
    const PointResolver resolver(asset, clock);
    RangeArguments range;
    if (start) {
        const Result<std::int64_t> frame = resolver.frameOf(*start);
        if (!frame) {
            return frame.error();
        }
        range.startFrame = frame.value();
        if (range.startFrame > 0 && range.startFrame >= clock.frameCount()) {
            return usageError("The start lies behind the movie's last frame, which is " +
                              std::to_string(std::max<std::int64_t>(clock.frameCount() - 1, 0)) +
                              ".");
        }
        range.startArgument = clock.startArgument(range.startFrame);
    }
    if (end) {
        const Result<std::int64_t> frame = resolver.frameOf(*end);
        if (!frame) {
            return frame.error();
        }
        if (frame.value() <= range.startFrame) {
            return usageError("The start does not lie before the end.");
        }
        if (frame.value() < clock.frameCount()) {
            range.endFrame = frame.value();
            range.endArgument = clock.endArgument(frame.value());
        }
    }
    return range;
}

} // namespace fw
