#include "scanner/LeadIn.h"

namespace fw {
namespace {

/// A quarter of what 64 bits hold: it can be added to and taken from every time of a movie.
constexpr std::int64_t kMostTicks = std::int64_t{1} << 61;

MediaTime leadIn(std::int64_t frames, double framesPerSecond, std::int32_t timescale) {
    const double seconds = static_cast<double>(frames) / framesPerSecond;
    const MediaTime most = MediaTime::make(kMostTicks, timescale);
    const MediaTime exact = MediaTime::makeWithSeconds(seconds, timescale);
    return exact.isPositiveInfinity() || exact > most ? most : exact;
}

} // namespace

MediaTimeRange rangeWithLeadIn(const MediaTimeRange& range, std::int64_t frames,
                               float framesPerSecond) {
    const MediaTime offset =
        leadIn(frames, static_cast<double>(framesPerSecond), range.duration.timescale);
    return {range.start - offset, range.duration + offset};
}

} // namespace fw
