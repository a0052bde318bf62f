#include "scanner/LeadIn.h"

#include <algorithm>

namespace fw {
namespace {

/// 34 years, longer than every movie. On every timescale it can be added to and taken from a
/// movie's times: 2^30 seconds are fewer than 2^61 ticks.
constexpr std::int64_t kMostSeconds = std::int64_t{1} << 30;

MediaTime leadIn(std::int64_t frames, double framesPerSecond, std::int32_t timescale) {
    const double seconds = static_cast<double>(frames) / framesPerSecond;
    return MediaTime::makeWithSeconds(std::min(seconds, static_cast<double>(kMostSeconds)),
                                      timescale);
}

} // namespace

MediaTimeRange rangeWithLeadIn(const MediaTimeRange& range, std::int64_t frames,
                               float framesPerSecond) {
    const MediaTime offset =
        leadIn(frames, static_cast<double>(framesPerSecond), range.duration.timescale);
    return {range.start - offset, range.duration + offset};
}

} // namespace fw
