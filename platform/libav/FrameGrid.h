#pragma once

#include "media/MediaTime.h"
#include "media/Track.h"

#include <cstdint>
#include <optional>
#include <span>

namespace fw::libav {

/// Seconds of one tick of a clock, as a fraction.
struct Tick {
    std::int32_t numerator = 0;
    std::int32_t denominator = 1;
};

/// The rate in use nearest to a measured one, when it lies within 1/10,000: a whole number, a
/// whole number x 1000 / 1001, or a whole number and a half.
std::optional<FrameRate> standardRate(const FrameRate& measured);

/// The constant rate of frames that start at these ticks, in order; nothing when the rate varies.
/// On a clock that cannot express the frame length each start may be off by one tick.
std::optional<FrameRate> constantRate(std::span<const std::int64_t> starts, const Tick& tick);

/// Turns ticks into times. A constant rate on a clock too coarse for its frame length (Matroska's
/// milliseconds, say) puts a time within one tick of n x the frame length exactly there.
class FrameGrid {
public:
    /// With `isConstant` false, or a frame length of whole ticks, ticks are taken as they are.
    FrameGrid(const Tick& tick, const FrameRate& rate, bool isConstant);

    MediaTime timeAt(std::int64_t ticks) const;

private:
    Tick tick_;
    FrameRate rate_;
    bool snaps_;
};

/// n x the frame length, on the timescale that the suite uses for the rate: 1000 / (1000 x rate)
/// for whole rates, 1001 / (1000 x the next whole rate) for x 1000 / 1001, else as it is.
MediaTime timeOfFrame(std::int64_t n, const FrameRate& rate);

} // namespace fw::libav
