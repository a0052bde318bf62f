#include "media/FWAVFoundation.h"
#include "media/MediaError.h"
#include "platform/libav/LibavAsset.h"
#include "tests/media/WaveformReference.h"
#include "tests/platform/libav/ReadSound.h"
#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace fw {
namespace {

using test::ReadSound;
using test::readSound;
using test::Samples;

using Arguments = std::vector<std::string>;
using Status = AssetReader::Status;

Samples noise(std::size_t count) {
    std::mt19937 random(static_cast<unsigned>(count));
    Samples samples(count);
    for (std::int16_t& sample : samples) {
        sample = static_cast<std::int16_t>(random());
    }
    return samples;
}

/// A tone that rises, so that it fits itself at one place only.
Samples risingTone(std::size_t frames, std::size_t channels) {
    Samples samples;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double seconds = static_cast<double>(frame) / 48000;
        const double phase = 2 * std::numbers::pi * (300 + 400 * seconds) * seconds;
        samples.insert(samples.end(), channels,
                       static_cast<std::int16_t>(std::lround(9000 * std::sin(phase))));
    }
    return samples;
}

/// The root of the mean square of the differences.
double distance(const Samples& a, const Samples& b) {
    double sum = 0;
    const std::size_t count = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < count; ++i) {
        sum += std::pow(static_cast<double>(a[i]) - b[i], 2);
    }
    return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(count, 1)));
}

std::string words(const std::optional<Error>& error) {
    return error ? error->description : "no error";
}

class Audio : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.file(name); }

    /// Codes raw samples of a format ("s16le", ...) with ffmpeg.
    template <typename Sample>
    std::string code(const std::string& name, const std::vector<Sample>& samples,
                     const std::string& format, int channels, const Arguments& codec,
                     int rate = 48000) const {
        const std::string raw = path("samples.raw");
        test::writeText(
            raw, {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(Sample)});
        Arguments arguments = {
            "-f", format, "-ar", std::to_string(rate), "-ac", std::to_string(channels), "-i", raw};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(path(name));
        test::runFfmpeg(arguments);
        return path(name);
    }
    std::string code16(const std::string& name, const Samples& samples, int channels,
                       const Arguments& codec, int rate = 48000) const {
        return code(name, samples, "s16le", channels, codec, rate);
    }
    void expectSound(const std::string& file, const Samples& expected) {
        const ReadSound sound = readSound(*openLibavAsset(file));
        EXPECT_EQ(sound.status, Status::kCompleted) << file << words(sound.error);
        const Samples found = sound.samples();
        EXPECT_EQ(found.size(), expected.size()) << file;
        const auto apart =
            std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
        EXPECT_TRUE(found == expected)
            << file << " from sample " << apart.first - found.begin() << " on";
    }

    test::TemporaryFolder folder_;
};

struct Container {
    const char* name;
    Arguments codec;
};

TEST_F(Audio, of16BitsIsExactInEveryContainer) {
    const std::vector<Container> containers = {
        {"a.wav", {"-c:a", "pcm_s16le"}},  {"le.mov", {"-c:a", "pcm_s16le"}},
        {"be.mov", {"-c:a", "pcm_s16be"}}, {"a.aiff", {"-c:a", "pcm_s16be"}},
        {"a.caf", {"-c:a", "pcm_s16le"}},  {"a.mkv", {"-c:a", "pcm_s16le"}},
        {"a.avi", {"-c:a", "pcm_s16le"}},  {"a.flac", {"-c:a", "flac"}},
        {"flac.mkv", {"-c:a", "flac"}},    {"a.m4a", {"-c:a", "alac"}},
        {"a.mov", {"-c:a", "alac"}},
    };
    for (const int channels : {1, 2, 6}) {
        const Samples samples = noise(20011 * static_cast<std::size_t>(channels));
        for (const Container& container : containers) {
            SCOPED_TRACE(channels);
            expectSound(code16(container.name, samples, channels, container.codec), samples);
        }
    }
}

