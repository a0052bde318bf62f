// What a movie says about itself: tracks, codec names, rates, counts, durations, start times.

#include "media/FWAVFoundation.h"
#include "platform/libav/LibavAsset.h"
#include "tests/platform/libav/ReadMovie.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fw {
namespace {

using test::makeNumberedMovie;
using test::ReadMovie;
using test::readMovie;
using test::runFfmpeg;
using test::TemporaryFolder;

class Tracks : public testing::Test {
protected:
    std::shared_ptr<const Asset> make(const std::string& name, int frames, const std::string& rate,
                                      const std::vector<std::string>& arguments, int width = 160,
                                      int height = 96) {
        makeNumberedMovie(folder_.file(name), frames, rate, arguments, width, height);
        return openLibavAsset(folder_.file(name));
    }
    /// A movie of a test picture and a tone.
    std::shared_ptr<const Asset> makeWithSound(const std::string& name,
                                               const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"-f", "lavfi", "-i", "testsrc2=s=160x96:r=25:d=2",
                                        "-f", "lavfi", "-i", "sine=d=2:r=48000"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        all.push_back(folder_.file(name));
        runFfmpeg(all);
        return openLibavAsset(folder_.file(name));
    }
    /// Each once, in the range that is the whole movie.
    static void expectEveryFrame(const Asset& asset, int frames) {
        const ReadMovie movie = readMovie(asset, PixelLayout::k2vuy,
                                          MediaTimeRange{MediaTime::zero(), asset.duration()});
        ASSERT_EQ(movie.frames.size(), static_cast<std::size_t>(frames));
        for (int frame = 0; frame < frames; ++frame) {
            EXPECT_EQ(movie.frames[static_cast<std::size_t>(frame)].number, frame);
        }
        EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
    }
    static std::string videoCodec(const Asset& asset) {
        return FWAVFoundation::codecNameForTrack(*asset.firstTrack(MediaType::kVideo))
            .value_or("no name");
    }
    static std::string videoCode(const Asset& asset) {
        return FWAVFoundation::fourCCString(
            FWAVFoundation::fourCCForTrack(*asset.firstTrack(MediaType::kVideo)));
    }

