#include "scanner/FWFrameScan.h"
#include "tests/scanner/ParentRecord.h"
#include "tests/scanner/ScanMovie.h"
#include "tests/support/SystemLogCapture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace fw {
namespace {

using test::cleanMovie;
using test::frame10;
using test::frame8;
using test::frameRange;
using test::movieOf;
using test::ParentRecord;
using testing::ElementsAre;
using testing::IsEmpty;

using Frames = std::vector<std::shared_ptr<PixelBuffer>>;
using Lines = std::vector<std::string>;

constexpr std::int64_t kHuge = std::int64_t{1} << 62;

/// A scan with a recording parent; the flash check is off unless a test turns it on.
class FWFrameScanTest : public testing::Test {
protected:
    void scanMovie(std::shared_ptr<const Asset> movie, const MediaTimeRange& range) {
        scan.setAsset(std::move(movie));
        scan.setTimeRange(range);
        scan.startScanning();
        EXPECT_TRUE(scan.scanComplete());
    }

    FWFrameScanTest() {
        scan.setFilename("/a movie.mov");
        scan.setTimecodeStart("00:00:00:00");
        scan.setShouldCheckFlashFrames(false);
    }

    test::SystemLogCapture log;
    ParentRecord parent;
    FWFrameScan scan{parent.finder(), {"OxbowGlint", "/a movie.mov", "0"}};
};

// Properties.

TEST_F(FWFrameScanTest, HasItsDefaults) {
    const FWFrameScan fresh;
    EXPECT_EQ(fresh.asset(), nullptr);
    EXPECT_EQ(fresh.filename(), "");
    EXPECT_FALSE(fresh.timeRange().start.isValid());
    EXPECT_EQ(fresh.timeRange().duration.value, 0);
    EXPECT_EQ(fresh.curFrame(), 0);
    EXPECT_EQ(fresh.lastFrame(), -1);
    EXPECT_EQ(fresh.bitDepth(), 8);
    EXPECT_EQ(fresh.refWhite(), 235);
    EXPECT_EQ(fresh.refBlack(), 16);
    EXPECT_TRUE(fresh.shouldCheckLuma());
    EXPECT_TRUE(fresh.shouldCheckFlashFrames());
    EXPECT_EQ(fresh.flashFrameLength(), 4);
    EXPECT_EQ(fresh.flashFrameSensitivity(), 5);
    EXPECT_FALSE(fresh.enforceAspectRatio());
    EXPECT_EQ(fresh.aspectRatio(), 1.0);
    EXPECT_FALSE(fresh.scanComplete());
    EXPECT_EQ(fresh.timecodeStart(), std::nullopt);
    EXPECT_EQ(fresh.connection(), nullptr);
    EXPECT_EQ(fresh.proxyObject(), nullptr);
    EXPECT_FALSE(fresh.shouldOutputToStdout());
}

TEST_F(FWFrameScanTest, KeepsWhatItsPropertiesAreSetTo) {
    const auto movie = cleanMovie(1);
    const auto connection = parent.finder()("name");
    FWFrameScan fresh;
    fresh.setAsset(movie);
    fresh.setFilename("f");
    fresh.setTimeRange(frameRange(1, 3));
    fresh.setCurFrame(2);
    fresh.setLastFrame(3);
    fresh.setBitDepth(10);
    fresh.setRefWhite(4);
    fresh.setRefBlack(5);
    fresh.setShouldCheckLuma(false);
    fresh.setShouldCheckFlashFrames(false);
    fresh.setFlashFrameLength(-6);
    fresh.setFlashFrameSensitivity(7);
    fresh.setEnforceAspectRatio(true);
    fresh.setAspectRatio(1.5);
    fresh.setScanComplete(true);
    fresh.setTimecodeStart("01:00:00:00");
    fresh.setConnection(connection);
    fresh.setProxyObject(connection->rootProxy());
    fresh.setShouldOutputToStdout(true);
    EXPECT_EQ(fresh.asset(), movie);
    EXPECT_EQ(fresh.filename(), "f");
    EXPECT_EQ(fresh.timeRange().start.value, 1000);
    EXPECT_EQ(fresh.curFrame(), 2);
    EXPECT_EQ(fresh.lastFrame(), 3);
    EXPECT_EQ(fresh.bitDepth(), 10);
    EXPECT_EQ(fresh.refWhite(), 4);
    EXPECT_EQ(fresh.refBlack(), 5);
    EXPECT_FALSE(fresh.shouldCheckLuma());
    EXPECT_FALSE(fresh.shouldCheckFlashFrames());
    EXPECT_EQ(fresh.flashFrameLength(), -6);
    EXPECT_EQ(fresh.flashFrameSensitivity(), 7);
    EXPECT_TRUE(fresh.enforceAspectRatio());
    EXPECT_EQ(fresh.aspectRatio(), 1.5);
    EXPECT_TRUE(fresh.scanComplete());
    EXPECT_EQ(fresh.timecodeStart(), "01:00:00:00");
    EXPECT_EQ(fresh.connection(), connection);
    EXPECT_EQ(fresh.proxyObject(), connection->rootProxy());
    EXPECT_TRUE(fresh.shouldOutputToStdout());
}

TEST_F(FWFrameScanTest, LetsGoOfItsMovieAndItsParentWhenItGoes) {
    const auto movie = cleanMovie(1);
    {
        FWFrameScan scoped(parent.finder());
        scoped.setAsset(movie);
        scoped.startScanning();
        EXPECT_EQ(movie.use_count(), 2);
    }
    EXPECT_EQ(movie.use_count(), 1);
}

// The start.

TEST_F(FWFrameScanTest, LooksUpItsParentByTheMoviesNameAndKeepsIt) {
    scanMovie(cleanMovie(1), frameRange(0, 1));
    EXPECT_THAT(parent.names, ElementsAre("Oxbow - /a movie.mov"));
    ASSERT_NE(scan.connection(), nullptr);
    EXPECT_EQ(scan.proxyObject(), scan.connection()->rootProxy());
}

TEST_F(FWFrameScanTest, AsksTheParentAndSendsTheNotesBeforeAnyFrame) {
    scanMovie(cleanMovie(2), frameRange(1, 2));
    EXPECT_THAT(parent.events,
                ElementsAre("responds frameProcessed:", "callback init",
                            "callback timerange: 1000,25000 - 1000, 25000",
                            "callback duration: 2000 25000",
                            "callback args: (\n    OxbowGlint,\n    \"/a movie.mov\",\n    0\n)",
                            "frame 0", "frame 1", "finished"));
}

TEST_F(FWFrameScanTest, NotesPrintTheLow32BitsOfTimes) {
    const auto movie = cleanMovie(0);
    movie->duration_ = MediaTime::make((std::int64_t{7} << 32) + 9, 600);
    scanMovie(movie, {MediaTime::make(-1, 25), MediaTime::make((std::int64_t{1} << 31), 30)});
    EXPECT_EQ(parent.events.at(2), "callback timerange: -2147483648,30 - -1, 25");
    EXPECT_EQ(parent.events.at(3), "callback duration: 9 600");
}

TEST_F(FWFrameScanTest, ResetsItsStateOnlyAfterTheNotes) {
    scan.setScanComplete(true);
    scan.setLastFrame(99);
    std::vector<bool> complete;
    std::vector<std::int64_t> last;
    parent.onEvent = [&](const std::string& event) {
        if (event.starts_with("callback args") || event.starts_with("frame")) {
            complete.push_back(scan.scanComplete());
            last.push_back(scan.lastFrame());
        }
    };
    scanMovie(cleanMovie(1), frameRange(0, 1));
    EXPECT_THAT(complete, ElementsAre(true, false));
    EXPECT_THAT(last, ElementsAre(99, -1));
}

TEST_F(FWFrameScanTest, IsNotCompleteBeforeItsClosingMessage) {
    bool completeAtEnd = true;
    parent.onEvent = [&](const std::string& event) {
        if (event == "finished") {
            completeAtEnd = scan.scanComplete();
        }
    };
    scanMovie(cleanMovie(1), frameRange(0, 1));
    EXPECT_FALSE(completeAtEnd);
}

// Reading.

TEST_F(FWFrameScanTest, DecodesTheFirstVideoTrackTo2vuyUnlessTheDepthIsTen) {
    for (const std::int64_t depth : {0, 8, 9, 10, 12, -10}) {
        const auto movie = cleanMovie(1);
        movie->tracks_.insert(movie->tracks_.begin(), Track{.id = 3,
                                                            .mediaType = MediaType::kAudio,
                                                            .formatDescriptions = {},
                                                            .frameRate = {},
                                                            .frameCount = {}});
        movie->tracks_.push_back(test::videoTrack(8, 25));
        FWFrameScan one(test::noParent);
        one.setShouldCheckFlashFrames(false);
        one.setBitDepth(depth);
        one.setAsset(movie);
        one.startScanning();
        EXPECT_EQ(movie->log_.trackId, test::kVideoTrackId);
        ASSERT_TRUE(movie->log_.settings.has_value());
        EXPECT_EQ(std::get<VideoFrames>(*movie->log_.settings).layout,
                  depth == 10 ? PixelLayout::kV210 : PixelLayout::k2vuy)
            << depth;
    }
}

TEST_F(FWFrameScanTest, ReadsTheFlashLengthBeforeTheRangeAndEndsWithIt) {
    const auto movie = cleanMovie(20);
    scanMovie(movie, frameRange(10, 12));
    ASSERT_TRUE(movie->log_.range.has_value());
    EXPECT_EQ(movie->log_.range->start.value, 6000);
    EXPECT_EQ(movie->log_.range->start.timescale, 25000);
    EXPECT_EQ(movie->log_.range->duration.value, 6000);
    EXPECT_EQ(movie->log_.range->duration.timescale, 25000);
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("6", "7", "8", "9", "10", "11"));
}

