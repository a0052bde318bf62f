// Files that are no movies, and movies that are damaged: one clear error, every frame that still
// decodes, and never a crash or a hang.

#include "media/MediaError.h"
#include "platform/libav/LibavAsset.h"
#include "platform/libav/LibavReader.h"
#include "tests/platform/libav/ReadMovie.h"
#include "tests/support/LeasedFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sys/stat.h>

namespace fw {
namespace {

using test::makeNumberedMovie;
using test::ReadMovie;
using test::readMovie;
using test::runFfmpeg;
using test::TemporaryFolder;

class BadInput : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    std::string bytesOf(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static void expectNoMovie(const std::string& path, MediaErrorCode code) {
        const auto asset = openLibavAsset(path);
        EXPECT_FALSE(asset->isPlayable()) << path;
        EXPECT_FALSE(asset->isReadable()) << path;
        ASSERT_TRUE(asset->error().has_value()) << path;
        EXPECT_EQ(asset->error()->domain, kMediaErrorDomain);
        EXPECT_EQ(asset->error()->code, static_cast<std::int64_t>(code))
            << asset->error()->description;
        EXPECT_FALSE(asset->error()->description.empty());
        EXPECT_TRUE(asset->tracks().empty());
        const auto reader = asset->makeReader();
        ASSERT_FALSE(static_cast<bool>(reader));
        EXPECT_EQ(reader.error(), *asset->error());
    }
    void expectFailure(const ReadMovie& movie, MediaErrorCode code) {
        EXPECT_EQ(movie.status, AssetReader::Status::kFailed);
        ASSERT_TRUE(movie.error.has_value());
        EXPECT_EQ(movie.error->domain, kMediaErrorDomain);
        EXPECT_EQ(movie.error->code, static_cast<std::int64_t>(code)) << movie.error->description;
    }

    TemporaryFolder folder_;
};

TEST_F(BadInput, withoutAFileIsNoMovie) {
    expectNoMovie(path("absent.mov"), MediaErrorCode::kCannotOpen);
    expectNoMovie("", MediaErrorCode::kCannotOpen);
}

TEST_F(BadInput, ofAFolderOrAPipeOrADeviceIsNoMovie) {
    expectNoMovie(folder_.path().string(), MediaErrorCode::kCannotOpen);
    ASSERT_EQ(::mkfifo(path("pipe.mov").c_str(), 0600), 0);
    expectNoMovie(path("pipe.mov"), MediaErrorCode::kCannotOpen); // And does not wait for it.
    expectNoMovie("/dev/zero", MediaErrorCode::kCannotOpen);
}

TEST_F(BadInput, ofAnEmptyFileIsNoMovie) {
    expectNoMovie(write("empty.mov", ""), MediaErrorCode::kNotAMovie);
}

TEST_F(BadInput, ofTextIsNoMovieWhateverItsName) {
    std::string text;
    for (int i = 0; i < 4000; ++i) {
        text += "This is a line of text that no demuxer should take for a movie.\n";
    }
    expectNoMovie(write("text.mov", text), MediaErrorCode::kNotAMovie);
    expectNoMovie(write("text.txt", text), MediaErrorCode::kNotAMovie);
}

TEST_F(BadInput, ofAPlaylistOrAPictureIsNoMovie) {
    makeNumberedMovie(path("a.ts"), 5, "25:1", {"-c:v", "mpeg2video"});
    expectNoMovie(write("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\na.ts\n"
                                     "#EXT-X-ENDLIST\n"),
                  MediaErrorCode::kNotAMovie);
    expectNoMovie(write("list.txt", "ffconcat version 1.0\nfile a.ts\n"),
                  MediaErrorCode::kNotAMovie);
    runFfmpeg({"-i", path("a.ts"), "-frames:v", "1", path("picture.png")});
    std::filesystem::rename(path("picture.png"), path("picture.mov"));
    expectNoMovie(path("picture.mov"), MediaErrorCode::kNotAMovie);
}

TEST_F(BadInput, ofAKindThatIsNotReadIsNotCalledDamaged) {
    for (const char* name : {"a.au", "a.wv", "a.ac3"}) {
        runFfmpeg({"-f", "lavfi", "-i", "sine=d=1", path(name)});
        expectNoMovie(path(name), MediaErrorCode::kNotAMovie);
        EXPECT_EQ(openLibavAsset(path(name))->error()->description,
                  "Files of this kind are not supported.");
    }
}

TEST_F(BadInput, ofAKindThatIsReadIsNotCalledAnotherKind) {
    // Longer than the first line that is looked for.
    const std::string header = "YUV4MPEG2 W16 H16 F25:1 C420 X" + std::string(200, 'x') + "\n";
    expectNoMovie(write("long.y4m", header), MediaErrorCode::kNotAMovie);
    EXPECT_EQ(openLibavAsset(path("long.y4m"))->error()->description,
              "The file is not a movie that can be read, or its start is damaged (Invalid "
              "argument).");
}

TEST_F(BadInput, thatOnlyRefersToAnotherFileGivesNothingOfIt) {
    // A path like an address stays a path.
    expectNoMovie("http://localhost/movie.mov", MediaErrorCode::kCannotOpen);
    expectNoMovie("concat:a.ts|b.ts", MediaErrorCode::kCannotOpen);
}

TEST_F(BadInput, ofRandomBytesIsNoMovie) {
    std::mt19937 random(7);
    std::string bytes(200000, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    expectNoMovie(write("random.mp4", bytes), MediaErrorCode::kNotAMovie);
}

TEST_F(BadInput, ofAnEncryptedMovieIsPlayableAndNotReadable) {
    makeNumberedMovie(path("a.mp4"), 5, "25:1",
                      {"-c:v", "libx264", "-encryption_scheme", "cenc-aes-ctr", "-encryption_key",
                       "76a6c65c5ea762046bd749a2e632ccbb", "-encryption_kid",
                       "a7e61c373e219033c21091fa607bf3b8"});
    const auto asset = openLibavAsset(path("a.mp4"));
    EXPECT_TRUE(asset->isPlayable());
    EXPECT_FALSE(asset->isReadable());
    EXPECT_EQ(asset->error()->code, static_cast<std::int64_t>(MediaErrorCode::kEncrypted));
    EXPECT_FALSE(static_cast<bool>(asset->makeReader()));
}

TEST_F(BadInput, withSoundOnlyIsPlayableAndHasNoVideoTrack) {
    runFfmpeg({"-f", "lavfi", "-i", "sine=d=1:r=48000", "-c:a", "pcm_s16le", path("a.mov")});
    const auto asset = openLibavAsset(path("a.mov"));
    EXPECT_TRUE(asset->isPlayable());
    EXPECT_TRUE(asset->isReadable());
    EXPECT_FALSE(asset->error().has_value());
    EXPECT_EQ(asset->firstTrack(MediaType::kVideo), nullptr);
    EXPECT_EQ(asset->duration(), MediaTime::make(30000, 30000));
}

TEST_F(BadInput, ofTheSmallestPicturesAndShortestMoviesIsFine) {
    for (const auto& [width, height] : {std::pair{1, 1}, std::pair{16, 16}}) {
        test::writeY4m(path("a.y4m"), width, height, 1, "25:1", [](int, test::TestPicture&) {});
        for (const PixelLayout layout : {PixelLayout::k2vuy, PixelLayout::kV210}) {
            const ReadMovie movie = readMovie(*openLibavAsset(path("a.y4m")), layout);
            ASSERT_EQ(movie.frames.size(), 1U) << test::words(movie.error);
            EXPECT_EQ(movie.frames.front().width, static_cast<std::uint64_t>(width));
        }
    }
}

TEST_F(BadInput, underALeaseIsWaitedForAndFine) {
    makeNumberedMovie(path("a.ts"), 5, "25:1", {"-c:v", "mpeg2video"});
    test::LeasedFile lease(path("a.ts"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << test::kNoLeases;
    }
    EXPECT_EQ(openLibavAsset(path("a.ts"))->error(), std::nullopt);
    EXPECT_TRUE(lease.wasGivenUp());
}

TEST_F(BadInput, withoutAnyFrameEndsAtOnce) {
    test::writeY4m(path("a.y4m"), 32, 32, 0, "25:1", [](int, test::TestPicture&) {});
    const auto asset = openLibavAsset(path("a.y4m"));
    ASSERT_TRUE(asset->isPlayable());
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    EXPECT_TRUE(movie.frames.empty());
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
}

TEST_F(BadInput, cutInTheMiddleFailsAfterTheFramesThatAreThere) {
    makeNumberedMovie(path("a.mp4"), 100, "25:1",
                      {"-c:v", "libx264", "-bf", "2", "-movflags", "+faststart"});
    const std::string whole = bytesOf("a.mp4");
    const auto asset = openLibavAsset(write("b.mp4", whole.substr(0, whole.size() / 2)));
    ASSERT_TRUE(asset->isReadable());
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    EXPECT_GT(movie.frames.size(), 10U);
    EXPECT_LT(movie.frames.size(), 90U);
    EXPECT_EQ(movie.status, AssetReader::Status::kFailed);
}

TEST_F(BadInput, cutBetweenTwoFramesFailsBecauseItEndsEarly) {
    makeNumberedMovie(path("a.avi"), 100, "25:1", {"-c:v", "mjpeg"});
    makeNumberedMovie(path("a.mxf"), 100, "25:1", {"-c:v", "mpeg2video", "-g", "1"});
    makeNumberedMovie(path("a.mkv"), 100, "25:1", {"-c:v", "mjpeg"});
    for (const char* name : {"a.avi", "a.mxf", "a.mkv"}) {
        const std::string whole = bytesOf(name);
        const auto asset =
            openLibavAsset(write(std::string("cut.") + name, whole.substr(0, whole.size() / 2)));
        ASSERT_TRUE(asset->isReadable()) << name << test::words(asset->error());
        const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
        EXPECT_GT(movie.frames.size(), 20U) << name;
        EXPECT_EQ(movie.status, AssetReader::Status::kFailed)
            << name << ": " << movie.frames.size() << " frames";
    }
}

/// Nothing but the end of the file tells.
TEST_F(BadInput, cutInTheMiddleOfAFrameFailsWhereNoLengthIsStated) {
    const std::vector<std::string> dv = {"-vf", "scale=720:576:flags=neighbor", "-pix_fmt",
                                         "yuv420p"};
    const std::vector<std::string> ntscDv = {"-vf", "scale=720:480:flags=neighbor", "-pix_fmt",
                                             "yuv411p"};
    const std::vector<std::string> dv50 = {"-vf", "scale=720:576:flags=neighbor", "-pix_fmt",
                                           "yuv422p"};
    struct Kind {
        std::string name;
        std::string rate;
        std::vector<std::string> arguments;
        std::size_t tornFrames = 0; ///< That the demuxer fills up.
    };
    const std::vector<Kind> kinds = {
        {"h264.mkv", "25:1", {"-c:v", "libx264", "-bf", "2", "-live", "1"}},
        {"ffv1.mkv", "25:1", {"-c:v", "ffv1", "-live", "1"}},
        {"vp8.webm", "25:1", {"-c:v", "libvpx", "-live", "1"}},
        {"a.y4m", "25:1", {"-pix_fmt", "yuv420p"}},
        {"deep.y4m", "25:1", {"-pix_fmt", "yuv422p10le", "-strict", "-1"}},
        {"pal.dv", "25:1", dv, 1},
        {"ntsc.dv", "30000:1001", ntscDv, 1},
        {"dv50.dv", "25:1", dv50, 1},
    };
    for (const Kind& kind : kinds) {
        makeNumberedMovie(path(kind.name), 20, kind.rate, kind.arguments);
        const ReadMovie whole = readMovie(*openLibavAsset(path(kind.name)), PixelLayout::k2vuy);
        EXPECT_EQ(whole.frames.size(), 20U) << kind.name;
        EXPECT_EQ(whole.status, AssetReader::Status::kCompleted)
            << kind.name << ": " << test::words(whole.error);
        const std::string bytes = bytesOf(kind.name);
        for (const std::size_t missing : {1U, 30U}) {
            const std::string cut =
                write("cut." + kind.name, bytes.substr(0, bytes.size() - missing));
            const ReadMovie movie = readMovie(*openLibavAsset(cut), PixelLayout::k2vuy);
            EXPECT_EQ(movie.frames.size(), 19U + kind.tornFrames) << kind.name << missing;
            expectFailure(movie, MediaErrorCode::kEndsEarly);
            EXPECT_EQ(test::words(movie.error), "The file was cut off: it ends in mid-data.");
        }
        const std::string half = write("half." + kind.name, bytes.substr(0, bytes.size() / 2 + 3));
        expectFailure(readMovie(*openLibavAsset(half), PixelLayout::k2vuy),
                      MediaErrorCode::kEndsEarly);
    }
}

/// What is cut off lies outside of such a range.
TEST_F(BadInput, cutBehindTheRangeThatIsReadIsFine) {
    makeNumberedMovie(path("a.y4m"), 20, "25:1", {"-pix_fmt", "yuv420p"});
    std::filesystem::resize_file(path("a.y4m"), std::filesystem::file_size(path("a.y4m")) - 1);
    const ReadMovie movie =
        readMovie(*openLibavAsset(path("a.y4m")), PixelLayout::k2vuy,
                  MediaTimeRange{MediaTime::make(2, 25), MediaTime::make(3, 25)});
    EXPECT_EQ(movie.frames.size(), 3U);
    EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
}

/// Frames in a page that is cut are lost with it, and so are those that cannot do without them.
TEST_F(BadInput, cutInTheMiddleOfAPageOfOggFails) {
    makeNumberedMovie(path("a.ogv"), 60, "25:1", {"-c:v", "libtheora", "-g", "5"}, 320, 192);
    const std::string bytes = bytesOf("a.ogv");
    for (const std::size_t missing : {0U, 1U, 5000U}) {
        const std::string cut = write("cut.ogv", bytes.substr(0, bytes.size() - missing));
        const ReadMovie movie = readMovie(*openLibavAsset(cut), PixelLayout::k2vuy);
        if (missing == 0) {
            EXPECT_EQ(movie.frames.size(), 60U);
            EXPECT_EQ(movie.status, AssetReader::Status::kCompleted) << test::words(movie.error);
        } else {
            EXPECT_LT(movie.frames.size(), 60U) << missing;
            EXPECT_GT(movie.frames.size(), 20U) << missing;
            expectFailure(movie, MediaErrorCode::kEndsEarly);
            EXPECT_EQ(test::words(movie.error), "The file was cut off: it ends in mid-data.");
        }
    }
}

TEST_F(BadInput, cutInTheFirstFrameOfAY4mFails) {
    test::writeY4m(path("a.y4m"), 32, 32, 1, "25:1", [](int, test::TestPicture&) {});
    const auto size = std::filesystem::file_size(path("a.y4m"));
    for (const std::size_t missing : {1U, 2048U, 2051U}) {
        std::filesystem::resize_file(path("a.y4m"), size - missing);
        const ReadMovie movie = readMovie(*openLibavAsset(path("a.y4m")), PixelLayout::k2vuy);
        EXPECT_TRUE(movie.frames.empty()) << missing;
        expectFailure(movie, MediaErrorCode::kEndsEarly);
    }
}

TEST_F(BadInput, cutByLessThanHalfASecondIsTakenAsWhole) {
    makeNumberedMovie(path("a.mp4"), 100, "25:1", {"-c:v", "mjpeg", "-movflags", "+faststart"});
    const std::string whole = bytesOf("a.mp4");
    const auto full = openLibavAsset(path("a.mp4"));
    const std::size_t data = whole.find("mdat");
    const std::size_t frame = (whole.size() - data) / 100;
    const auto asset = openLibavAsset(write("b.mp4", whole.substr(0, whole.size() - 5 * frame)));
    const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
    EXPECT_GE(movie.frames.size(), 94U);
    // The frame that is cut through does not decode; without it this would be a whole movie.
    EXPECT_LT(movie.frames.size(), 100U);
}

TEST_F(BadInput, withoutItsIndexIsNoMovie) {
    makeNumberedMovie(path("a.mp4"), 50, "25:1", {"-c:v", "libx264"});
    const std::string whole = bytesOf("a.mp4");
    expectNoMovie(write("b.mp4", whole.substr(0, whole.size() / 2)), MediaErrorCode::kNotAMovie);
}

TEST_F(BadInput, thatStatesAnAbsurdLengthStillGivesItsFrames) {
    makeNumberedMovie(path("a.flv"), 10, "25:1", {"-c:v", "flv"});
    makeNumberedMovie(path("a.mkv"), 10, "25:1", {"-c:v", "mjpeg"});
    struct Statement {
        std::string name;
        std::string before;  ///< The bytes before the length, a double.
        std::string longest; ///< The top of the largest power of two that a clock can hold.
    };
    const std::vector<Statement> statements = {
        {"a.flv", std::string("duration\0", 9), std::string("\x42\xA0")}, // 2^43 seconds
        {"a.mkv", "\x44\x89\x88", std::string("\x43\x40")}};              // 2^53 milliseconds
    for (const auto& [name, before, longest] : statements) {
        const std::string whole = bytesOf(name);
        const std::size_t place = whole.find(before);
        ASSERT_NE(place, std::string::npos) << name;
        for (const std::string& top : {longest, std::string("\x45\xF0")}) { // The other is 2^96.
            std::string bytes = whole;
            bytes.replace(place + before.size(), 8, top + std::string(6, '\0'));
            const auto asset = openLibavAsset(write("absurd." + name, bytes));
            const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
            EXPECT_EQ(movie.frames.size(), 10U) << name;
            EXPECT_NE(movie.status, AssetReader::Status::kReading) << name;
        }
    }
}

TEST_F(BadInput, withFramesBeyondItsEndSaysHowMany) {
    makeNumberedMovie(path("a.mkv"), 10, "25:1", {"-c:v", "mjpeg"});
    const Track track = *openLibavAsset(path("a.mkv"))->firstTrack(MediaType::kVideo);
    const auto errorWhenItEndsAt = [&](int frame) {
        const MediaTime end = MediaTime::make(frame, 25);
        libav::LibavReader reader(
            std::make_shared<libav::ContainerSource>(path("a.mkv"), libav::FormatHandle()), 1, end,
            std::make_shared<std::vector<libav::TimecodeTrack>>());
        reader.setTimeRange({MediaTime::zero(), end});
        reader.addOutput(track, VideoFrames{PixelLayout::k2vuy});
        reader.startReading();
        while (reader.copyNextSampleBuffer()) {
        }
        return test::words(reader.error());
    };
    EXPECT_EQ(errorWhenItEndsAt(10), "no error");
    EXPECT_EQ(errorWhenItEndsAt(9), "1 frame has a time beyond the end of the movie.");
    EXPECT_EQ(errorWhenItEndsAt(8), "2 frames have times beyond the end of the movie.");
}

TEST_F(BadInput, damagedInThePictureDataFailsAndLosesNothingThatDecodes) {
    for (const auto& [name, codec] :
         {std::pair{"a.mp4", "libx264"}, std::pair{"b.mov", "prores_ks"},
          std::pair{"c.mxf", "mpeg2video"}, std::pair{"d.mov", "mjpeg"}, std::pair{"e.mkv", "ffv1"},
          std::pair{"f.mov", "png"}}) {
        makeNumberedMovie(path(name), 60, "25:1",
                          {"-c:v", codec, "-g", "10", "-movflags", "+faststart"}, 320, 192);
        std::string bytes = bytesOf(name);
        std::mt19937 random(3);
        // The middle of the file, where there is picture data only.
        for (std::size_t i = bytes.size() * 4 / 10; i < bytes.size() * 6 / 10; ++i) {
            if (random() % 50 == 0) {
                bytes[i] = static_cast<char>(random());
            }
        }
        const auto asset = openLibavAsset(write(std::string("damaged.") + name, bytes));
        ASSERT_TRUE(asset->isReadable()) << name;
        const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
        EXPECT_GT(movie.frames.size(), 30U) << name;
        EXPECT_LE(movie.frames.size(), 60U) << name;
        EXPECT_EQ(movie.status, AssetReader::Status::kFailed)
            << name << ": " << movie.frames.size() << " frames and no failure";
        ASSERT_FALSE(movie.frames.empty());
        EXPECT_EQ(movie.frames.back().number, 59) << name << ": nothing after the damage is lost";
    }
}

/// Where the container tells no length nothing but the decoder shows that pictures are missing.
TEST_F(BadInput, ofWhichNoPictureDecodesFailsAndIsNotAMovieOfNoPictures) {
    for (const char* codec : {"libx264", "ffv1", "prores_ks"}) {
        makeNumberedMovie(path("whole.mkv"), 20, "25:1", {"-c:v", codec});
        runFfmpeg({"-i", path("whole.mkv"), "-c", "copy", "-bsf:v", "noise=amount=1", "-live", "1",
                   path("noise.mkv")});
        const ReadMovie movie = readMovie(*openLibavAsset(path("noise.mkv")), PixelLayout::k2vuy);
        EXPECT_TRUE(movie.frames.empty()) << codec;
        expectFailure(movie, MediaErrorCode::kDamagedPicture);
        std::filesystem::remove(path("whole.mkv"));
        std::filesystem::remove(path("noise.mkv"));
    }
}

TEST_F(BadInput, damagedInItsFirstPictureFails) {
    for (const auto& [name, codec] :
         {std::pair{"a.flv", "libx264"}, std::pair{"b.mkv", "prores_ks"},
          std::pair{"c.mkv", "libx264"}, std::pair{"d.avi", "mpeg4"}}) {
        makeNumberedMovie(path(name), 60, "25:1", {"-c:v", codec, "-g", "10"});
        const std::string damaged = path(std::string("damaged.") + name);
        runFfmpeg({"-i", path(name), "-c", "copy", "-bsf:v", "noise=amount='lt(n,1)'", damaged});
        const ReadMovie movie = readMovie(*openLibavAsset(damaged), PixelLayout::k2vuy);
        EXPECT_GE(movie.frames.size(), 48U) << name;
        EXPECT_LT(movie.frames.size(), 60U) << name;
        expectFailure(movie, MediaErrorCode::kDamagedPicture);
    }
}

/// The picture comes out, filled in.
TEST_F(BadInput, damagedLightlyInItsFirstPictureFails) {
    struct Kind {
        const char* name;
        std::vector<std::string> codec;
    };
    for (const Kind& kind : {Kind{"a.mov", {"-c:v", "mjpeg", "-q:v", "3"}},
                             Kind{"b.mov", {"-c:v", "libx264", "-g", "10"}},
                             Kind{"c.mxf", {"-c:v", "mpeg2video", "-q:v", "2"}},
                             Kind{"d.mkv", {"-c:v", "ffv1", "-level", "3", "-slicecrc", "1"}},
                             Kind{"e.mov", {"-c:v", "jpeg2000"}}}) {
        for (const int frames : {1, 30}) {
            SCOPED_TRACE(kind.name + std::to_string(frames));
            const std::string damaged = path(std::string("damaged.") + kind.name);
            makeNumberedMovie(path(kind.name), frames, "25:1", kind.codec, 320, 240);
            runFfmpeg({"-i", path(kind.name), "-c", "copy", "-bsf:v", "noise=amount='10*lt(n,1)'",
                       damaged});
            EXPECT_EQ(readMovie(*openLibavAsset(path(kind.name)), PixelLayout::k2vuy).status,
                      AssetReader::Status::kCompleted);
            expectFailure(readMovie(*openLibavAsset(damaged), PixelLayout::k2vuy),
                          MediaErrorCode::kDamagedPicture);
            std::filesystem::remove(path(kind.name));
            std::filesystem::remove(damaged);
        }
    }
}

/// A decoder's other threads may give out a picture before the one that decodes it marks the
/// damage.
TEST_F(BadInput, damagedLightlyFailsWhereThreadsOvertakeEachOther) {
    for (const auto& [name, codec] : {std::pair{"a.mov", "libx264"}, std::pair{"b.mkv", "libx264"},
                                      std::pair{"c.mov", "mpeg4"}, std::pair{"d.avi", "mpeg4"}}) {
        // A last picture is given out by the thread that is told of the end.
        for (const int frames : {1, 5}) {
            SCOPED_TRACE(name + std::to_string(frames));
            makeNumberedMovie(path(name), frames, "25:1", {"-c:v", codec, "-bf", "2"}, 1280, 720);
            const std::string damaged = path(std::string("damaged.") + name);
            runFfmpeg({"-i", path(name), "-c", "copy", "-bsf:v",
                       "noise=amount='10*eq(n," + std::to_string(frames - 1) + ")'", damaged});
            for (int round = 0; round < 5; ++round) {
                expectFailure(readMovie(*openLibavAsset(damaged, {4}), PixelLayout::k2vuy),
                              MediaErrorCode::kDamagedPicture);
            }
            EXPECT_EQ(readMovie(*openLibavAsset(path(name), {4}), PixelLayout::k2vuy).status,
                      AssetReader::Status::kCompleted);
        }
    }
}

/// Only the times of the pictures around it show that one is missing.
TEST_F(BadInput, ofWhichADecoderLeavesOutAPictureSilentlyFails) {
    for (const auto& [name, codec] :
         {std::pair{"a.mkv", "mpeg2video"}, std::pair{"b.mkv", "mpeg1video"},
          std::pair{"c.mov", "mpeg2video"}, std::pair{"d.mkv", "vc2"}}) {
        makeNumberedMovie(path(name), 40, "25:1", {"-c:v", codec, "-g", "12"});
        EXPECT_EQ(readMovie(*openLibavAsset(path(name)), PixelLayout::k2vuy).status,
                  AssetReader::Status::kCompleted)
            << name;
        for (const char* which : {"0", "13", "39"}) {
            const std::string damaged = path(std::string("damaged.") + which + name);
            runFfmpeg({"-i", path(name), "-c", "copy", "-bsf:v",
                       std::string("noise=amount='eq(n,") + which + ")'", damaged});
            SCOPED_TRACE(damaged);
            expectFailure(readMovie(*openLibavAsset(damaged), PixelLayout::k2vuy),
                          MediaErrorCode::kDamagedPicture);
        }
    }
}

/// What a recording begins with may refer to pictures before it.
TEST_F(BadInput, thatBeginsInMidstreamIsWholeFromItsFirstKeyFrameOn) {
    for (const std::vector<std::string>& codec :
         {std::vector<std::string>{"-c:v", "libx264", "-bf", "2", "-g", "20"},
          std::vector<std::string>{"-c:v", "mpeg2video", "-bf", "2", "-g", "20"}}) {
        makeNumberedMovie(path("a.ts"), 60, "25:1", codec);
        const std::string whole = bytesOf("a.ts");
        const std::size_t packets = whole.size() / 188;
        const std::string cut = write("cut.ts", whole.substr(packets / 4 * 188));
        const ReadMovie movie = readMovie(*openLibavAsset(cut), PixelLayout::k2vuy);
        EXPECT_GE(movie.frames.size(), 20U) << codec[1];
        EXPECT_LT(movie.frames.size(), 60U) << codec[1];
        EXPECT_EQ(movie.status, AssetReader::Status::kCompleted)
            << codec[1] << ": " << test::words(movie.error);
    }
}

TEST_F(BadInput, withoutAnyKeyFrameFails) {
    makeNumberedMovie(path("a.ts"), 60, "25:1", {"-c:v", "mpeg2video", "-g", "100"});
    const std::string whole = bytesOf("a.ts");
    const std::size_t packets = whole.size() / 188;
    const std::string cut = write("cut.ts", whole.substr(packets / 2 * 188));
    const ReadMovie movie = readMovie(*openLibavAsset(cut), PixelLayout::k2vuy);
    EXPECT_TRUE(movie.frames.empty());
    expectFailure(movie, MediaErrorCode::kDamagedPicture);
}

/// These decoders fill in what does not decode and mark nothing.
TEST_F(BadInput, damagedLightlyFailsWhereTheDecoderHidesIt) {
    for (const std::vector<std::string>& codec :
         {std::vector<std::string>{"-c:v", "ffv1", "-level", "3", "-slices", "4", "-slicecrc", "1"},
          std::vector<std::string>{"-c:v", "mjpeg", "-q:v", "3"}}) {
        for (const char* name : {"a.mkv", "a.mov"}) {
            makeNumberedMovie(path(name), 50, "25:1", codec, 320, 240);
            for (const int threads : {1, 4}) {
                const auto whole = openLibavAsset(path(name), {threads});
                EXPECT_EQ(readMovie(*whole, PixelLayout::k2vuy).status,
                          AssetReader::Status::kCompleted)
                    << codec[1] << " " << name;
                std::string bytes = bytesOf(name);
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 24,
                            '\x33');
                const auto asset =
                    openLibavAsset(write(std::string("damaged.") + name, bytes), {threads});
                const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
                EXPECT_GE(movie.frames.size(), 49U);
                expectFailure(movie, MediaErrorCode::kDamagedPicture);
            }
        }
    }
}

TEST_F(BadInput, flippedAnywhereNeverCrashesOrHangs) {
    makeNumberedMovie(
        path("a.mp4"), 12, "25:1",
        {"-c:v", "libx264", "-bf", "2", "-timecode", "01:00:00:00", "-movflags", "+faststart"}, 64,
        48);
    const std::string whole = bytesOf("a.mp4");
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        // Mostly in the header, which is a small part of the file.
        const std::size_t reach =
            round % 3 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 3000);
        for (int flips = 0; flips <= round % 5; ++flips) {
            bytes[random() % reach] ^= static_cast<char>(1U << (random() % 8));
        }
        const auto asset = openLibavAsset(write("flipped.mp4", bytes));
        if (!asset->isPlayable() || !asset->isReadable()) {
            EXPECT_TRUE(asset->error().has_value()) << round;
            continue;
        }
        const ReadMovie movie = readMovie(*asset, PixelLayout::k2vuy);
        EXPECT_NE(movie.status, AssetReader::Status::kReading) << round;
        EXPECT_EQ(movie.status == AssetReader::Status::kFailed, movie.error.has_value()) << round;
    }
}

TEST_F(BadInput, cutAnywhereNeverCrashesOrHangs) {
    makeNumberedMovie(path("a.mkv"), 12, "25:1", {"-c:v", "libx264", "-bf", "2"}, 64, 48);
    makeNumberedMovie(path("a.ts"), 12, "25:1", {"-c:v", "mpeg2video", "-bf", "2"}, 64, 48);
    for (const char* name : {"a.mkv", "a.ts"}) {
        const std::string whole = bytesOf(name);
        for (std::size_t size = 0; size < whole.size(); size += whole.size() / 40 + 1) {
            const auto asset = openLibavAsset(write("cut.bin", whole.substr(0, size)));
            if (asset->isPlayable() && asset->isReadable()) {
                const ReadMovie movie = readMovie(*asset, PixelLayout::kV210);
                EXPECT_NE(movie.status, AssetReader::Status::kReading) << name << size;
            } else {
                EXPECT_TRUE(asset->error().has_value()) << name << size;
            }
        }
    }
}

TEST_F(BadInput, isNeverAPathWithUnusualCharacters) {
    makeNumberedMovie(path("a.mp4"), 3, "25:1", {"-c:v", "libx264"});
    for (const std::string name :
         {"with blanks.mp4", "quote'\"`.mp4", "at@percent%20%s.mp4", "line\nbreak.mp4",
          "gr\xC3\xBC\xC3\x9F \xE6\x98\xA0\xE7\x94\xBB.mp4", "bad\xFF\xC0utf8.mp4", "-dash.mp4",
          "file:colon.mp4", "hash#question?.mp4"}) {
        std::filesystem::copy_file(path("a.mp4"), path(name));
        const auto asset = openLibavAsset(path(name));
        ASSERT_TRUE(asset->isReadable()) << name << test::words(asset->error());
        EXPECT_EQ(readMovie(*asset, PixelLayout::k2vuy).frames.size(), 3U) << name;
        EXPECT_EQ(asset->url()->path, path(name));
        EXPECT_EQ(asset->url()->scheme, "file");
    }
}

TEST_F(BadInput, goneAfterOpeningIsReadByTheFirstReaderAndFailsTheNext) {
    makeNumberedMovie(path("a.mp4"), 3, "25:1", {"-c:v", "libx264"});
    const auto asset = openLibavAsset(path("a.mp4"));
    std::filesystem::remove(path("a.mp4"));
    EXPECT_EQ(readMovie(*asset, PixelLayout::k2vuy).frames.size(), 3U);
    expectFailure(readMovie(*asset, PixelLayout::k2vuy), MediaErrorCode::kCannotOpen);
}

} // namespace
} // namespace fw