    TemporaryFolder folder_;
};

TEST_F(Tracks, nameH264AsQuotedAvc1InEveryContainer) {
    EXPECT_EQ(videoCodec(*make("a.mp4", 5, "25:1", {"-c:v", "libx264"})), "H.264 (avc1)");
    EXPECT_EQ(videoCodec(*make("a.mkv", 5, "25:1", {"-c:v", "libx264"})), "H.264 (avc1)");
    EXPECT_EQ(videoCodec(*make("a.ts", 5, "25:1", {"-c:v", "libx264"})), "H.264 (avc1)");
}

TEST_F(Tracks, nameHevc) {
    const auto asset =
        make("a.mov", 5, "25:1",
             {"-c:v", "libx265", "-tag:v", "hvc1", "-x265-params", "log-level=none"});
    EXPECT_EQ(videoCodec(*asset), "H.265 / HEVC");
    EXPECT_EQ(videoCode(*asset), "hvc1");
}

TEST_F(Tracks, nameProRes4444XqByItsCode) {
    make("a.mov", 5, "25:1", {"-c:v", "prores_ks", "-profile:v", "5", "-pix_fmt", "yuv444p10le"});
    const auto asset = openLibavAsset(folder_.file("a.mov"));
    EXPECT_EQ(videoCode(*asset), "ap4x");
    EXPECT_EQ(videoCodec(*asset), "ProRes 4444 XQ");
}

TEST_F(Tracks, nameOtherCodecsByTheCompressorNameOfTheirSampleEntry) {
    const auto asset = make("a.mov", 5, "25:1", {"-c:v", "mjpeg", "-pix_fmt", "yuvj422p"});
    EXPECT_EQ(videoCode(*asset), "jpeg");
    EXPECT_NE(videoCodec(*asset).find("mjpeg"), std::string::npos) << videoCodec(*asset);
}

TEST_F(Tracks, nameOtherCodecsByTheirQuotedCodeWhereThereIsNoCompressorName) {
    EXPECT_EQ(videoCodec(*make("a.mxf", 12, "25:1", {"-c:v", "mpeg2video"})), "'m2v1'");
}

TEST_F(Tracks, nameSoundByItsFormatIdentifier) {
    const auto name = [](const Asset& asset) {
        return FWAVFoundation::codecNameForTrack(*asset.firstTrack(MediaType::kAudio)).value();
    };
    EXPECT_EQ(name(*makeWithSound("a.mov", {"-c:a", "pcm_s24le"})), "Linear PCM");
    EXPECT_EQ(name(*makeWithSound("b.mov", {"-c:a", "pcm_s16be"})), "Linear PCM");
    EXPECT_EQ(name(*makeWithSound("a.mp4", {"-c:a", "aac"})), "aac");
    EXPECT_EQ(name(*makeWithSound("a.mkv", {"-c:a", "ac3"})), "ac-3");
}

TEST_F(Tracks, tellSizeDepthAndCountOfFrames) {
    const auto eight = make("a.mp4", 17, "25:1", {"-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const Track& track = *eight->firstTrack(MediaType::kVideo);
    EXPECT_EQ(track.width, 160U);
    EXPECT_EQ(track.height, 96U);
    EXPECT_EQ(track.bitsPerComponent, 8);
    EXPECT_EQ(track.frameCount, 17);
    const auto ten = make("b.mov", 5, "25:1", {"-c:v", "prores_ks", "-pix_fmt", "yuv422p10le"});
    EXPECT_EQ(ten->firstTrack(MediaType::kVideo)->bitsPerComponent, 10);
    EXPECT_EQ(
        make("c.avi", 9, "25:1", {"-c:v", "mjpeg"})->firstTrack(MediaType::kVideo)->frameCount, 9);
    EXPECT_EQ(make("c.mxf", 24, "25:1", {"-c:v", "mpeg2video"})
                  ->firstTrack(MediaType::kVideo)
                  ->frameCount,
              24);
    EXPECT_FALSE(make("c.mkv", 9, "25:1", {"-c:v", "libx264"})
                     ->firstTrack(MediaType::kVideo)
                     ->frameCount.has_value());
}

TEST_F(Tracks, haveTheSmallestFloatThatIsNotBelowTheirRate) {
    for (const auto& [rate, numerator, denominator] : {std::tuple{"24000:1001", 24000, 1001},
                                                       {"25:1", 25, 1},
                                                       {"30000:1001", 30000, 1001},
                                                       {"60000:1001", 60000, 1001},
                                                       {"25:2", 25, 2}}) {
        for (const char* name : {"a.mov", "a.mkv", "a.avi"}) {
            const auto asset = make(name, 40, rate, {"-c:v", "mjpeg"});
            const Track& track = *asset->firstTrack(MediaType::kVideo);
            EXPECT_EQ(track.frameRate, (FrameRate{numerator, denominator})) << name;
            const double exact = static_cast<double>(numerator) / denominator;
            EXPECT_GE(double{track.nominalFrameRate}, exact);
            EXPECT_LT(double{std::nextafter(track.nominalFrameRate, 0.0F)}, exact);
        }
    }
}

TEST_F(Tracks, takeTheRateOfTheSamplesWhenTheLastOneLastsLonger) {
    // The average of this movie is 24.75; its frames still start every 1/25 s.
    makeNumberedMovie(folder_.file("a.mov"), 99, "25:1", {"-c:v", "mjpeg"});
    runFfmpeg({"-i", folder_.file("a.mov"), "-c", "copy", "-bsf:v",
               "setts=duration='if(eq(N,98),2*DURATION,DURATION)'", folder_.file("b.mov")});
    const auto asset = openLibavAsset(folder_.file("b.mov"));
    EXPECT_EQ(asset->firstTrack(MediaType::kVideo)->frameRate, (FrameRate{25, 1}));
    EXPECT_EQ(asset->duration(), MediaTime::make(4, 1));
}

TEST_F(Tracks, haveTheAverageRateWhenItVaries) {
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x96:r=25:d=4", "-vf",
               "select='not(mod(n,3))+lt(n,30)'", "-vsync", "vfr", "-c:v", "mjpeg",
               folder_.file("vfr.mov")});
    const auto asset = openLibavAsset(folder_.file("vfr.mov"));
    const Track& track = *asset->firstTrack(MediaType::kVideo);
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    const double seconds = asset->duration().seconds();
    EXPECT_NEAR(static_cast<double>(movie.frames.size()) / seconds, double{track.nominalFrameRate},
                0.3);
    EXPECT_EQ(movie.frames.at(5).time, MediaTime::make(5, 25));
    EXPECT_EQ(movie.frames.at(40).time, MediaTime::make(60, 25));
}

TEST_F(Tracks, putTheDurationOnTheTimescaleOfOneFrame) {
    const auto pulledDown = make("a.mov", 30, "30000:1001", {"-c:v", "mjpeg"});
    EXPECT_EQ(pulledDown->duration().value, 30 * 1001);
    EXPECT_EQ(pulledDown->duration().timescale, 30000);
    const auto whole = make("a.mp4", 30, "25:1", {"-c:v", "libx264"});
    EXPECT_EQ(whole->duration().value, 30000);
    EXPECT_EQ(whole->duration().timescale, 25000);
    const auto half = make("b.mp4", 25, "25:2", {"-c:v", "libx264"});
    EXPECT_EQ(half->duration().timescale, 13000);
    EXPECT_EQ(half->duration(), MediaTime::make(2, 1));
}

TEST_F(Tracks, lastAsLongAsTheLongestOfThem) {
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x96:r=25:d=2", "-f", "lavfi", "-i",
               "sine=d=3:r=48000", "-c:v", "mjpeg", "-c:a", "pcm_s16le", folder_.file("a.mov")});
    EXPECT_EQ(openLibavAsset(folder_.file("a.mov"))->duration(), MediaTime::make(3, 1));
}