TEST_F(FWFrameScanTest, AFlashLengthBelowOneReadsOneFrameBefore) {
    for (const std::int64_t length : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-2},
                                      std::numeric_limits<std::int64_t>::min()}) {
        const auto movie = cleanMovie(20);
        FWFrameScan one(test::noParent);
        one.setFlashFrameLength(length);
        one.setTimeRange(frameRange(10, 12));
        one.setAsset(movie);
        one.startScanning();
        EXPECT_EQ(one.flashFrameLength(), 1);
        EXPECT_EQ(movie->log_.range->start.value, 9000) << length;
        EXPECT_EQ(movie->log_.range->end(), frameRange(10, 12).end());
    }
}

TEST_F(FWFrameScanTest, AHugeFlashLengthReadsFromTheStartAndKeepsTheEnd) {
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameLength(kHuge);
    scanMovie(cleanMovie(20), frameRange(10, 12));
    EXPECT_EQ(parent.eventsOf("frame").size(), 12U);
    EXPECT_EQ(parent.eventsOf("frame").back(), "11");
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FWFrameScanTest, TheLeadInIsReadWithoutTheFlashCheckToo) {
    scanMovie(cleanMovie(20), frameRange(10, 11));
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("6", "7", "8", "9", "10"));
}

TEST_F(FWFrameScanTest, SkipsSamplesWithoutAnImageAndWaitsForLateOnes) {
    const auto movie = cleanMovie(3);
    movie->reading(test::kVideoTrackId).samples[1].image = nullptr;
    movie->reading(test::kVideoTrackId).emptyAnswers = 2;
    scanMovie(movie, frameRange(0, 3));
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "2"));
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FWFrameScanTest, AMovieWithoutVideoGetsTheNotesAndTheClosingMessageOnly) {
    const auto movie = cleanMovie(3);
    movie->tracks_.clear();
    scanMovie(movie, frameRange(0, 3));
    ASSERT_EQ(parent.events.size(), 6U);
    EXPECT_EQ(parent.events.back(), "finished");
    EXPECT_EQ(movie->log_.readersMade, 1);
    EXPECT_EQ(movie->log_.range, std::nullopt) << "nothing was read";
}

