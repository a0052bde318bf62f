#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace fw::test {

using Samples = std::vector<std::int16_t>;

struct PlainWaveform {
    std::vector<float> points;
    float maximum = -90.0F;
};

/// The rule of a waveform, sample by sample.
inline PlainWaveform plainWaveform(const std::vector<Samples>& buffers, std::int64_t sampleRate,
                                   std::uint32_t channels) {
    const auto rate = static_cast<float>(static_cast<std::uint32_t>(sampleRate));
    const auto samplesPerPoint = static_cast<std::int64_t>(std::ceil(rate / 50.0));
    PlainWaveform waveform;
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (const Samples& buffer : buffers) {
        const std::size_t frames = buffer.size() / channels;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const std::int16_t sample = buffer[frame * (channels == 2 ? 2 : 1)];
            sum = static_cast<std::int64_t>(static_cast<float>(sum) + static_cast<float>(sample));
            if (count >= samplesPerPoint) {
                const std::int64_t mean = sum / (count + 1);
                const auto cut = static_cast<std::int32_t>(static_cast<float>(mean));
                const auto point = static_cast<float>(std::abs(cut));
                waveform.maximum = std::max(point, waveform.maximum);
                waveform.points.push_back(point);
                sum = 0;
                count = 0;
            } else {
                ++count;
            }
        }
    }
    return waveform;
}

} // namespace fw::test