TEST_F(Tracks, countCoverPicturesAsNoVideo) {
    runFfmpeg({"-f", "lavfi", "-i", "sine=d=1:r=48000", "-f", "lavfi", "-i",
               "testsrc2=s=160x96:d=0.04", "-map", "0", "-map", "1", "-c:v", "mjpeg",
               "-disposition:v", "attached_pic", folder_.file("a.mp4")});
    const auto asset = openLibavAsset(folder_.file("a.mp4"));
    EXPECT_TRUE(asset->isPlayable());
    EXPECT_EQ(asset->firstTrack(MediaType::kVideo), nullptr);
}

TEST_F(Tracks, startWhereAnEmptyEditPutsThem) {
    makeNumberedMovie(folder_.file("a.mp4"), 25, "25:1", {"-c:v", "libx264"});
    runFfmpeg({"-itsoffset", "1", "-i", folder_.file("a.mp4"), "-f", "lavfi", "-i",
               "sine=d=1:r=48000", "-c:v", "copy", "-c:a", "aac", folder_.file("b.mp4")});
    const auto asset = openLibavAsset(folder_.file("b.mp4"));
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    ASSERT_EQ(movie.frames.size(), 25U);
    EXPECT_EQ(movie.frames.front().time, MediaTime::make(1, 1));
    EXPECT_EQ(movie.frames.front().number, 25);
    EXPECT_EQ(asset->duration(), MediaTime::make(2, 1));
}

