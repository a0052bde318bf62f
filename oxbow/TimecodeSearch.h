#pragma once

#include "media/Asset.h"
#include "oxbow/FrameClock.h"

#include <cstdint>
#include <optional>
#include <string>

namespace fw {

/// Finds the frame that is shown under a timecode. Drop-frame counting here cannot be turned
/// round by a formula: a guess is corrected until its own timecode is the one that is looked for.
class TimecodeSearch {
public:
    /// Both must outlive the search.
    TimecodeSearch(const Asset& asset, const FrameClock& clock);

    /// The frame whose timecode has these numbers, whatever separates them; the movie's end counts
    /// as a frame.
    std::optional<std::int64_t> frameWithTimecode(const std::string& text) const;
    std::string firstTimecode() const { return timecodeOf(0); }
    std::string lastTimecode() const;

private:
    std::string timecodeOf(std::int64_t frame) const;
    /// The count that a text's fields give, without dropped numbers.
    std::int64_t countOf(const std::string& text) const;

    const Asset& asset_;
    const FrameClock& clock_;
    std::optional<std::string> start_;
    std::int64_t timebase_;
};

} // namespace fw