TEST_F(Audio, ofWiderIntegersLosesItsLowBits) {
    std::mt19937 random(3);
    std::vector<std::int32_t> samples(30000);
    Samples expected;
    for (std::int32_t& sample : samples) {
        sample = static_cast<std::int32_t>(random());
        expected.push_back(static_cast<std::int16_t>(sample >> 16));
    }
    for (const Container& container : std::vector<Container>{
             {"24.wav", {"-c:a", "pcm_s24le"}},
             {"24.mov", {"-c:a", "pcm_s24be"}},
             {"32.wav", {"-c:a", "pcm_s32le"}},
             {"32.mov", {"-c:a", "pcm_s32be"}},
             {"24.flac", {"-c:a", "flac", "-sample_fmt", "s32", "-bits_per_raw_sample", "24"}},
             {"24.m4a", {"-c:a", "alac", "-sample_fmt", "s32p", "-bits_per_raw_sample", "24"}}}) {
        expectSound(code(container.name, samples, "s32le", 2, container.codec), expected);
    }
}

TEST_F(Audio, of8BitsBecomesTheHighByte) {
    std::vector<std::uint8_t> samples;
    Samples expected;
    for (int i = 0; i < 25600; ++i) {
        samples.push_back(static_cast<std::uint8_t>(i % 256));
        expected.push_back(static_cast<std::int16_t>((i % 256 - 128) * 256));
    }
    expectSound(code("8.wav", samples, "u8", 1, {"-c:a", "pcm_u8"}), expected);
    expectSound(code("8.mov", samples, "u8", 2, {"-c:a", "pcm_u8"}), expected);
}

TEST_F(Audio, ofFloatingPointIsRoundedAndHeldAtTheEndsOfTheRange) {
    std::vector<float> samples = {0,
                                  1,
                                  -1,
                                  2,
                                  -2,
                                  60000,
                                  -60000,
                                  0.5F / 32768,
                                  1.5F / 32768,
                                  -0.5F / 32768,
                                  -1.5F / 32768,
                                  32767.4F / 32768};
    Samples expected = {0, 32767, -32768, 32767, -32768, 32767, -32768, 0, 2, 0, -2, 32767};
    std::mt19937 random(4);
    while (samples.size() < 20000) {
        const auto whole = static_cast<std::int16_t>(random());
        samples.push_back(static_cast<float>(whole) / 32768);
        expected.push_back(whole);
    }
    expectSound(code("f.wav", samples, "f32le", 1, {"-c:a", "pcm_f32le"}), expected);
    expectSound(code("f.mov", samples, "f32le", 2, {"-c:a", "pcm_f32be"}), expected);
    expectSound(code("d.wav", samples, "f32le", 2, {"-c:a", "pcm_f64le"}), expected);
}

TEST_F(Audio, ofCodersThatLoseSomethingStartsAndEndsWithTheSound) {
    struct Coded {
        const char* name;
        Arguments codec;
        std::int64_t mostExtraFrames; ///< 0 where the container states the end.
    };
    for (const Coded& coded : std::vector<Coded>{{"a.mp4", {"-c:a", "aac"}, 0},
                                                 {"a.mov", {"-c:a", "aac"}, 0},
                                                 {"a.mp3", {"-c:a", "libmp3lame"}, 0},
                                                 {"opus.mp4", {"-c:a", "libopus"}, 0},
                                                 {"opus.ogg", {"-c:a", "libopus"}, 0},
                                                 {"opus.mkv", {"-c:a", "libopus"}, 0},
                                                 {"vorbis.mkv", {"-c:a", "libvorbis"}, 1024},
                                                 {"ac3.mov", {"-c:a", "ac3"}, 1536}}) {
        for (const int channels : {1, 2}) {
            SCOPED_TRACE(std::string(coded.name) + " " + std::to_string(channels));
            const Samples tone = risingTone(48000, static_cast<std::size_t>(channels));
            Arguments codec = coded.codec;
            codec.insert(codec.end(), {"-b:a", "192k"});
            const ReadSound sound =
                readSound(*openLibavAsset(code16(coded.name, tone, channels, codec)));
            EXPECT_EQ(sound.status, Status::kCompleted) << words(sound.error);
            const Samples found = sound.samples();
            const auto frames = static_cast<std::int64_t>(found.size()) / channels;
            EXPECT_GE(frames, 48000);
            EXPECT_LE(frames, 48000 + coded.mostExtraFrames);
            EXPECT_LT(distance(found, tone), 500) << "a shift of one sample is about 560";
        }
    }
}

