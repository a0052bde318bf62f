#pragma once

#include "base/Result.h"
#include "media/Asset.h"
#include "oxbow/RangePoint.h"

#include <cstdint>
#include <limits>
#include <optional>

namespace fw {

/// What the scanner is given for "to the end of the movie".
inline constexpr std::int64_t kWholeMovieEnd = std::numeric_limits<std::int32_t>::max();

/// Which frames are scanned, [startFrame, endFrame) with the end absent for the movie's own, and
/// how the scanner is told so.
///
/// The scanner multiplies its arguments with the length of one frame as the suite computes it,
/// which for many rates (12.5, say) is not one over the rate. The start argument is the largest
/// whose time is not after the start frame's; the end argument the smallest whose time is after
/// that of the last frame wanted, which is the same rule wherever that length is not above one
/// over the rate. Where it is above, the range may take in one frame more, never one less.
struct RangeArguments {
    std::int64_t startFrame = 0;
    std::optional<std::int64_t> endFrame;
    std::int64_t startArgument = 0;
    std::int64_t endArgument = kWholeMovieEnd;

    bool isWholeMovie() const { return startFrame == 0 && !endFrame; }
};

/// Finds the frames that the points name. The error's description is one sentence for whoever
/// typed them: no such timecode, a start that is not before the end, a start behind the movie.
Result<RangeArguments> resolvedRange(const std::optional<RangePoint>& start,
                                     const std::optional<RangePoint>& end, const Asset& asset);

/// Frames that a movie of this length at this rate has; 0 when that is unknown.
std::int64_t estimatedFrameCount(const Asset& asset);

} // namespace fw
