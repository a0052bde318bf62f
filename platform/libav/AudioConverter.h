#pragma once

#include "platform/libav/Handles.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct SwrContext;

namespace fw::libav {

/// Brings decoded sound to interleaved signed 16-bit samples at one rate and channel count, by
/// libswresample, never dithered. Channels keep their order; only sound whose rate or channel
/// count changes in the middle is resampled or mixed, which takes at most 64 channels.
class AudioConverter {
public:
    AudioConverter(int sampleRate, int channels);

    /// Appends a decoded piece. Throws PlatformException when libswresample has no such conversion.
    void append(const AVFrame& frame, std::vector<std::byte>& samples);
    /// Appends what a resampler holds back at the end of the sound.
    void finish(std::vector<std::byte>& samples);

    std::size_t bytesPerFrame() const { return 2 * static_cast<std::size_t>(channels_); }

private:
    struct Free {
        void operator()(SwrContext* context) const;
    };
    struct Format {
        int sampleFormat = -1;
        int sampleRate = 0;
        int channels = 0;
        bool operator==(const Format&) const = default;
    };

    void prepare(const Format& source);
    void start(const Format& source, int targetChannels);
    void appendPlanes(const AVFrame& frame, std::vector<std::byte>& samples);
    void run(const std::uint8_t* const* planes, int count, std::size_t bytesPerSample,
             std::vector<std::byte>& samples);

    int sampleRate_;
    int channels_;
    Format source_;
    bool convertsPlanes_ = false;               ///< Each plane by itself, as one channel.
    std::unique_ptr<SwrContext, Free> context_; ///< Null until the first piece.
};

} // namespace fw::libav
