#include "media/WaveformBuilder.h"

#include "tests/media/WaveformReference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <span>

namespace fw {
namespace {

using test::Samples;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::int16_t kMost = 32767;
constexpr std::int16_t kLeast = -32768;

std::vector<float> pointsOf(const WaveformBuilder& waveform) {
    std::vector<float> points(waveform.points().size() / sizeof(float));
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::memcpy(&points[i], waveform.points().data() + i * sizeof(float), sizeof(float));
    }
    return points;
}

void add(WaveformBuilder& waveform, const Samples& samples) {
    waveform.add(std::as_bytes(std::span(samples)));
}

std::vector<float> points(const std::vector<Samples>& buffers, double sampleRate,
                          std::uint32_t channels) {
    WaveformBuilder waveform(sampleRate, channels);
    for (const Samples& buffer : buffers) {
        add(waveform, buffer);
    }
    return pointsOf(waveform);
}

void expectAsByTheRule(const std::vector<Samples>& buffers, std::int64_t sampleRate,
                       std::uint32_t channels) {
    WaveformBuilder waveform(static_cast<double>(sampleRate), channels);
    for (const Samples& buffer : buffers) {
        add(waveform, buffer);
    }
    const auto expected = test::plainWaveform(buffers, sampleRate, channels);
    EXPECT_EQ(pointsOf(waveform), expected.points);
    EXPECT_EQ(waveform.maximum(), expected.maximum);
}

TEST(WaveformBuilder, takes_one_sample_more_for_each_point_than_a_fiftieth_of_a_second_on_purpose) {
    EXPECT_THAT(points({Samples(960, 1)}, 48000, 1), IsEmpty());
    EXPECT_THAT(points({Samples(961, 1)}, 48000, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(2 * 961 - 1, 1)}, 48000, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(2 * 961, 1)}, 48000, 1), SizeIs(2));
    EXPECT_THAT(points({Samples(48000, 1)}, 48000, 1), SizeIs(49));
    EXPECT_THAT(points({Samples(883, 1)}, 44100, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(882, 1)}, 44100, 1), IsEmpty());
}

TEST(WaveformBuilder, rounds_a_fiftieth_of_a_second_up_to_whole_samples) {
    EXPECT_THAT(points({Samples(222, 1)}, 11025, 1), SizeIs(1)); // 220.5
    EXPECT_THAT(points({Samples(221, 1)}, 11025, 1), IsEmpty());
    EXPECT_THAT(points({Samples(2, 1)}, 1, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(2, 1)}, 50, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(3, 1)}, 51, 1), SizeIs(1));
}

TEST(WaveformBuilder, cuts_the_rate_to_its_low_32_bits_of_a_whole_number) {
    EXPECT_THAT(points({Samples(2, 1)}, 50.9, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(2, 1)}, 4294967296.0 + 50, 1), SizeIs(1));
    EXPECT_THAT(points({Samples(100000, 1)}, -1, 1), IsEmpty()); // 4294967295.
}

TEST(WaveformBuilder, makes_each_sample_a_point_at_an_unknown_rate) {
    EXPECT_THAT(points({{5, -6, 7}}, 0, 1), ElementsAre(5, 6, 7));
    EXPECT_THAT(points({{5, -6, 7}}, std::numeric_limits<double>::quiet_NaN(), 1),
                ElementsAre(5, 6, 7));
}

TEST(WaveformBuilder, gives_the_size_of_the_mean) {
    EXPECT_THAT(points({Samples(48000, 1000)}, 48000, 1), Each(1000.0F));
    EXPECT_THAT(points({Samples(48000, -1000)}, 48000, 1), Each(1000.0F));
    EXPECT_THAT(points({Samples(961, kLeast)}, 48000, 1), ElementsAre(32768.0F));
    EXPECT_THAT(points({Samples(961, kMost)}, 48000, 1), SizeIs(1));
    EXPECT_THAT(points({{3, 4}}, 50, 1), ElementsAre(3.0F));   // 7 / 2, cut toward zero,
    EXPECT_THAT(points({{-3, -4}}, 50, 1), ElementsAre(3.0F)); // below zero, too.
}

TEST(WaveformBuilder, gives_points_near_zero_for_a_symmetric_wave_on_purpose) {
    Samples wave;
    for (int i = 0; i < 48000; ++i) {
        wave.push_back(i % 2 == 0 ? 20000 : -20000);
    }
    EXPECT_THAT(points({wave}, 48000, 1), Each(testing::Lt(21.0F)));
}

TEST(WaveformBuilder, knows_the_largest_point) {
    WaveformBuilder waveform(50, 1);
    EXPECT_EQ(waveform.maximum(), -90.0F);
    add(waveform, {1, 1});
    EXPECT_EQ(waveform.maximum(), 1.0F);
    add(waveform, {-9, -9, 4, 4});
    EXPECT_EQ(waveform.maximum(), 9.0F);
}

