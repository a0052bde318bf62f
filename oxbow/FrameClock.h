#pragma once

#include "media/Asset.h"

#include <cstdint>

namespace fw {

/// When the frames of a movie are shown, and which whole number of the suite's frame lengths
/// selects them. All of it exact, in integers. A value.
class FrameClock {
public:
    explicit FrameClock(const Asset& asset);

    /// Frame x one over the rate. Numbers beyond any movie are held at its end.
    MediaTime timeOf(std::int64_t frame) const;
    /// The first frame that is not shown before a time of numerator / denominator seconds.
    std::int64_t firstFrameFrom(std::int64_t numerator, std::int64_t denominator) const;
    /// Frames until the movie's end; 0 when its length is not known.
    std::int64_t frameCount() const { return frameCount_; }

    /// The largest number of frame lengths that is not after a frame.
    std::int64_t startArgument(std::int64_t frame) const;
    /// The smallest number of frame lengths that is after the frame before this one.
    std::int64_t endArgument(std::int64_t frame) const;

private:
    FrameRate rate_;
    MediaTime frameLength_;
    std::int64_t frameCount_ = 0;
};

} // namespace fw
