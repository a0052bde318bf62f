// Clips from real cameras and encoders, where the machine has them.

#include "platform/libav/LibavAsset.h"
#include "tests/platform/libav/ReadMovie.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>

namespace fw {
namespace {

struct Clip {
    std::string name;
    std::size_t frames;
    FrameRate rate;
    std::uint64_t width;
    std::uint64_t height;

    friend std::ostream& operator<<(std::ostream& out, const Clip& clip) {
        return out << clip.name;
    }
};

class RealClip : public testing::TestWithParam<Clip> {};

TEST_P(RealClip, isReadWholeWithEveryFrameAtItsNumber) {
    const Clip& clip = GetParam();
    const char* folder = std::getenv("FERNWICK_TEST_MEDIA");
    if (folder == nullptr || *folder == '\0') {
        GTEST_SKIP() << "FERNWICK_TEST_MEDIA does not name a folder of real clips.";
    }
    const auto asset = openLibavAsset((std::filesystem::path(folder) / clip.name).string());
    ASSERT_TRUE(asset->isPlayable() && asset->isReadable()) << test::words(asset->error());
    const Track& track = *asset->firstTrack(MediaType::kVideo);
    EXPECT_EQ(track.frameRate, clip.rate);
    const MediaTimeRange whole{MediaTime::zero(), asset->duration()};
    std::size_t frames = 0;
    auto reader = asset->makeReader().value();
    reader->setTimeRange(whole);
    reader->addOutput(track, VideoFrames{PixelLayout::k2vuy});
    ASSERT_TRUE(reader->startReading());
    while (reader->status() == AssetReader::Status::kReading) {
        if (const auto sample = reader->copyNextSampleBuffer()) {
            EXPECT_EQ(frameNumberAtTime(sample->presentationTime, track.nominalFrameRate),
                      static_cast<std::int64_t>(frames));
            EXPECT_EQ(sample->imageBuffer->width(), clip.width);
            EXPECT_EQ(sample->imageBuffer->height(), clip.height);
            ++frames;
        }
    }
    EXPECT_EQ(reader->status(), AssetReader::Status::kCompleted) << test::words(reader->error());
    EXPECT_EQ(frames, clip.frames);
}

INSTANTIATE_TEST_SUITE_P(Clips, RealClip,
                         testing::Values(Clip{"big-buck-bunny-480p.mp4", 720, {24, 1}, 854, 480},
                                         Clip{"car-detection.mp4", 377, {25, 2}, 768, 432},
                                         Clip{"asl-book.mkv", 109, {30, 1}, 640, 480}));

} // namespace
} // namespace fw