TEST_F(FWFrameScanTest, AMovieOfNoFramesIsFinishedAtOnce) {
    scan.setShouldCheckFlashFrames(true);
    scan.setShouldOutputToStdout(true);
    scanMovie(cleanMovie(0), frameRange(0, 0));
    EXPECT_THAT(parent.eventsOf("frame"), IsEmpty());
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FWFrameScanTest, ARangeThatEndsBeforeItStartsReportsItsLeadInAsClean) {
    const auto movie = movieOf(Frames(20, frame8(0)));
    scanMovie(movie, frameRange(10, 8));
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("6", "7"));
}

TEST_F(FWFrameScanTest, ARangeFromBelowZeroIsReadFromZero) {
    scanMovie(movieOf(Frames(3, frame8(0))), frameRange(-5, 2));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0 00:00:00:00 0/25000 [Blacks too low - 0 (256, 50.00%)]",
                            "1 00:00:00:01 1000/25000 [Blacks too low - 0 (256, 50.00%)]"));
}

TEST_F(FWFrameScanTest, FrameNumbersAreExactAndNeverBelowZero) {
    const auto movie = cleanMovie(30);
    auto& samples = movie->reading(test::kVideoTrackId).samples;
    samples.front().time = MediaTime::make(-1000, 25000);
    movie->reading(test::kVideoTrackId).ignoreRange = true;
    scanMovie(movie, frameRange(0, 30));
    EXPECT_EQ(parent.eventsOf("frame").front(), "0");
    EXPECT_EQ(parent.eventsOf("frame").back(), "29") << "29 / 25 x 25 is 28 in doubles";
}

