#include "scanner/FWFrameScan.h"
#include "scanner/ScanReporter.h"
#include "tests/scanner/ParentRecord.h"
#include "tests/scanner/ScanMovie.h"
#include "tests/support/SystemLogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

using test::cleanMovie;
using test::frame8;
using test::frameRange;
using test::movieOf;
using test::ParentRecord;
using testing::ElementsAre;

using Frames = std::vector<std::shared_ptr<PixelBuffer>>;
using Lines = std::vector<std::string>;

/// What a scan with records on prints.
class FrameScanRecordTest : public testing::Test {
protected:
    FrameScanRecordTest() {
        scan.setTimecodeStart("00:00:00:00");
        scan.setShouldOutputToStdout(true);
    }

    std::string recordsOf(std::shared_ptr<const Asset> movie, const MediaTimeRange& range) {
        scan.setAsset(std::move(movie));
        scan.setTimeRange(range);
        testing::internal::CaptureStdout();
        scan.startScanning();
        return testing::internal::GetCapturedStdout();
    }

    test::SystemLogCapture log;
    ParentRecord parent;
    FWFrameScan scan{parent.finder()};
};

TEST_F(FrameScanRecordTest, ACleanFrameIsItsNumberAndNoErrors) {
    EXPECT_EQ(recordsOf(cleanMovie(3), frameRange(0, 3)),
              "0@No errors\n1@No errors\n2@No errors\n");
}

TEST_F(FrameScanRecordTest, AFaultyFrameJoinsItsMessages) {
    scan.setEnforceAspectRatio(true);
    scan.setAspectRatio(2);
    const auto frame = frame8(100, 64, 64);
    std::fill(frame->row(0), frame->row(1), std::uint8_t{0});
    EXPECT_EQ(recordsOf(movieOf({frame8(128), frame}), frameRange(1, 2)),
              "0@No errors\n"
              "1@00:00:00:01@1000@25000@Upper matte area is not completely black#"
              "Lower matte area is not completely black#Blacks too low - 0 (64, 0.78%)\n");
}

TEST_F(FrameScanRecordTest, ALeadInFrameWithFaultsIsClean) {
    EXPECT_EQ(recordsOf(movieOf(Frames(2, frame8(255))), frameRange(1, 2)),
              "0@No errors\n"
              "1@00:00:00:01@1000@25000@Whites too high - 255 (256, 50.00%)\n");
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0", "1 00:00:00:01 1000/25000 "
                                 "[Whites too high - 255 (256, 50.00%)]"));
}

TEST_F(FrameScanRecordTest, AFlashIsItsMessageWithoutTheInfo) {
    Frames frames(5, frame8(40, 64, 64));
    frames[3] = frame8(128, 64, 64);
    const auto after = frame8(40, 64, 64);
    std::fill(after->row(0), after->row(32), std::uint8_t{160});
    frames[4] = after;
    scan.setFlashFrameSensitivity(13);
    EXPECT_THAT(recordsOf(movieOf(frames), frameRange(0, 5)),
                testing::StartsWith("0@No errors\n1@No errors\n2@No errors\n3@No errors\n"
                                    "3@00:00:00:03@3000@25000@Flash frame (1 frame)\n"
                                    "4@No errors\n"));
    EXPECT_THAT(parent.eventsOf("frame").at(4), testing::HasSubstr("{diff1: "));
}

TEST_F(FrameScanRecordTest, AFlashOfTheLastFramesIsARecordOnly) {
    Frames frames(9, frame8(40, 64, 64));
    frames[6] = frames[7] = frame8(128, 64, 64);
    const std::string records = recordsOf(movieOf(frames), frameRange(0, 9));
    EXPECT_THAT(records, testing::EndsWith("8@No errors\n"
                                           "6@00:00:00:06@6000@25000@Flash frame (2 frames)\n"));
    EXPECT_EQ(parent.eventsOf("frame").size(), 9U);
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FrameScanRecordTest, WithoutTheFlashCheckTheLastFramesAreNotLookedAt) {
    Frames frames(9, frame8(40, 64, 64));
    frames[6] = frames[7] = frame8(128, 64, 64);
    scan.setShouldCheckFlashFrames(false);
    EXPECT_THAT(recordsOf(movieOf(frames), frameRange(0, 9)),
                testing::Not(testing::HasSubstr("Flash")));
}

TEST_F(FrameScanRecordTest, RecordsNeedNoParent) {
    FWFrameScan alone(test::noParent);
    alone.setShouldOutputToStdout(true);
    alone.setAsset(cleanMovie(2));
    alone.setTimeRange(frameRange(0, 2));
    testing::internal::CaptureStdout();
    alone.startScanning();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0@No errors\n1@No errors\n");
}

TEST_F(FrameScanRecordTest, ARecordFollowsItsMessage) {
    // The message of frame 1 fails, so its record is not written.
    parent.goneAt = 6;
    EXPECT_EQ(recordsOf(cleanMovie(3), frameRange(0, 3)), "0@No errors\n");
    EXPECT_EQ(parent.events.back(), "frame 0");
}

// The reporter alone.

TEST(ScanReporterTest, NumbersAreCutTo32BitsAndValuesAreUnsigned) {
    const ScanReporter reporter({nullptr, true}, cleanMovie(1), "00:00:00:00");
    testing::internal::CaptureStdout();
    reporter.cleanFrame((std::int64_t{1} << 32) + 5);
    reporter.cleanFrame(-1);
    reporter.flash({-3, MediaTime::make(-5000, 25000), "Flash frame (2 frames)", std::nullopt});
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "5@No errors\n4294967295@No errors\n"
              "4294967293@00:00:00:00@18446744073709546616@25000@Flash frame (2 frames)\n");
}

TEST(ScanReporterTest, TheDictionaryKeepsNumbersSignedAndWhole) {
    ParentRecord parent;
    const ScanReporter reporter({parent.finder()("")->rootProxy(), false}, cleanMovie(1),
                                "00:00:00:00");
    reporter.cleanFrame((std::int64_t{1} << 32) + 5);
    reporter.flash({-3, MediaTime::make(-5000, 25000), "Flash frame (2 frames)", std::nullopt});
    EXPECT_THAT(parent.events,
                ElementsAre("frame 4294967301",
                            "frame -3 00:00:00:00 -5000/25000 [Flash frame (2 frames)]"));
}

TEST(ScanReporterTest, SeparatorsInMessagesAreNotEscaped) {
    const ScanReporter reporter({nullptr, true}, cleanMovie(1), "00:00:00:00");
    testing::internal::CaptureStdout();
    reporter.faultyFrame(1, MediaTime::make(1000, 25000), {"a@b", "c#d", ""});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "1@00:00:00:01@1000@25000@a@b#c#d#\n");
}

TEST(ScanReporterTest, LateFlashesAreNeverSent) {
    ParentRecord parent;
    const ScanReporter reporter({parent.finder()("")->rootProxy(), false}, cleanMovie(1),
                                "00:00:00:00");
    testing::internal::CaptureStdout();
    reporter.lateFlash({1, MediaTime::make(1000, 25000), "Flash frame (1 frame)", std::nullopt});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(parent.events, testing::IsEmpty());
}

} // namespace
} // namespace fw
