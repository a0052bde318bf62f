#include "media/FWAVFoundation.h"
#include "tests/media/WaveformReference.h"
#include "tests/support/SyntheticAsset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <span>

namespace fw {
namespace {

using test::Samples;
using test::SyntheticAsset;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kTrack = 3;
constexpr float kUntouched = 123.0F;

FormatDescription soundAt(double sampleRate, std::uint32_t channels) {
    FormatDescription format;
    format.mediaType = fourCC("soun");
    format.audioStream = AudioStreamDescription{sampleRate, channels};
    return format;
}

Track soundTrack(int id, std::vector<FormatDescription> formats) {
    Track track;
    track.id = id;
    track.mediaType = MediaType::kAudio;
    track.formatDescriptions = std::move(formats);
    return track;
}

test::SyntheticSample bufferOf(const Samples& samples) {
    test::SyntheticSample buffer;
    buffer.time = MediaTime::zero();
    const auto bytes = std::as_bytes(std::span(samples));
    buffer.data.assign(bytes.begin(), bytes.end());
    return buffer;
}

SyntheticAsset soundOf(const std::vector<FormatDescription>& formats,
                       const std::vector<Samples>& buffers) {
    SyntheticAsset asset;
    asset.tracks_ = {soundTrack(kTrack, formats)};
    for (const Samples& buffer : buffers) {
        asset.reading(kTrack).samples.push_back(bufferOf(buffer));
    }
    return asset;
}

std::vector<float> floatsOf(const std::vector<std::byte>& bytes) {
    std::vector<float> floats(bytes.size() / sizeof(float));
    for (std::size_t i = 0; i < floats.size(); ++i) {
        std::memcpy(&floats[i], bytes.data() + i * sizeof(float), sizeof(float));
    }
    return floats;
}

struct Outcome {
    std::optional<std::vector<float>> points;
    float maximum = kUntouched;
};

Outcome waveformOf(const Asset& asset) {
    Outcome outcome;
    if (const auto bytes = FWAVFoundation::waveformDataForAsset(asset, &outcome.maximum)) {
        EXPECT_EQ(bytes->size() % sizeof(float), 0U);
        outcome.points = floatsOf(*bytes);
    }
    return outcome;
}

void expectNothing(const Asset& asset) {
    const Outcome outcome = waveformOf(asset);
    EXPECT_FALSE(outcome.points);
    EXPECT_EQ(outcome.maximum, kUntouched);
    EXPECT_FALSE(FWAVFoundation::waveformDataForAsset(asset));
}

TEST(WaveformDataForAsset, of_a_second_of_mono_has_49_points) {
    const auto outcome = waveformOf(soundOf({soundAt(48000, 1)}, {Samples(48000, 1000)}));
    ASSERT_TRUE(outcome.points);
    EXPECT_THAT(*outcome.points, SizeIs(49));
    EXPECT_THAT(*outcome.points, Each(1000.0F));
    EXPECT_EQ(outcome.maximum, 1000.0F);
}

TEST(WaveformDataForAsset, is_the_same_without_the_maximum) {
    const SyntheticAsset asset = soundOf({soundAt(48000, 2)}, {Samples(96000, -77)});
    const auto bytes = FWAVFoundation::waveformDataForAsset(asset);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(floatsOf(*bytes), *waveformOf(asset).points);
    EXPECT_EQ(FWAVFoundation::waveformDataForAsset(asset, nullptr), bytes);
}

TEST(WaveformDataForAsset, asks_for_the_sound_of_the_first_sound_track) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}});
    asset.tracks_.insert(asset.tracks_.begin(), test::videoTrack(1, 25));
    asset.tracks_.push_back(soundTrack(9, {soundAt(50, 1)}));
    asset.reading(9).samples.push_back(bufferOf({8, 8}));
    EXPECT_THAT(*waveformOf(asset).points, ElementsAre(5));
    EXPECT_EQ(asset.log_.trackId, kTrack);
    EXPECT_TRUE(std::holds_alternative<AudioSamples>(*asset.log_.settings));
    EXPECT_FALSE(asset.log_.range);
    EXPECT_EQ(asset.log_.readersMade, 1);
}

TEST(WaveformDataForAsset, is_absent_without_sound) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25), test::timecodeTrack(2, 25, 1, 25, 0, fourCC("tmcd"))};
    expectNothing(asset);
    expectNothing(SyntheticAsset());
    EXPECT_EQ(asset.log_.readersMade, 0);
}