TEST_F(Tracks, applyATrimmingEditListToFramesTimesAndCount) {
    makeNumberedMovie(folder_.file("a.mp4"), 60, "25:1",
                      {"-c:v", "libx264", "-g", "30", "-bf", "2"});
    // A copy that starts between key frames keeps the frames before as hidden by an edit.
    runFfmpeg({"-ss", "0.4", "-i", folder_.file("a.mp4"), "-c", "copy", folder_.file("b.mp4")});
    const auto asset = openLibavAsset(folder_.file("b.mp4"));
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    ASSERT_EQ(movie.frames.size(), 50U) << test::words(movie.error);
    EXPECT_EQ(asset->firstTrack(MediaType::kVideo)->frameCount, 50);
    EXPECT_EQ(movie.frames.front().time, MediaTime::zero());
    EXPECT_EQ(movie.frames.front().number, 0);
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted);
}

/// Doubles the only edit of a movie whose header stands at its end.
void showTwice(const std::string& from, const std::string& to) {
    std::ifstream in(from, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    const std::size_t list = bytes.find("elst", bytes.rfind("moov"));
    ASSERT_NE(list, std::string::npos);
    constexpr std::size_t kEntryBytes = 12;
    const std::size_t entry = list + 12; // Behind type, version and count.
    ASSERT_EQ(bytes[list + 11], 1) << "one edit";
    bytes.insert(entry + kEntryBytes, bytes.substr(entry, kEntryBytes));
    bytes[list + 11] = 2;
    for (const char* box : {"elst", "edts", "trak", "moov"}) {
        const std::size_t size = bytes.rfind(box, list) - 4;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            value = value << 8 | static_cast<std::uint8_t>(bytes[size + i]);
        }
        value += kEntryBytes;
        for (std::size_t i = 0; i < 4; ++i) {
            bytes[size + i] = static_cast<char>(value >> (24 - 8 * i));
        }
    }
    std::ofstream(to, std::ios::binary) << bytes;
}

TEST_F(Tracks, lastAsLongAsAnEditListThatShowsThemTwice) {
    makeNumberedMovie(folder_.file("a.mov"), 50, "25:1", {"-c:v", "mpeg4", "-q:v", "3"});
    showTwice(folder_.file("a.mov"), folder_.file("b.mov"));
    const auto asset = openLibavAsset(folder_.file("b.mov"));
    EXPECT_EQ(asset->duration(), MediaTime::make(4, 1));
    const ReadMovie movie =
        readMovie(*asset, PixelLayout::k2vuy, MediaTimeRange{MediaTime::zero(), asset->duration()});
    EXPECT_EQ(movie.frames.size(), 100U);
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
}

TEST_F(Tracks, ofAnAviWithEmptyChunksHaveNoCountOfFrames) {
    runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x96:r=25:d=4", "-vf",
               "select='lt(n,30)+not(mod(n,2))'", "-vsync", "vfr", "-c:v", "mpeg4",
               folder_.file("a.avi")});
    const auto asset = openLibavAsset(folder_.file("a.avi"));
    EXPECT_FALSE(asset->firstTrack(MediaType::kVideo)->frameCount.has_value());
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    EXPECT_EQ(movie.frames.size(), 65U);
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
}

TEST_F(Tracks, scanRotatedAndAnamorphicMoviesAsCoded) {
    makeNumberedMovie(folder_.file("a.mp4"), 5, "25:1", {"-c:v", "libx264"});
    runFfmpeg({"-i", folder_.file("a.mp4"), "-c", "copy", "-metadata:s:v", "rotate=90", "-aspect",
               "16:9", folder_.file("b.mp4")});
    const ReadMovie movie = readMovie(*openLibavAsset(folder_.file("b.mp4")), PixelLayout::k2vuy);
    ASSERT_EQ(movie.frames.size(), 5U);
    EXPECT_EQ(movie.frames.front().width, 160U);
    EXPECT_EQ(movie.frames.front().height, 96U);
}

