#pragma once

#include "media/MediaTime.h"
#include "media/Track.h"

#include <cstdint>

namespace fw {

/// The number of the frame shown at a time: seconds x nominal rate, rounded down, 0 when either is
/// not a number above zero. The product is exact (integers): frame 29 at 25 frames a second is 29,
/// where a product of doubles may give 28. Held at the largest 64-bit value, which an infinite
/// time gives, too.
std::int64_t frameNumberAtTime(const MediaTime& time, float nominalFrameRate);

/// The smallest float that is not below a rate; 0 when the rate is unknown.
float nominalFrameRate(const FrameRate& rate);

} // namespace fw
