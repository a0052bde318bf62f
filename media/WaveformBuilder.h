#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace fw {

/// Reduces sound to points. Each point is the size of the mean of a fiftieth of a second of samples
/// (rounded up) and one more: not a mean of sizes and not a peak, so that a symmetric wave gives
/// points near 0. The one sample more is part of the format. Sums are kept in single precision.
/// Both are deliberate.
class WaveformBuilder {
public:
    /// The rate is cut to a whole number of which the low 32 bits count. At least one channel.
    WaveformBuilder(double sampleRate, std::uint32_t channels);

    /// The next sound, interleaved signed 16-bit samples. What is left of it after its last point
    /// goes into the next. Of two channels the left one counts; of more as many samples as the
    /// buffer has frames, from its start and across all channels: deliberate.
    void add(std::span<const std::byte> buffer);

    /// The points so far, 32-bit floats in the machine's byte order.
    const std::vector<std::byte>& points() const { return points_; }
    std::vector<std::byte> takePoints() { return std::move(points_); }
    /// The largest point so far, -90 while there is none.
    float maximum() const { return maximum_; }

private:
    void finishPoint();

    std::int64_t samplesPerPoint_;
    std::size_t bytesPerFrame_;
    std::size_t step_; ///< From one sample that counts to the next.
    std::int64_t sum_ = 0;
    std::int64_t count_ = 0;
    float maximum_ = -90.0F;
    std::vector<std::byte> points_;
};

} // namespace fw