// Faults.

TEST_F(FWFrameScanTest, FaultyFramesCarryTimecodeTimeAndMessages) {
    scan.setTimecodeStart("01:00:00:00");
    scanMovie(movieOf({frame8(128), frame8(15), frame8(128), frame8(236)}), frameRange(0, 4));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1 01:00:00:01 1000/25000 [Blacks too low - 15 (256, 50.00%)]",
                            "2", "3 01:00:00:03 3000/25000 [Whites too high - 236 (256, 50.00%)]"));
}

TEST_F(FWFrameScanTest, MatteMessagesComeBeforeBlacksAndBlacksBeforeWhites) {
    const auto frame = frame8(0, 64, 64);
    for (std::uint64_t y = 0; y < 64; y += 2) {
        std::fill(frame->row(y), frame->row(y + 1), std::uint8_t{255});
    }
    scan.setEnforceAspectRatio(true);
    scan.setAspectRatio(2);
    scanMovie(movieOf({frame}), frameRange(0, 1));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0 00:00:00:00 0/25000 [Upper matte area is not completely black; "
                            "Lower matte area is not completely black; "
                            "Blacks too low - 0 (2048, 25.00%); "
                            "Whites too high - 255 (2048, 25.00%)]"));
}

TEST_F(FWFrameScanTest, EachCheckRunsOnlyWhenAskedFor) {
    scan.setShouldCheckLuma(false);
    scan.setAspectRatio(2);
    scanMovie(movieOf({frame8(255, 64, 64)}), frameRange(0, 1));
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0"));
}

TEST_F(FWFrameScanTest, TheMatteCheckIsOfTheScansRatioAndDepth) {
    scan.setAspectRatio(2);
    const auto frame = frame8(100, 64, 64);
    EXPECT_EQ(scan.checkAspectRatio(*frame)->size(), 2U);
    scan.setAspectRatio(0);
    EXPECT_EQ(scan.checkAspectRatio(*frame)->size(), 0U);
    std::uint64_t black = 0;
    std::uint64_t nonBlack = 0;
    scan.scanPixelRow(*frame, 0, &black, &nonBlack);
    EXPECT_EQ(nonBlack, 64U);
    scan.scanPixelColumn(*frame, 0, &black, &nonBlack);
    EXPECT_EQ(nonBlack, 63U);
    scan.setBitDepth(10);
    scan.scanPixelRow(*frame, 0, &black, &nonBlack);
    EXPECT_EQ(black + nonBlack, 16U);
}