TEST_F(Tracks, mayChangeTheirSizeAndPixelFormatInMidStream) {
    makeNumberedMovie(folder_.file("a.ts"), 20, "25:1", {"-c:v", "mpeg2video", "-bf", "0"});
    makeNumberedMovie(
        folder_.file("b.ts"), 20, "25:1",
        {"-c:v", "mpeg2video", "-bf", "0", "-pix_fmt", "yuv422p", "-output_ts_offset", "0.8"}, 192,
        128);
    std::ofstream joined(folder_.file("c.ts"), std::ios::binary);
    for (const char* part : {"a.ts", "b.ts"}) {
        joined << std::ifstream(folder_.file(part), std::ios::binary).rdbuf();
    }
    joined.close();
    const ReadMovie movie = readMovie(*openLibavAsset(folder_.file("c.ts")), PixelLayout::kV210);
    ASSERT_EQ(movie.frames.size(), 40U) << test::words(movie.error);
    EXPECT_EQ(movie.frames.front().width, 160U);
    EXPECT_EQ(movie.frames.at(19).width, 160U);
    EXPECT_EQ(movie.frames.at(20).width, 192U);
    EXPECT_EQ(movie.frames.back().height, 128U);
    EXPECT_EQ(movie.frames.back().bytesPerRow, 512U);
}

TEST_F(Tracks, areFoundInAMovieThatIsWrittenInFragmentsOrWithoutADuration) {
    const auto fragments =
        make("a.mp4", 50, "25:1",
             {"-c:v", "libx264", "-g", "10", "-bf", "0", "-movflags", "frag_keyframe+empty_moov"});
    EXPECT_GE(fragments->duration(), MediaTime::make(2, 1));
    EXPECT_EQ(readMovie(*fragments, PixelLayout::k2vuy,
                        MediaTimeRange{MediaTime::zero(), fragments->duration()})
                  .frames.size(),
              50U);
    // A live Matroska file states no duration at all.
    const auto live = make("a.mkv", 50, "25:1", {"-c:v", "libx264", "-live", "1"});
    EXPECT_GE(live->duration(), MediaTime::make(2, 1));
    EXPECT_LT(live->duration(), MediaTime::make(3, 1));
}

/// Without a stated length FLV tells no more than the time of its last tag.
TEST_F(Tracks, areWholeInAnFlvWithoutADuration) {
    const std::vector<std::string> unstated = {"-flvflags", "no_duration_filesize"};
    const std::vector<std::vector<std::string>> codecs = {{"-c:v", "libx264", "-bf", "0"},
                                                          {"-c:v", "libx264", "-bf", "3"},
                                                          {"-c:v", "flv"},
                                                          // More than the end that is looked at.
                                                          {"-vf", "noise=c0s=20:c0f=t", "-c:v",
                                                           "libx264", "-preset", "ultrafast", "-qp",
                                                           "0", "-bf", "2"}};
    for (std::vector<std::string> arguments : codecs) {
        const bool isLarge = arguments[0] == "-vf";
        arguments.insert(arguments.end(), unstated.begin(), unstated.end());
        const auto asset =
            make("a.flv", 50, "25:1", arguments, isLarge ? 640 : 160, isLarge ? 384 : 96);
        if (isLarge) {
            ASSERT_GT(std::filesystem::file_size(folder_.file("a.flv")), 5U << 20);
        }
        EXPECT_EQ(asset->duration(), MediaTime::make(2, 1)) << arguments[1];
        const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy,
                                          MediaTimeRange{MediaTime::zero(), asset->duration()});
        EXPECT_EQ(movie.frames.size(), 50U) << arguments[1];
        EXPECT_EQ(movie.frames.back().number, 49) << arguments[1];
        EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
    }
}

TEST_F(Tracks, areWholeInAnFlvWithSoundWithoutADuration) {
    const auto asset = makeWithSound("a.flv", {"-c:v", "libx264", "-bf", "2", "-c:a", "aac",
                                               "-flvflags", "no_duration_filesize"});
    const ReadMovie movie =
        readMovie(*asset, PixelLayout::k2vuy, MediaTimeRange{MediaTime::zero(), asset->duration()});
    EXPECT_EQ(movie.frames.size(), 50U);
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
}

