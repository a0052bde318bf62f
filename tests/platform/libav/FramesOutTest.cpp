#include "media/FrameNumber.h"
#include "platform/libav/LibavAsset.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <numeric>
#include <ostream>

namespace fw {
namespace {

using test::makeNumberedMovie;
using test::readFrameNumber;
using test::TemporaryFolder;

struct MovieKind {
    std::string name;
    std::string extension;
    std::string rate;
    int frames;
    std::vector<std::string> codec;

    friend std::ostream& operator<<(std::ostream& out, const MovieKind& kind) {
        return out << kind.name;
    }
};

struct Read {
    std::vector<int> pictures;              ///< The number drawn into each frame.
    std::vector<std::int64_t> frameNumbers; ///< By time and nominal rate.
    AssetReader::Status status = AssetReader::Status::kUnknown;
    std::optional<Error> error;
};

Read readAll(const Asset& asset, std::optional<MediaTimeRange> range = std::nullopt,
             PixelLayout layout = PixelLayout::k2vuy) {
    Read result;
    const Track& track = *asset.firstTrack(MediaType::kVideo);
    auto made = asset.makeReader();
    AssetReader& reader = *made.value();
    if (range) {
        reader.setTimeRange(*range);
    }
    reader.addOutput(track, VideoFrames{layout});
    reader.startReading();
    while (reader.status() == AssetReader::Status::kReading) {
        if (const auto sample = reader.copyNextSampleBuffer()) {
            result.pictures.push_back(readFrameNumber(*sample->imageBuffer, layout));
            result.frameNumbers.push_back(
                frameNumberAtTime(sample->presentationTime, track.nominalFrameRate));
        }
    }
    result.status = reader.status();
    result.error = reader.error();
    return result;
}

std::vector<int> firstNumbers(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

std::string describe(const std::optional<Error>& error) {
    return error ? error->description : "no error";
}

class EveryKindOfMovie : public testing::TestWithParam<MovieKind> {};

TEST_P(EveryKindOfMovie, givesEveryCodedFrameOnceAtEveryThreadCount) {
    const MovieKind& kind = GetParam();
    const TemporaryFolder folder;
    const std::string path = folder.file("movie." + kind.extension);
    makeNumberedMovie(path, kind.frames, kind.rate, kind.codec);
    const auto expected = firstNumbers(kind.frames);
    for (const int threads : {1, 4, 16}) {
        const auto asset = openLibavAsset(path, {threads});
        ASSERT_TRUE(asset->isPlayable()) << describe(asset->error());
        ASSERT_TRUE(asset->isReadable()) << describe(asset->error());
        const Read read = readAll(*asset);
        EXPECT_EQ(read.pictures, expected) << threads << " threads";
        EXPECT_EQ(read.frameNumbers, std::vector<std::int64_t>(expected.begin(), expected.end()))
            << threads << " threads";
        EXPECT_EQ(read.status, AssetReader::Status::kCompleted) << describe(read.error);
    }
}

TEST_P(EveryKindOfMovie, endsNoFrameBeforeItsDuration) {
    const MovieKind& kind = GetParam();
    const TemporaryFolder folder;
    const std::string path = folder.file("movie." + kind.extension);
    makeNumberedMovie(path, kind.frames, kind.rate, kind.codec);
    const auto asset = openLibavAsset(path);
    const Read read = readAll(*asset, MediaTimeRange{MediaTime::zero(), asset->duration()});
    EXPECT_EQ(read.pictures, firstNumbers(kind.frames));
}

TEST_P(EveryKindOfMovie, startsExactlyAtTheWantedFrame) {
    const MovieKind& kind = GetParam();
    const TemporaryFolder folder;
    const std::string path = folder.file("movie." + kind.extension);
    makeNumberedMovie(path, kind.frames, kind.rate, kind.codec);
    const auto asset = openLibavAsset(path, {2});
    const FrameRate rate = asset->firstTrack(MediaType::kVideo)->frameRate;
    const auto timeOf = [&](int frame) {
        return MediaTime::make(frame * rate.denominator, static_cast<std::int32_t>(rate.numerator));
    };
    const bool hasLongGops = kind.name.find("Gop") != std::string::npos;
    const int step = hasLongGops ? 1 : 5;
    for (int start = 0; start < kind.frames; start += step) {
        const int end = std::min(start + 3, kind.frames);
        const Read read =
            readAll(*asset, MediaTimeRange{timeOf(start), timeOf(end) - timeOf(start)});
        std::vector<int> expected(static_cast<std::size_t>(end - start));
        std::iota(expected.begin(), expected.end(), start);
        ASSERT_EQ(read.pictures, expected) << "from frame " << start;
        ASSERT_EQ(read.status, AssetReader::Status::kCompleted) << describe(read.error);
    }
}

TEST(ProgramStream, OfManySecondsStartsExactlyAtTheWantedFrame) {
    const TemporaryFolder folder;
    const std::string path = folder.file("movie.mpg");
    makeNumberedMovie(path, 700, "25:1", {"-c:v", "mpeg2video", "-bf", "2", "-q:v", "2"}, 320, 192);
    const auto asset = openLibavAsset(path, {2});
    const Read whole = readAll(*asset);
    ASSERT_EQ(whole.pictures, firstNumbers(700));
    for (int start = 1; start < 700; start += 23) {
        // The encoder stamps some frames with a neighbour's time: what counts is that a range
        // gives the frames that have a time in it when all are read.
        std::vector<int> expected;
        for (std::size_t frame = 0; frame < whole.pictures.size(); ++frame) {
            if (whole.frameNumbers[frame] >= start && whole.frameNumbers[frame] < start + 2) {
                expected.push_back(whole.pictures[frame]);
            }
        }
        const Read read =
            readAll(*asset, MediaTimeRange{MediaTime::make(start, 25), MediaTime::make(2, 25)});
        ASSERT_EQ(read.pictures, expected) << "from frame " << start;
    }
}

/// The decoder relies on few pictures by then, and holds back those that it does not rely on.
TEST(H264, WhoseLastKeyFrameIsNearItsEndLosesNothingOfARangeThatBeginsThere) {
    const TemporaryFolder folder;
    const std::string path = folder.file("movie.mp4");
    for (int frames = 41; frames <= 47; ++frames) {
        makeNumberedMovie(
            path, frames, "25:1",
            {"-c:v", "libx264", "-bf", "3", "-x264-params", "open-gop=1:keyint=20:scenecut=0"});
        for (const int threads : {1, 4}) {
            const auto asset = openLibavAsset(path, {threads});
            for (int start = 38; start < frames; ++start) {
                const Read read =
                    readAll(*asset, MediaTimeRange{MediaTime::make(start, 25),
                                                   MediaTime::make(frames - start, 25)});
                std::vector<int> expected(static_cast<std::size_t>(frames - start));
                std::iota(expected.begin(), expected.end(), start);
                ASSERT_EQ(read.pictures, expected) << start << " of " << frames;
                ASSERT_EQ(read.status, AssetReader::Status::kCompleted) << describe(read.error);
            }
        }
    }
}

/// Cut so that pictures stand first which refer to some that are not there.
TEST(H264, WhoseStartWasCutOffGivesNothingOfBeforeItsFirstKeyFrame) {
    const TemporaryFolder folder;
    makeNumberedMovie(
        folder.file("whole.ts"), 45, "25:1",
        {"-c:v", "libx264", "-bf", "3", "-x264-params", "open-gop=1:keyint=40:scenecut=0"});
    std::ifstream whole(folder.file("whole.ts"), std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(whole), {}};
    constexpr std::size_t kPacket = 188;
    // The tables stand again before the last key frame, at the latest.
    bytes.erase(kPacket * 3, bytes.size() / kPacket / 2 * kPacket);
    std::ofstream(folder.file("cut.ts"), std::ios::binary) << bytes;
    const auto asset = openLibavAsset(folder.file("cut.ts"));
    const Read read = readAll(*asset);
    EXPECT_EQ(read.pictures, (std::vector<int>{40, 41, 42, 43, 44}));
}

const std::vector<MovieKind> kKinds = {
    {"h264LongGopMp4", "mp4", "25:1", 100, {"-c:v", "libx264", "-g", "40", "-bf", "3"}},
    {"h264OpenGopMp4",
     "mp4",
     "30000:1001",
     100,
     {"-c:v", "libx264", "-bf", "3", "-x264-params", "open-gop=1:keyint=20:scenecut=0"}},
    {"hevcOpenGopMov",
     "mov",
     "24000:1001",
     80,
     {"-c:v", "libx265", "-tag:v", "hvc1", "-x265-params",
      "open-gop=1:keyint=20:min-keyint=20:bframes=4:log-level=none"}},
    {"h264Mkv", "mkv", "60000:1001", 100, {"-c:v", "libx264", "-g", "30", "-bf", "2"}},
    {"h264Flv", "flv", "30000:1001", 60, {"-c:v", "libx264", "-g", "30", "-bf", "2"}},
    {"h264Avi", "avi", "25:1", 60, {"-c:v", "libx264", "-g", "30", "-bf", "2"}},
    {"h264Ts", "ts", "24000:1001", 60, {"-c:v", "libx264", "-g", "20", "-bf", "2"}},
    {"mpeg2OpenGopTs", "ts", "30000:1001", 60, {"-c:v", "mpeg2video", "-g", "15", "-bf", "2"}},
    {"mpeg2Ps", "mpg", "25:1", 60, {"-c:v", "mpeg2video", "-g", "12", "-bf", "2"}},
    // Many frames in one packet of the container: only the first of them has a time.
    {"mpeg2PsOfTinyFrames",
     "mpg",
     "25:1",
     100,
     {"-vf", "scale=64:48:flags=neighbor", "-c:v", "mpeg2video", "-bf", "2", "-f", "vob"}},
    {"mpeg1Ps",
     "mpg",
     "25:1",
     100,
     {"-vf", "scale=64:48:flags=neighbor", "-c:v", "mpeg1video", "-bf", "2"}},
    {"mpeg2OpenGopMxf", "mxf", "25:1", 60, {"-c:v", "mpeg2video", "-g", "12", "-bf", "2"}},
    {"dnxhrMxf",
     "mxf",
     "25:1",
     30,
     {"-vf", "scale=256:120", "-pix_fmt", "yuv422p", "-c:v", "dnxhd", "-profile:v", "dnxhr_sq"}},
    {"proresMov", "mov", "24000:1001", 60, {"-c:v", "prores_ks", "-profile:v", "2"}},
    {"prores4444Mov",
     "mov",
     "25:1",
     30,
     {"-c:v", "prores_ks", "-profile:v", "4", "-pix_fmt", "yuva444p10le"}},
    {"mjpegMov", "mov", "25:1", 30, {"-c:v", "mjpeg", "-q:v", "2", "-pix_fmt", "yuvj422p"}},
    {"ffv1Mkv", "mkv", "25:1", 30, {"-c:v", "ffv1", "-level", "3"}},
    {"v210Mov", "mov", "25:1", 30, {"-c:v", "v210", "-pix_fmt", "yuv422p10le"}},
    {"uncompressedMov", "mov", "25:1", 30, {"-c:v", "rawvideo", "-pix_fmt", "uyvy422"}},
    {"qtrleMov", "mov", "25:1", 30, {"-c:v", "qtrle", "-pix_fmt", "rgb24"}},
    {"pngMov", "mov", "25:1", 30, {"-c:v", "png", "-pix_fmt", "rgb24"}},
    {"vp8Webm", "webm", "30:1", 60, {"-c:v", "libvpx", "-b:v", "1M", "-g", "30"}},
    {"vp9Webm",
     "webm",
     "25:1",
     60,
     {"-c:v", "libvpx-vp9", "-b:v", "1M", "-g", "30", "-cpu-used", "8", "-deadline", "realtime"}},
    {"av1Mkv", "mkv", "25:1", 30, {"-c:v", "libaom-av1", "-cpu-used", "8", "-usage", "realtime"}},
    {"dvAvi",
     "avi",
     "25:1",
     25,
     {"-vf", "scale=720:576:flags=neighbor", "-pix_fmt", "yuv420p", "-c:v", "dvvideo"}},
    {"dvRaw",
     "dv",
     "25:1",
     25,
     {"-vf", "scale=720:576:flags=neighbor", "-pix_fmt", "yuv420p", "-c:v", "dvvideo"}},
    {"mpeg4Avi", "avi", "25:1", 60, {"-c:v", "mpeg4", "-q:v", "3", "-g", "20", "-bf", "2"}},
    {"theoraOgg", "ogv", "25:1", 60, {"-c:v", "libtheora", "-q:v", "7", "-g", "20"}},
    {"yuv4mpeg", "y4m", "25:1", 30, {"-pix_fmt", "yuv420p"}},
    {"h264FragmentedMp4",
     "mp4",
     "25:1",
     60,
     {"-c:v", "libx264", "-g", "20", "-bf", "0", "-movflags", "frag_keyframe+empty_moov"}},
    {"h264InterlacedMov",
     "mov",
     "25:1",
     60,
     {"-c:v", "libx264", "-g", "25", "-bf", "2", "-flags", "+ildct+ilme", "-x264-params", "tff=1"}},
};

INSTANTIATE_TEST_SUITE_P(Kinds, EveryKindOfMovie, testing::ValuesIn(kKinds),
                         [](const auto& kind) { return kind.param.name; });

} // namespace
} // namespace fw