TEST_F(Audio, hasTheRateAndTheChannelsOfItsTrack) {
    for (const int rate : {8000, 11025, 22050, 44100, 96000, 192000}) {
        const Samples samples = noise(9000);
        const auto file = code16("a.wav", samples, 2, {"-c:a", "pcm_s16le"}, rate);
        const auto stream =
            openLibavAsset(file)->firstTrack(MediaType::kAudio)->formatDescriptions[0].audioStream;
        ASSERT_TRUE(stream);
        EXPECT_EQ(stream->sampleRate, rate);
        EXPECT_EQ(stream->channelsPerFrame, 2U);
        expectSound(file, samples);
    }
}

TEST_F(Audio, ofManyChannelsKeepsThemAllInTheirOrder) {
    for (const int channels : {3, 4, 5, 7, 8, 10, 17, 64, 65, 200}) {
        SCOPED_TRACE(channels);
        const Samples samples = noise(3000 * static_cast<std::size_t>(channels));
        expectSound(code16("a.wav", samples, channels, {"-c:a", "pcm_s16le"}), samples);
    }
}

TEST_F(Audio, ofSeveralTracksIsThatOfTheFirst) {
    const Samples first = noise(9000);
    const Samples second = noise(9002);
    const auto a = code16("a.wav", first, 1, {"-c:a", "pcm_s16le"});
    const auto b = code16("b.wav", second, 1, {"-c:a", "pcm_s16le"});
    const auto movie = path("two.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "color=s=64x48:d=1", "-i", b, "-i", a, "-map", "0",
                     "-map", "1", "-map", "2", "-c:v", "mjpeg", "-c:a", "copy", movie});
    EXPECT_EQ(openLibavAsset(movie)->tracksWithMediaType(MediaType::kAudio).size(), 2U);
    expectSound(movie, second);
}

TEST_F(Audio, buffersFollowEachOtherWithoutGap) {
    for (const char* name : {"a.mkv", "a.mov", "a.flv"}) {
        const auto file = code16(name, risingTone(48000, 2), 2, {"-c:a", "aac"});
        const ReadSound sound = readSound(*openLibavAsset(file));
        ASSERT_GT(sound.buffers.size(), 10U);
        std::int64_t frames = 0;
        for (std::size_t i = 0; i < sound.buffers.size(); ++i) {
            EXPECT_EQ(sound.times[i], MediaTime::make(frames, 48000)) << name;
            EXPECT_FALSE(sound.buffers[i].empty());
            frames += static_cast<std::int64_t>(sound.buffers[i].size() / 2);
        }
    }
}

TEST_F(Audio, isCutToTheRangeSampleBySample) {
    const Samples samples = noise(48000);
    for (const char* codec : {"pcm_s16le", "flac"}) {
        const auto asset = openLibavAsset(code16("a.mkv", samples, 1, {"-c:a", codec}));
        const auto part = [&](MediaTime start, MediaTime length) {
            return readSound(*asset, MediaTimeRange{start, length});
        };
        const auto expected = [&](std::size_t from, std::size_t to) {
            return Samples(samples.begin() + static_cast<std::ptrdiff_t>(from),
                           samples.begin() + static_cast<std::ptrdiff_t>(to));
        };
        const ReadSound middle = part(MediaTime::make(12345, 48000), MediaTime::make(1000, 48000));
        EXPECT_EQ(middle.samples(), expected(12345, 13345));
        EXPECT_EQ(middle.times.front(), MediaTime::make(12345, 48000));
        EXPECT_EQ(middle.status, Status::kCompleted);
        // Between two samples: those at or after the start, and before the end.
        EXPECT_EQ(part(MediaTime::make(1, 96000), MediaTime::make(4, 96000)).samples(),
                  expected(1, 3));
        EXPECT_EQ(part(MediaTime::make(-5, 1), MediaTime::make(6, 1)).samples(), samples);
        EXPECT_EQ(part(MediaTime::make(1, 2), MediaTime::positiveInfinity()).samples(),
                  expected(24000, 48000));
        EXPECT_TRUE(part(MediaTime::make(1, 2), MediaTime::zero()).samples().empty());
        EXPECT_TRUE(part(MediaTime::make(9, 1), MediaTime::make(1, 1)).samples().empty());
    }
}