TEST_F(Tracks, ofManyReadersAreReadAtOnce) {
    const auto asset = make("a.mp4", 30, "25:1", {"-c:v", "libx264", "-bf", "2"});
    const Track& track = *asset->firstTrack(MediaType::kVideo);
    std::vector<std::unique_ptr<AssetReader>> readers;
    for (int i = 0; i < 3; ++i) {
        readers.push_back(asset->makeReader().value());
        readers.back()->addOutput(track, VideoFrames{PixelLayout::k2vuy});
        ASSERT_TRUE(readers.back()->startReading());
    }
    for (int frame = 0; frame < 30; ++frame) {
        for (const auto& reader : readers) {
            const auto sample = reader->copyNextSampleBuffer();
            ASSERT_TRUE(sample.has_value());
            EXPECT_EQ(test::readFrameNumber(*sample->imageBuffer, PixelLayout::k2vuy), frame);
        }
    }
}

TEST_F(Tracks, keepASampleIntactWhileItIsHeld) {
    const auto asset = make("a.mp4", 10, "25:1", {"-c:v", "libx264", "-bf", "2"});
    auto reader = asset->makeReader().value();
    reader->addOutput(*asset->firstTrack(MediaType::kVideo), VideoFrames{PixelLayout::k2vuy});
    ASSERT_TRUE(reader->startReading());
    std::vector<SampleBuffer> held;
    while (auto sample = reader->copyNextSampleBuffer()) {
        held.push_back(std::move(*sample));
    }
    reader.reset();
    ASSERT_EQ(held.size(), 10U);
    for (int frame = 0; frame < 10; ++frame) {
        EXPECT_EQ(test::readFrameNumber(*held[static_cast<std::size_t>(frame)].imageBuffer,
                                        PixelLayout::k2vuy),
                  frame);
    }
}

TEST_F(Tracks, areReadOnceAndNoFurtherAfterCancelling) {
    const auto asset = make("a.mp4", 10, "25:1", {"-c:v", "libx264"});
    auto reader = asset->makeReader().value();
    EXPECT_FALSE(reader->startReading()) << "no output";
    EXPECT_EQ(reader->status(), AssetReader::Status::kFailed);
    EXPECT_TRUE(reader->error().has_value());

    reader = asset->makeReader().value();
    reader->addOutput(*asset->firstTrack(MediaType::kVideo), VideoFrames{});
    ASSERT_TRUE(reader->startReading());
    ASSERT_TRUE(reader->copyNextSampleBuffer().has_value());
    reader->cancelReading();
    EXPECT_EQ(reader->status(), AssetReader::Status::kCancelled);
    EXPECT_FALSE(reader->copyNextSampleBuffer().has_value());

    reader = asset->makeReader().value();
    reader->addOutput(*asset->firstTrack(MediaType::kVideo), NativeSamples{});
    EXPECT_FALSE(reader->startReading()) << "stored pictures are not offered";
}

TEST_F(Tracks, givesNothingForARangeThatIsEmptyOrEndsBeforeItStarts) {
    const auto asset = make("a.mp4", 10, "25:1", {"-c:v", "libx264"});
    for (const std::int64_t length : {0, -1000}) {
        const ReadMovie movie =
            readMovie(*asset, PixelLayout::k2vuy,
                      MediaTimeRange{MediaTime::make(5, 25), MediaTime::make(length, 25000)});
        EXPECT_TRUE(movie.frames.empty());
        EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
    }
}

TEST_F(Tracks, takesAStartBelowZeroAsZeroAndKeepsTheEnd) {
    const auto asset = make("a.mp4", 10, "25:1", {"-c:v", "libx264"});
    const ReadMovie movie =
        readMovie(*asset, PixelLayout::k2vuy,
                  MediaTimeRange{MediaTime::make(-4, 25), MediaTime::make(7, 25)});
    EXPECT_EQ(movie.frames.size(), 3U);
}

} // namespace
} // namespace fw