TEST_F(FWFrameScanTest, TenBitLevelsAreNotScaled) {
    scan.setBitDepth(10);
    scanMovie(movieOf({frame10(502), frame10(200)}), frameRange(0, 2));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0 00:00:00:00 0/25000 [Whites too high - 502 (192, 187.50%)]", "1"));
}

TEST_F(FWFrameScanTest, FaultsOutsideTheRangeAreDropped) {
    const auto movie = movieOf(Frames(8, frame8(0)));
    movie->reading(test::kVideoTrackId).ignoreRange = true;
    scanMovie(movie, frameRange(4, 6));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1", "2", "3",
                            "4 00:00:00:04 4000/25000 [Blacks too low - 0 (256, 50.00%)]",
                            "5 00:00:00:05 5000/25000 [Blacks too low - 0 (256, 50.00%)]", "6",
                            "7"))
        << "the range contains its start and not its end";
}

TEST_F(FWFrameScanTest, FramesOfOnePixelAndOfOneMacroblockAreScanned) {
    for (const std::int64_t depth : {8, 10}) {
        FWFrameScan one(parent.finder());
        one.setTimecodeStart("00:00:00:00");
        one.setBitDepth(depth);
        one.setRefBlack(depth == 10 ? 64 : 16);
        one.setRefWhite(depth == 10 ? 940 : 235);
        one.setEnforceAspectRatio(true);
        one.setTimeRange(frameRange(0, 2));
        one.setAsset(depth == 10 ? movieOf({frame10(500, 1, 1), frame10(500, 16, 16)})
                                 : movieOf({frame8(100, 1, 1), frame8(100, 16, 16)}));
        parent.events.clear();
        one.startScanning();
        EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "1"));
        EXPECT_EQ(parent.events.back(), "finished");
    }
}

// Flashes. Frames of 64 x 64 pixels: black and grey ones differ by 64 in the mean.

Frames sceneWithFlashAt(std::size_t flash, std::size_t count) {
    Frames frames(count, frame8(40, 64, 64));
    frames[flash] = frame8(128, 64, 64);
    // What follows differs from what was before: a single flash needs it.
    const auto after = frame8(40, 64, 64);
    for (std::uint64_t y = 0; y < 32; ++y) {
        std::fill(after->row(y), after->row(y + 1), std::uint8_t{160});
    }
    std::fill(frames.begin() + static_cast<std::ptrdiff_t>(flash) + 1, frames.end(), after);
    return frames;
}

TEST_F(FWFrameScanTest, ASingleFlashIsReportedBeforeTheFrameThatShowsIt) {
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scanMovie(movieOf(sceneWithFlashAt(3, 5)), frameRange(0, 5));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1", "2", "3",
                            "3 00:00:00:03 3000/25000 [Flash frame (1 frame)] "
                            "{diff1: 64.000000, diff2: 64.000000, diff3: 32.000000}",
                            "4"));
}

TEST_F(FWFrameScanTest, ABurstIsReportedWithAFrameNumberOneAboveItsTime) {
    Frames frames(12, frame8(40, 64, 64));
    frames[6] = frames[7] = frame8(128, 64, 64);
    scan.setShouldCheckFlashFrames(true);
    scanMovie(movieOf(frames), frameRange(0, 12));
    const Lines reported = parent.eventsOf("frame");
    ASSERT_EQ(reported.size(), 13U);
    EXPECT_EQ(reported[10], "7 00:00:00:06 6000/25000 [Flash frame (2 frames)]");
    EXPECT_EQ(reported[11], "10");
}

