#include "platform/libav/AudioConverter.h"

#include "base/PlatformException.h"
#include "platform/libav/LibavError.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <cstring>

namespace fw::libav {
namespace {

constexpr std::size_t kBytesPerSample = 2;
constexpr int kMostChannelsAtOnce = 64; // Of libswresample.

[[noreturn]] void throwConversionError(int code) {
    throw PlatformException("The sound cannot be converted to 16 bits (" + libavText(code) + ").");
}

/// A layout of so many channels and nothing more: equal counts are then never mixed.
AVChannelLayout plainLayout(int channels) {
    AVChannelLayout layout{};
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    layout.nb_channels = channels;
    return layout;
}

} // namespace

void AudioConverter::Free::operator()(SwrContext* context) const {
    swr_free(&context);
}

AudioConverter::AudioConverter(int sampleRate, int channels)
    : sampleRate_(sampleRate), channels_(channels) {}

void AudioConverter::append(const AVFrame& frame, std::vector<std::byte>& samples) {
    const Format format{frame.format, frame.sample_rate, frame.ch_layout.nb_channels};
    if (!context_ || format != source_) {
        finish(samples);
        prepare(format);
    }
    if (convertsPlanes_) {
        appendPlanes(frame, samples);
    } else {
        run(frame.extended_data, frame.nb_samples, bytesPerFrame(), samples);
    }
}

void AudioConverter::finish(std::vector<std::byte>& samples) {
    if (context_ && !convertsPlanes_) {
        run(nullptr, 0, bytesPerFrame(), samples);
    }
    context_.reset();
}

void AudioConverter::prepare(const Format& source) {
    convertsPlanes_ = source.channels == channels_ && source.sampleRate == sampleRate_ &&
                      channels_ > kMostChannelsAtOnce;
    if (convertsPlanes_) {
        start({source.sampleFormat, source.sampleRate, 1}, 1);
    } else {
        start(source, channels_);
    }
    source_ = source;
}

void AudioConverter::start(const Format& source, int targetChannels) {
    AVChannelLayout from = plainLayout(source.channels);
    AVChannelLayout to = plainLayout(targetChannels);
    SwrContext* context = nullptr;
    int code = swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_S16, sampleRate_, &from,
                                   static_cast<AVSampleFormat>(source.sampleFormat),
                                   source.sampleRate, 0, nullptr);
    context_.reset(context);
    if (code >= 0) {
        code = swr_init(context);
    }
    if (code < 0) {
        context_.reset();
        throwConversionError(code);
    }
}

/// Interleaved samples are one plane, which holds those of all channels in the order wanted.
void AudioConverter::appendPlanes(const AVFrame& frame, std::vector<std::byte>& samples) {
    if (av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format)) == 0) {
        run(frame.extended_data, frame.nb_samples * channels_, kBytesPerSample, samples);
        return;
    }
    const std::size_t before = samples.size();
    const auto count = static_cast<std::size_t>(frame.nb_samples);
    samples.resize(before + count * bytesPerFrame());
    std::vector<std::byte> plane;
    for (int channel = 0; channel < channels_; ++channel) {
        plane.clear();
        run(frame.extended_data + channel, frame.nb_samples, kBytesPerSample, plane);
        if (plane.size() != count * kBytesPerSample) {
            throwConversionError(AVERROR_BUG); // At one rate nothing is held back.
        }
        std::byte* target =
            samples.data() + before + static_cast<std::size_t>(channel) * kBytesPerSample;
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(target + i * bytesPerFrame(), plane.data() + i * kBytesPerSample,
                        kBytesPerSample);
        }
    }
}

void AudioConverter::run(const std::uint8_t* const* planes, int count, std::size_t bytesPerSample,
                         std::vector<std::byte>& samples) {
    const int room = swr_get_out_samples(context_.get(), count);
    if (room < 0) {
        throwConversionError(room);
    }
    const std::size_t before = samples.size();
    samples.resize(before + static_cast<std::size_t>(room) * bytesPerSample);
    auto* target = reinterpret_cast<std::uint8_t*>(samples.data() + before);
    const int written =
        swr_convert(context_.get(), &target, room, const_cast<const std::uint8_t**>(planes), count);
    if (written < 0) {
        throwConversionError(written);
    }
    samples.resize(before + static_cast<std::size_t>(written) * bytesPerSample);
}

} // namespace fw::libav
