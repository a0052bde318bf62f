#include "oxbow/TimecodeSearch.h"

#include "base/numbers.h"
#include "base/text.h"
#include "media/FWAVFoundation.h"
#include "timecode/FWTimecode.h"

#include <algorithm>
#include <cmath>

namespace fw {
namespace {

/// Each correction lands at most as far away as numbers are dropped between guess and goal.
constexpr int kMostCorrections = 32;
/// Around a guess that corrections move no more: two numbers are dropped at once, four at 60.
constexpr std::int64_t kNeighbourhood = 64;

/// A way along the clock, which begins anew at midnight: forward or back, whichever is shorter.
std::int64_t shortestWay(std::int64_t way, std::int64_t day) {
    const std::int64_t forward = (way % day + day) % day;
    return forward > day / 2 ? forward - day : forward;
}

/// Whether two texts have the same numbers: either separator stands for the other, so that nobody
/// has to quote a ";" for the shell.
bool isSameTimecode(const std::string& a, const std::string& b) {
    const auto fieldsOfA = splitAtAnyOf(a, ":;");
    const auto fieldsOfB = splitAtAnyOf(b, ":;");
    return std::equal(fieldsOfA.begin(), fieldsOfA.end(), fieldsOfB.begin(), fieldsOfB.end(),
                      [](std::string_view fieldOfA, std::string_view fieldOfB) {
                          return leadingInteger(fieldOfA) == leadingInteger(fieldOfB);
                      });
}

} // namespace

TimecodeSearch::TimecodeSearch(const Asset& asset, const FrameClock& clock)
    : asset_(asset), clock_(clock),
      start_(FWAVFoundation::timecodeStartForAsset(asset, "00:00:00:00")),
      timebase_(saturatingCast<std::int64_t>(std::round(FWAVFoundation::fpsForAsset(asset)))) {}

std::string TimecodeSearch::timecodeOf(std::int64_t frame) const {
    return FWAVFoundation::timecodeForAsset(asset_, clock_.timeOf(frame), start_);
}

std::string TimecodeSearch::lastTimecode() const {
    return timecodeOf(std::max<std::int64_t>(clock_.frameCount() - 1, 0));
}

std::int64_t TimecodeSearch::countOf(const std::string& text) const {
    return static_cast<std::int64_t>(
        FWTimecode::frameCountFromTimecode(text, timebase_, false, false, 0));
}

std::optional<std::int64_t> TimecodeSearch::frameWithTimecode(const std::string& text) const {
    const std::int64_t last = clock_.frameCount();
    const std::int64_t day = countOf("24:00:00:00");
    const std::int64_t goal = countOf(text);
    std::int64_t guess = 0;
    for (int correction = 0; correction < kMostCorrections; ++correction) {
        std::int64_t missing = shortestWay(goal - countOf(timecodeOf(guess)), day);
        if (guess + missing < 0) {
            missing += day;
        }
        guess = std::clamp<std::int64_t>(guess + missing, 0, last);
        if (isSameTimecode(timecodeOf(guess), text)) {
            return guess;
        }
    }
    for (std::int64_t distance = 1; distance <= kNeighbourhood; ++distance) {
        for (const std::int64_t frame : {guess - distance, guess + distance}) {
            if (frame >= 0 && frame <= last && isSameTimecode(timecodeOf(frame), text)) {
                return frame;
            }
        }
    }
    return std::nullopt;
}

} // namespace fw