TEST(WaveformBuilder, has_zero_for_the_largest_point_of_silence) {
    WaveformBuilder waveform(50, 1);
    add(waveform, {0, 0});
    EXPECT_EQ(waveform.maximum(), 0.0F);
    EXPECT_THAT(pointsOf(waveform), ElementsAre(0.0F));
}

TEST(WaveformBuilder, takes_the_left_channel_of_stereo) {
    Samples stereo;
    for (int i = 0; i < 961; ++i) {
        stereo.push_back(700);
        stereo.push_back(-5000);
    }
    EXPECT_THAT(points({stereo}, 48000, 2), ElementsAre(700.0F));
}

TEST(WaveformBuilder, walks_the_first_part_of_each_buffer_of_more_channels_on_purpose) {
    // Three channels, four frames a buffer: the first four of twelve samples count.
    const Samples buffer = {1, 2, 3, 4, 90, 90, 90, 90, 90, 90, 90, 90};
    EXPECT_THAT(points({buffer, buffer}, 0, 3), ElementsAre(1, 2, 3, 4, 1, 2, 3, 4));
    EXPECT_THAT(points({Samples(65535, 1), {8, 9}}, 0, 65536), IsEmpty());
    EXPECT_THAT(points({Samples(65536, 7)}, 0, 65536), ElementsAre(7));
}

TEST(WaveformBuilder, carries_sums_from_buffer_to_buffer) {
    EXPECT_THAT(points({{10}, {20}, {30, 40}, {}, {50}, {70}}, 50, 1), ElementsAre(15, 35, 60));
}

TEST(WaveformBuilder, leaves_out_an_incomplete_frame_at_the_end_of_a_buffer) {
    WaveformBuilder waveform(0, 2);
    const Samples samples = {1, 2, 3, 4, 5};
    waveform.add(std::as_bytes(std::span(samples)));
    EXPECT_THAT(pointsOf(waveform), ElementsAre(1, 3));
    waveform.add(std::as_bytes(std::span(samples)).first(3));
    EXPECT_THAT(pointsOf(waveform), SizeIs(2));
}

TEST(WaveformBuilder, reads_samples_at_odd_addresses) {
    const Samples samples = {300, -300};
    std::vector<std::byte> bytes(1);
    const auto view = std::as_bytes(std::span(samples));
    bytes.insert(bytes.end(), view.begin(), view.end());
    WaveformBuilder waveform(0, 1);
    waveform.add(std::span(bytes).subspan(1));
    EXPECT_THAT(pointsOf(waveform), ElementsAre(300, 300));
}

TEST(WaveformBuilder, adds_in_single_precision_where_sums_pass_its_whole_numbers) {
    // 512 x -32768 = -2^24; from there single precision cannot go on in ones.
    Samples samples(512, kLeast);
    samples.insert(samples.end(), 789, -1);
    expectAsByTheRule({samples}, 65000, 1);
    std::int64_t exact = 0;
    for (const std::int16_t sample : samples) {
        exact += sample;
    }
    const auto single = points({samples}, 65000, 1);
    ASSERT_THAT(single, SizeIs(1));
    EXPECT_EQ(single[0], 12895.0F);
    EXPECT_EQ(exact / 1301, -12896);
}

TEST(WaveformBuilder, follows_the_rule_for_sums_around_the_limit_of_single_precision) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        Samples samples;
        std::int64_t sum = 0;
        const std::int64_t sign = round % 2 == 0 ? 1 : -1;
        for (int i = 0; i < 20000; ++i) {
            // Up to 2^24 in large steps, then small odd ones to and fro across it.
            const bool isBelow = sign * sum < (1 << 24) - 3;
            const auto small = static_cast<std::int64_t>(random() % 7);
            const std::int64_t step = !isBelow                         ? -small
                                      : (1 << 24) - sign * sum > 40000 ? 32767 - small
                                                                       : small;
            samples.push_back(static_cast<std::int16_t>(sign * step));
            sum += sign * step;
        }
        expectAsByTheRule({samples}, 48000 * (1 + round % 20), 1);
    }
}

TEST(WaveformBuilder, follows_the_rule_for_random_sound_in_random_buffers) {
    std::mt19937 random(11);
    const std::int64_t rates[] = {0, 1, 50, 8000, 11025, 44100, 48000, 96000, 192000, 384000};
    for (int round = 0; round < 600; ++round) {
        const auto channels = static_cast<std::uint32_t>(1 + random() % 8);
        const int kind = round % 4;
        std::vector<Samples> buffers(1 + random() % 12);
        for (Samples& buffer : buffers) {
            buffer.resize(random() % 9000);
            for (std::int16_t& sample : buffer) {
                const auto noise = static_cast<std::int16_t>(random());
                sample = kind == 0   ? noise
                         : kind == 1 ? static_cast<std::int16_t>(kLeast + (noise & 1))
                         : kind == 2 ? static_cast<std::int16_t>(kMost - (noise & 3))
                                     : static_cast<std::int16_t>(noise / 64);
            }
        }
        expectAsByTheRule(buffers, rates[random() % std::size(rates)], channels);
    }
}

} // namespace
} // namespace fw