TEST_F(Audio, isCutByTheEditListOfTheMovie) {
    const Samples samples = noise(96000);
    const auto whole = code16("whole.mov", samples, 1, {"-c:a", "pcm_s16le"});
    const auto movie = path("edited.mov");
    test::runFfmpeg({"-ss", "0.5", "-i", whole, "-t", "1", "-c", "copy", movie});
    const Samples found = readSound(*openLibavAsset(movie)).samples();
    ASSERT_GE(found.size(), 47000U);
    ASSERT_LE(found.size(), 49500U);
    EXPECT_NE(std::search(samples.begin(), samples.end(), found.begin(), found.end()),
              samples.end());
}

TEST_F(Audio, startsAtZeroWhereTheClockOfTheContainerDoesNot) {
    const auto file = code16("a.ts", risingTone(48000, 2), 2, {"-c:a", "mp2"});
    const ReadSound sound = readSound(*openLibavAsset(file));
    EXPECT_EQ(sound.status, Status::kCompleted) << words(sound.error);
    ASSERT_FALSE(sound.times.empty());
    EXPECT_EQ(sound.times.front(), MediaTime::zero());
}

TEST_F(Audio, isAbsentInAMovieOfPicturesAlone) {
    const auto movie = path("mute.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "color=s=64x48:d=1", "-timecode", "01:00:00:00", "-c:v",
                     "mjpeg", movie});
    const auto asset = openLibavAsset(movie);
    ASSERT_NE(asset->firstTrack(MediaType::kVideo), nullptr);
    ASSERT_NE(asset->firstTrack(MediaType::kTimecode), nullptr);
    EXPECT_FALSE(FWAVFoundation::waveformDataForAsset(*asset));
}

TEST_F(Audio, thatWasCutOffFailsAfterWhatIsThere) {
    const Samples samples = noise(96000);
    for (const Container& container :
         std::vector<Container>{{"a.mov", {"-c:a", "pcm_s16le", "-movflags", "faststart"}},
                                {"a.m4a", {"-c:a", "alac", "-movflags", "faststart"}},
                                {"a.flac", {"-c:a", "flac"}},
                                {"a.wav", {"-c:a", "pcm_s16le"}},
                                {"a.aiff", {"-c:a", "pcm_s16be"}},
                                {"a.mkv", {"-c:a", "flac"}}}) {
        SCOPED_TRACE(container.name);
        const auto file = code16(container.name, samples, 1, container.codec);
        std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
        const auto asset = openLibavAsset(file);
        const ReadSound sound = readSound(*asset);
        const Samples found = sound.samples();
        EXPECT_EQ(sound.status, Status::kFailed);
        ASSERT_GT(found.size(), 20000U);
        EXPECT_TRUE(std::equal(found.begin(), found.begin() + 20000, samples.begin()));
        float maximum = 5;
        EXPECT_FALSE(FWAVFoundation::waveformDataForAsset(*asset, &maximum));
        EXPECT_EQ(maximum, 5);
    }
}

TEST_F(Audio, thatIsDamagedFailsAndKeepsWhatStillDecodes) {
    const auto file = code16("a.flac", noise(200000), 2, {"-c:a", "flac"});
    std::string bytes = test::readText(file);
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 3000, '\x55');
    test::writeText(file, bytes);
    const ReadSound sound = readSound(*openLibavAsset(file));
    EXPECT_EQ(sound.status, Status::kFailed);
    EXPECT_GT(sound.samples().size(), 150000U);
}

TEST_F(Audio, ofWhichNothingOrNoStartDecodesHasNoWaveform) {
    const auto file = code16("a.m4a", risingTone(96000, 1), 1, {"-c:a", "aac"});
    for (const char* damage : {"noise=amount=1", "noise=amount='lt(n,45)'"}) {
        for (const char* name : {"damaged.m4a", "damaged.mkv"}) {
            SCOPED_TRACE(std::string(damage) + " " + name);
            test::runFfmpeg({"-i", file, "-c", "copy", "-bsf:a", damage, path(name)});
            const auto asset = openLibavAsset(path(name));
            const ReadSound sound = readSound(*asset);
            EXPECT_EQ(sound.status, Status::kFailed);
            ASSERT_TRUE(sound.error);
            EXPECT_EQ(sound.error->code, static_cast<std::int64_t>(MediaErrorCode::kDamagedSound));
            float maximum = 5;
            EXPECT_FALSE(FWAVFoundation::waveformDataForAsset(*asset, &maximum));
            EXPECT_EQ(maximum, 5);
            std::filesystem::remove(path(name));
        }
    }
}