TEST_F(FWFrameScanTest, FlashesAreNotFilteredByTheRange) {
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scanMovie(movieOf(sceneWithFlashAt(3, 8)), frameRange(6, 8));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("2", "3",
                            "3 00:00:00:03 3000/25000 [Flash frame (1 frame)] "
                            "{diff1: 64.000000, diff2: 64.000000, diff3: 32.000000}",
                            "4", "5", "6", "7"));
}

TEST_F(FWFrameScanTest, AFlashComesBeforeTheFaultsOfTheFrameThatShowsIt) {
    auto frames = sceneWithFlashAt(2, 4);
    for (auto& frame : frames) {
        auto& bytes = dynamic_cast<MemoryPixelBuffer&>(*frame);
        std::fill(bytes.row(63) + 0, bytes.row(63) + 24, std::uint8_t{1});
    }
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scanMovie(movieOf(frames), frameRange(0, 4));
    const Lines reported = parent.eventsOf("frame");
    ASSERT_EQ(reported.size(), 5U);
    EXPECT_THAT(reported[3], testing::HasSubstr("Flash frame (1 frame)"));
    EXPECT_EQ(reported[4], "3 00:00:00:03 3000/25000 [Blacks too low - 1 (12, 0.15%)]");
}

TEST_F(FWFrameScanTest, WithALengthBelowMinusOneFramesAreReportedAndFlashesAreNot) {
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scan.setFlashFrameLength(-2);
    scanMovie(movieOf(sceneWithFlashAt(3, 5)), frameRange(0, 5));
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "1", "2", "3", "4"));
}

TEST_F(FWFrameScanTest, TenBitFramesAreComparedByTheirTenBitSamples) {
    const auto after = frame10(100, 96, 64); // 2048 groups, of which half change.
    const auto bright = frame10(220, 96, 64);
    std::copy(bright->row(0), bright->row(32), after->row(0));
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scan.setBitDepth(10);
    scan.setShouldCheckLuma(false);
    scanMovie(movieOf({frame10(100, 96, 64), frame10(160, 96, 64), after}), frameRange(0, 3));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1",
                            "1 00:00:00:01 1000/25000 [Flash frame (1 frame)] "
                            "{diff1: 64.000000, diff2: 64.000000, diff3: 32.000000}",
                            "2"));
}

TEST_F(FWFrameScanTest, AtDepthsOtherThan8And10FramesAreComparedUnconverted) {
    // As bytes, the luma codes 128 and 160 of the flash and of half its successor fall together.
    scan.setShouldCheckFlashFrames(true);
    scan.setFlashFrameSensitivity(13);
    scan.setBitDepth(12);
    scanMovie(movieOf(sceneWithFlashAt(1, 3)), frameRange(0, 3));
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1",
                            "1 00:00:00:01 1000/25000 [Flash frame (1 frame)] "
                            "{diff1: 32.000000, diff2: 64.000000, diff3: 32.000000}",
                            "2"));
}

TEST_F(FWFrameScanTest, FlashesOfTheLastFramesAreNotSentToTheParent) {
    Frames frames(9, frame8(40, 64, 64));
    frames[6] = frames[7] = frame8(128, 64, 64);
    scan.setShouldCheckFlashFrames(true);
    scanMovie(movieOf(frames), frameRange(0, 9));
    EXPECT_EQ(parent.eventsOf("frame").size(), 9U);
}

// Threads.

TEST_F(FWFrameScanTest, AnotherThreadMayWatchForTheEnd) {
    scan.setAsset(cleanMovie(200));
    scan.setTimeRange(frameRange(0, 200));
    std::thread worker([this] { scan.startScanning(); });
    while (!scan.scanComplete()) {
        std::this_thread::yield();
    }
    // Nothing of the scan happens after that: what it wrote may be read.
    EXPECT_EQ(parent.events.size(), 5U + 200U + 1U);
    worker.join();
}

} // namespace
} // namespace fw
