#pragma once

#include "media/MediaTime.h"

#include <cstdint>

namespace fw {

/// The range that starts `frames` frames earlier and ends where `range` ends, so that a history of
/// frames is full when the range begins. The lead-in is made on the timescale of the range's
/// duration; a huge one, or one at an unknown rate, is held at a length that reaches beyond the
/// start of every movie.
MediaTimeRange rangeWithLeadIn(const MediaTimeRange& range, std::int64_t frames,
                               float framesPerSecond);

} // namespace fw