TEST(WaveformDataForAsset, is_absent_for_an_asset_that_is_not_readable) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}});
    asset.readable_ = false;
    expectNothing(asset);
    asset.readable_ = true;
    asset.url_ = AssetUrl{"https", "/a.mov"};
    expectNothing(asset);
    asset.url_ = AssetUrl{"file", "/a.m3u8"};
    expectNothing(asset);
    EXPECT_EQ(asset.log_.readersMade, 0);
}

TEST(WaveformDataForAsset, is_absent_when_there_are_no_channels) {
    expectNothing(soundOf({soundAt(48000, 0)}, {Samples(48000, 1)}));
    expectNothing(soundOf({soundAt(48000, 2), soundAt(48000, 0)}, {Samples(48000, 1)}));
}

TEST(WaveformDataForAsset, is_absent_when_the_reader_fails_midway) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}, {6, 6}});
    asset.reading(kTrack).finalError = Error{"test", 1, "broken"};
    expectNothing(asset);
}

TEST(WaveformDataForAsset, is_absent_when_the_reader_throws) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}, {6, 6}});
    asset.reading(kTrack).exceptionText = "gone";
    asset.reading(kTrack).exceptionIndex = 1;
    expectNothing(asset);
}

TEST(WaveformDataForAsset, is_absent_when_there_is_no_reader_or_it_does_not_start) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}});
    asset.reading(kTrack).creationError = Error{"test", 1, "none"};
    expectNothing(asset);
    asset.reading(kTrack).creationError.reset();
    asset.reading(kTrack).neverStarts = true;
    expectNothing(asset);
}

TEST(WaveformDataForAsset, is_empty_with_a_maximum_of_minus_90_when_the_sound_makes_no_point) {
    for (const std::vector<Samples>& buffers :
         {std::vector<Samples>{Samples(960, 9)}, std::vector<Samples>{}}) {
        const auto outcome = waveformOf(soundOf({soundAt(48000, 1)}, buffers));
        ASSERT_TRUE(outcome.points);
        EXPECT_THAT(*outcome.points, IsEmpty());
        EXPECT_EQ(outcome.maximum, -90.0F);
    }
}

TEST(WaveformDataForAsset, goes_on_when_a_reader_has_no_buffer_yet) {
    SyntheticAsset asset = soundOf({soundAt(50, 1)}, {{5, 5}, {}, {6, 6}});
    asset.reading(kTrack).emptyAnswers = 3;
    EXPECT_THAT(*waveformOf(asset).points, ElementsAre(5, 6));
}

TEST(WaveformDataForAsset, goes_by_the_last_description_that_tells_the_sampling) {
    FormatDescription silent;
    EXPECT_THAT(
        *waveformOf(soundOf({soundAt(9, 7), soundAt(50, 2), silent}, {{5, 0, 5, 0}})).points,
        ElementsAre(5));
}

TEST(WaveformDataForAsset, takes_mono_of_an_unknown_rate_without_a_description) {
    EXPECT_THAT(*waveformOf(soundOf({}, {{5, -6}})).points, ElementsAre(5, 6));
    EXPECT_THAT(*waveformOf(soundOf({FormatDescription()}, {{5, -6}})).points, ElementsAre(5, 6));
}

TEST(WaveformDataForAsset, cuts_the_rate_to_a_whole_number) {
    EXPECT_THAT(*waveformOf(soundOf({soundAt(50.999, 1)}, {{5, 5}})).points, ElementsAre(5));
}

TEST(WaveformDataForAsset, follows_the_rule_for_random_sound) {
    std::mt19937 random(5);
    for (const std::uint32_t channels : {1U, 2U, 3U, 6U}) {
        std::vector<Samples> buffers(60);
        for (Samples& buffer : buffers) {
            buffer.resize(channels * (random() % 3000));
            for (std::int16_t& sample : buffer) {
                sample = static_cast<std::int16_t>(static_cast<int>(random() % 40000) - 7000);
            }
        }
        const auto expected = test::plainWaveform(buffers, 44100, channels);
        const auto outcome = waveformOf(soundOf({soundAt(44100, channels)}, buffers));
        EXPECT_EQ(*outcome.points, expected.points);
        EXPECT_EQ(outcome.maximum, expected.maximum);
    }
}

} // namespace
} // namespace fw