/// The first pieces of MP3 may borrow from pieces before them.
TEST_F(Audio, thatWasCutOutOfALongerOneIsWhole) {
    const auto file = code16("a.mp3", risingTone(96000, 1), 1, {"-c:a", "libmp3lame"});
    const std::string bytes = test::readText(file);
    test::writeText(path("cut.mp3"), bytes.substr(bytes.size() / 2));
    const ReadSound sound = readSound(*openLibavAsset(path("cut.mp3")));
    EXPECT_EQ(sound.status, Status::kCompleted) << words(sound.error);
    EXPECT_GT(sound.samples().size(), 40000U);
}

TEST_F(Audio, withoutASampleGivesAnEmptyWaveform) {
    const std::string file = path("empty.wav");
    test::runFfmpeg({"-f", "lavfi", "-i", "anullsrc", "-t", "0", "-c:a", "pcm_s16le", file});
    const auto asset = openLibavAsset(file);
    expectSound(file, {});
    float maximum = 5;
    const auto waveform = FWAVFoundation::waveformDataForAsset(*asset, &maximum);
    ASSERT_TRUE(waveform);
    EXPECT_TRUE(waveform->empty());
    EXPECT_EQ(maximum, -90);
}

TEST_F(Audio, isNotReadWithOtherSettingsNorPicturesAsSound) {
    const std::string movie = path("both.mov");
    test::runFfmpeg({"-f", "lavfi", "-i", "color=s=64x48:d=1", "-f", "lavfi", "-i", "sine=d=1",
                     "-c:v", "mjpeg", "-c:a", "pcm_s16le", movie});
    const auto asset = openLibavAsset(movie);
    const auto startsWith = [&](MediaType type, const OutputSettings& settings) {
        const auto reader = asset->makeReader().value();
        reader->addOutput(*asset->firstTrack(type), settings);
        return reader->startReading();
    };
    EXPECT_TRUE(startsWith(MediaType::kAudio, AudioSamples{}));
    EXPECT_FALSE(startsWith(MediaType::kAudio, VideoFrames{}));
    EXPECT_FALSE(startsWith(MediaType::kAudio, NativeSamples{}));
    EXPECT_FALSE(startsWith(MediaType::kVideo, AudioSamples{}));
}

TEST_F(Audio, isReadNoFurtherAfterCancelling) {
    const auto asset = openLibavAsset(code16("a.wav", noise(48000), 1, {"-c:a", "pcm_s16le"}));
    const auto reader = asset->makeReader().value();
    reader->addOutput(*asset->firstTrack(MediaType::kAudio), AudioSamples{});
    ASSERT_TRUE(reader->startReading());
    ASSERT_TRUE(reader->copyNextSampleBuffer());
    reader->cancelReading();
    EXPECT_EQ(reader->status(), Status::kCancelled);
    EXPECT_FALSE(reader->copyNextSampleBuffer());
}

TEST_F(Audio, givesTheWaveformOfItsBuffers) {
    for (const int channels : {1, 2, 6}) {
        const Samples samples = noise(96000 * static_cast<std::size_t>(channels));
        const auto asset =
            openLibavAsset(code16("a.mov", samples, channels, {"-c:a", "pcm_s24le"}));
        const auto expected = test::plainWaveform(readSound(*asset).buffers, 48000,
                                                  static_cast<std::uint32_t>(channels));
        float maximum = 0;
        const auto waveform = FWAVFoundation::waveformDataForAsset(*asset, &maximum);
        ASSERT_TRUE(waveform);
        std::vector<float> points(waveform->size() / sizeof(float));
        std::memcpy(points.data(), waveform->data(), waveform->size());
        EXPECT_EQ(points, expected.points);
        EXPECT_EQ(points.size(), channels == 1 || channels == 2 ? 99U : expected.points.size());
        EXPECT_EQ(maximum, expected.maximum);
    }
}

} // namespace
} // namespace fw
