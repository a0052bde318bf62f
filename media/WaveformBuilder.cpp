#include "media/WaveformBuilder.h"

#include "base/numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace fw {
namespace {

constexpr double kPointsPerSecond = 50.0;
constexpr std::size_t kBytesPerSample = 2;

/// Up to here single precision holds every whole number.
constexpr std::int64_t kMostExact = std::int64_t{1} << 24;
constexpr std::int64_t kLargestSample = 32768;

std::int64_t samplesPerPointAt(double sampleRate) {
    const auto rate = static_cast<float>(low32Unsigned(saturatingCast<std::int64_t>(sampleRate)));
    return static_cast<std::int64_t>(std::ceil(static_cast<double>(rate) / kPointsPerSecond));
}

std::int16_t sampleAt(const std::byte* cursor) {
    std::int16_t sample = 0;
    std::memcpy(&sample, cursor, sizeof sample);
    return sample;
}

/// One sample more, in single precision.
std::int64_t roundedSum(std::int64_t sum, std::int16_t sample) {
    return static_cast<std::int64_t>(static_cast<float>(sum) + static_cast<float>(sample));
}

/// At most kMostExact / kLargestSample samples.
std::int32_t exactSum(const std::byte* cursor, std::int64_t count, std::size_t step) {
    std::int32_t sum = 0;
    for (; count > 0; --count, cursor += step) {
        sum += sampleAt(cursor);
    }
    return sum;
}

/// The sum after `count` samples more. Single precision adds whole numbers exactly as long as no
/// sum on the way can pass 2^24: so many of them are added as integers.
std::int64_t sumAfter(std::int64_t sum, const std::byte* cursor, std::int64_t count,
                      std::size_t step) {
    while (count > 0) {
        const std::int64_t exact = std::min(count, (kMostExact - std::abs(sum)) / kLargestSample);
        if (exact > 0) {
            sum += exactSum(cursor, exact, step);
        } else {
            sum = roundedSum(sum, sampleAt(cursor));
        }
        const std::int64_t added = std::max<std::int64_t>(exact, 1);
        cursor += static_cast<std::size_t>(added) * step;
        count -= added;
    }
    return sum;
}

} // namespace

WaveformBuilder::WaveformBuilder(double sampleRate, std::uint32_t channels)
    : samplesPerPoint_(samplesPerPointAt(sampleRate)), bytesPerFrame_(channels * kBytesPerSample),
      step_(channels == 2 ? 2 * kBytesPerSample : kBytesPerSample) {}

void WaveformBuilder::add(std::span<const std::byte> buffer) {
    auto left = static_cast<std::int64_t>(buffer.size() / bytesPerFrame_);
    const std::byte* cursor = buffer.data();
    while (left > 0) {
        const std::int64_t taken = std::min(left, samplesPerPoint_ + 1 - count_);
        sum_ = sumAfter(sum_, cursor, taken, step_);
        count_ += taken;
        cursor += static_cast<std::size_t>(taken) * step_;
        left -= taken;
        if (count_ > samplesPerPoint_) {
            finishPoint();
        }
    }
}

void WaveformBuilder::finishPoint() {
    const std::int64_t quotient = sum_ / count_; // Whole numbers: deliberate, before the float.
    const auto mean = static_cast<std::int32_t>(static_cast<float>(quotient));
    const auto point = static_cast<float>(std::abs(mean));
    maximum_ = std::max(point, maximum_);
    const auto bytes = std::bit_cast<std::array<std::byte, sizeof point>>(point);
    points_.insert(points_.end(), bytes.begin(), bytes.end());
    sum_ = 0;
    count_ = 0;
}

} // namespace fw
