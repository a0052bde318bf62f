#include "platform/libav/AudioConverter.h"
#include "base/PlatformException.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace fw::libav {
namespace {

using Samples = std::vector<std::int16_t>;

/// Whole 16-bit values, in one of the sample formats.
FrameHandle frameOf(const Samples& interleaved, int channels, AVSampleFormat format,
                    int rate = 48000) {
    FrameHandle frame = makeFrame();
    frame->format = format;
    frame->sample_rate = rate;
    frame->nb_samples = static_cast<int>(interleaved.size()) / channels;
    frame->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
    frame->ch_layout.nb_channels = channels;
    av_frame_get_buffer(frame.get(), 0);
    const bool isPlanar = av_sample_fmt_is_planar(format) != 0;
    for (std::size_t i = 0; i < interleaved.size(); ++i) {
        const auto count = static_cast<std::size_t>(channels);
        std::uint8_t* plane = frame->extended_data[isPlanar ? i % count : 0];
        const std::size_t place = isPlanar ? i / count : i;
        const std::int16_t value = interleaved[i];
        const auto put = [&](auto sample) {
            std::memcpy(plane + place * sizeof sample, &sample, sizeof sample);
        };
        switch (av_get_packed_sample_fmt(format)) {
        case AV_SAMPLE_FMT_U8:
            put(static_cast<std::uint8_t>(value / 256 + 128));
            break;
        case AV_SAMPLE_FMT_S16:
            put(value);
            break;
        case AV_SAMPLE_FMT_S32:
            put(std::int32_t{value} * 65536);
            break;
        case AV_SAMPLE_FMT_S64:
            put(std::int64_t{value} * (std::int64_t{1} << 48));
            break;
        case AV_SAMPLE_FMT_FLT:
            put(static_cast<float>(value) / 32768);
            break;
        default:
            put(static_cast<double>(value) / 32768);
            break;
        }
    }
    return frame;
}

/// Multiples of 256, so that 8 bits hold them, too.
Samples values(std::size_t count) {
    Samples samples;
    for (std::size_t i = 0; i < count; ++i) {
        samples.push_back(static_cast<std::int16_t>((static_cast<int>(i * 37 % 256) - 128) * 256));
    }
    return samples;
}

Samples asSamples(const std::vector<std::byte>& bytes) {
    Samples samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), bytes.size());
    return samples;
}

TEST(AudioConverter, brings_every_sample_format_and_channel_count_to_interleaved_16_bits) {
    for (int format = 0; format < AV_SAMPLE_FMT_NB; ++format) {
        for (const int channels : {1, 2, 3, 6, 8, 11, 24, 64, 65, 255}) {
            const Samples samples = values(static_cast<std::size_t>(channels) * 500);
            AudioConverter converter(48000, channels);
            std::vector<std::byte> converted;
            const auto frame = frameOf(samples, channels, static_cast<AVSampleFormat>(format));
            converter.append(*frame, converted);
            converter.append(*frame, converted);
            converter.finish(converted);
            Samples expected = samples;
            expected.insert(expected.end(), samples.begin(), samples.end());
            EXPECT_TRUE(asSamples(converted) == expected)
                << av_get_sample_fmt_name(static_cast<AVSampleFormat>(format)) << " " << channels;
        }
    }
}

TEST(AudioConverter, follows_a_change_of_the_sample_format) {
    const Samples samples = values(1000);
    AudioConverter converter(48000, 2);
    std::vector<std::byte> converted;
    Samples expected;
    for (const AVSampleFormat format :
         {AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S32P}) {
        converter.append(*frameOf(samples, 2, format), converted);
        expected.insert(expected.end(), samples.begin(), samples.end());
    }
    EXPECT_TRUE(asSamples(converted) == expected);
}

TEST(AudioConverter, resamples_sound_whose_rate_changes_and_loses_none_of_it) {
    AudioConverter converter(48000, 1);
    std::vector<std::byte> converted;
    converter.append(*frameOf(Samples(4800, 1000), 1, AV_SAMPLE_FMT_S16), converted);
    converter.append(*frameOf(Samples(24000, 1000), 1, AV_SAMPLE_FMT_S16, 24000), converted);
    converter.append(*frameOf(Samples(4800, 1000), 1, AV_SAMPLE_FMT_S16), converted);
    converter.finish(converted);
    const Samples samples = asSamples(converted);
    EXPECT_NEAR(static_cast<double>(samples.size()), 4800 + 48000 + 4800, 64);
    for (std::size_t i = 6000; i < 50000; ++i) {
        ASSERT_NEAR(samples[i], 1000, 2) << i;
    }
}

TEST(AudioConverter, mixes_sound_whose_channel_count_changes) {
    AudioConverter converter(48000, 2);
    std::vector<std::byte> converted;
    converter.append(*frameOf(Samples(2000, 1000), 2, AV_SAMPLE_FMT_S16), converted);
    converter.append(*frameOf(Samples(500, 1000), 1, AV_SAMPLE_FMT_S16), converted);
    EXPECT_EQ(asSamples(converted).size(), 3000U);
}

TEST(AudioConverter, refuses_what_cannot_be_mixed) {
    AudioConverter converter(48000, 2);
    std::vector<std::byte> converted;
    EXPECT_THROW(converter.append(*frameOf(Samples(700, 1), 70, AV_SAMPLE_FMT_S16), converted),
                 PlatformException);
}

TEST(AudioConverter, has_nothing_to_finish_before_its_first_sound) {
    AudioConverter converter(48000, 2);
    std::vector<std::byte> converted;
    converter.finish(converted);
    EXPECT_TRUE(converted.empty());
}

} // namespace
} // namespace fw::libav
