#include "base/PlatformException.h"
#include "scanner/FWFrameScan.h"
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
using testing::IsEmpty;

using Lines = std::vector<std::string>;

/// A frame that counts its locks and may refuse to tell its width, which the matte check alone
/// asks for, or its samples.
class ObservedFrame final : public PixelBuffer {
public:
    void lock() override { ++locked; }
    void unlock() override { --locked; }
    std::uint64_t width() const override {
        if (refusesWidth) {
            throw PlatformException("No width.");
        }
        return frame_->width();
    }
    std::uint64_t height() const override { return frame_->height(); }
    std::uint64_t bytesPerRow() const override { return frame_->bytesPerRow(); }
    const std::uint8_t* base() const override {
        EXPECT_GT(locked, 0);
        if (refusesSamples) {
            throw PlatformException("No samples.");
        }
        return frame_->base();
    }

    int locked = 0;
    bool refusesWidth = false;
    bool refusesSamples = false;

private:
    std::shared_ptr<MemoryPixelBuffer> frame_ = frame8(0);
};

class FrameScanFailureTest : public testing::Test {
protected:
    FrameScanFailureTest() { scan.setTimecodeStart("00:00:00:00"); }

    void scanMovie(std::shared_ptr<const Asset> movie) {
        const MediaTime length = movie->duration();
        scan.setAsset(std::move(movie));
        scan.setTimeRange({MediaTime::make(0, 25000), length});
        scan.startScanning();
        EXPECT_TRUE(scan.scanComplete());
    }

    test::SystemLogCapture log;
    ParentRecord parent;
    FWFrameScan scan{parent.finder()};
};

TEST_F(FrameScanFailureTest, AReaderThatCannotBeMadeIsToldToTheParentAndNothingIsRead) {
    const auto movie = cleanMovie(3);
    movie->reading(test::kVideoTrackId).creationError = Error{"domain", -12, "It is encrypted."};
    scan.setFlashFrameLength(0);
    scanMovie(movie);
    ASSERT_EQ(parent.events.size(), 6U) << "question, notes, failure";
    EXPECT_EQ(parent.events.back(), "failed domain -12 It is encrypted.");
    EXPECT_EQ(scan.flashFrameLength(), 1) << "was held before";
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(FrameScanFailureTest, AReaderThatFailsIsToldAfterEveryFrameThatItGave) {
    const auto movie = cleanMovie(3);
    movie->reading(test::kVideoTrackId).finalError = Error{"domain", 5, "Damaged."};
    scanMovie(movie);
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "1", "2"));
    EXPECT_EQ(parent.events.back(), "failed domain 5 Damaged.");
    EXPECT_EQ(parent.eventsOf("failed").size(), 1U);
}

TEST_F(FrameScanFailureTest, AReaderThatNeverStartsWithoutFailingIsFinished) {
    const auto movie = cleanMovie(3);
    movie->reading(test::kVideoTrackId).neverStarts = true;
    scanMovie(movie);
    EXPECT_THAT(parent.eventsOf("frame"), IsEmpty());
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FrameScanFailureTest, AnExceptionOfTheReaderEndsTheScanWithoutAClosingMessage) {
    for (const std::size_t index : {0U, 1U, 3U}) {
        const auto movie = cleanMovie(3);
        movie->reading(test::kVideoTrackId).exceptionText = "The disk is gone.";
        movie->reading(test::kVideoTrackId).exceptionIndex = index;
        parent.events.clear();
        log.lines.clear();
        scanMovie(movie);
        EXPECT_EQ(parent.events.size(), 5 + index);
        EXPECT_EQ(log.lines, Lines{"Exception: The disk is gone."});
    }
}

TEST_F(FrameScanFailureTest, AnyExceptionIsCaught) {
    parent.onEvent = [](const std::string&) {
        throw std::bad_alloc();
    };
    scanMovie(cleanMovie(1));
    EXPECT_EQ(log.lines, Lines{"Exception: std::bad_alloc"});
}

TEST_F(FrameScanFailureTest, AScanWithoutAMovieEndsWithALogLine) {
    scan.startScanning();
    EXPECT_TRUE(scan.scanComplete());
    EXPECT_EQ(log.lines, Lines{"Exception: The scan has no movie."});
}

TEST_F(FrameScanFailureTest, AParentThatDiesAtAnyMessageEndsTheScanThere) {
    const auto movie = [] {
        return movieOf({frame8(128), frame8(0), frame8(255)});
    };
    scanMovie(movie());
    const Lines all = parent.events;
    ASSERT_EQ(all.size(), 9U);
    for (std::size_t k = 0; k < all.size(); ++k) {
        log.lines.clear();
        ParentRecord mortal;
        mortal.goneAt = k;
        FWFrameScan one(mortal.finder());
        one.setTimecodeStart("00:00:00:00");
        one.setTimeRange(frameRange(0, 3));
        one.setAsset(movie());
        one.startScanning();
        EXPECT_TRUE(one.scanComplete());
        EXPECT_EQ(mortal.events, Lines(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(k)));
        EXPECT_EQ(log.lines, Lines{"Exception: The parent is gone."}) << k;
    }
}

TEST_F(FrameScanFailureTest, ALookUpThatThrowsEndsTheScan) {
    FWFrameScan one([](const std::string&) -> std::shared_ptr<ParentConnection> {
        throw PlatformException("No socket.");
    });
    one.setAsset(cleanMovie(1));
    one.startScanning();
    EXPECT_TRUE(one.scanComplete());
    EXPECT_EQ(log.lines, Lines{"Exception: No socket."});
}

TEST_F(FrameScanFailureTest, WithoutAParentTheScanRunsToItsEndSilently) {
    FWFrameScan one(test::noParent);
    const auto movie = movieOf({frame8(0), frame8(128), frame8(0), frame8(255), frame8(128)});
    one.setAsset(movie);
    one.setTimeRange(frameRange(0, 5));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    one.startScanning();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(one.scanComplete());
    EXPECT_EQ(one.connection(), nullptr);
    EXPECT_EQ(one.proxyObject(), nullptr);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(movie->log_.trackId, test::kVideoTrackId) << "it was read";
}

TEST_F(FrameScanFailureTest, AMatteCheckThatThrowsAddsNoMessagesAndTheOtherChecksRun) {
    const auto frame = std::make_shared<ObservedFrame>();
    frame->refusesWidth = true;
    scan.setEnforceAspectRatio(true);
    scan.setAspectRatio(0.1);
    scanMovie(movieOf({frame}));
    EXPECT_EQ(log.lines, Lines{"Exception: No width."});
    EXPECT_THAT(parent.eventsOf("frame"),
                ElementsAre("0 00:00:00:00 0/25000 [Blacks too low - 0 (256, 50.00%)]"));
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(FrameScanFailureTest, FramesAreUnlockedHoweverTheirScanEnds) {
    const auto frame = std::make_shared<ObservedFrame>();
    scanMovie(movieOf({frame}));
    EXPECT_EQ(frame->locked, 0);

    frame->refusesSamples = true;
    scanMovie(movieOf({frame}));
    EXPECT_EQ(frame->locked, 0);
    EXPECT_EQ(log.lines, Lines{"Exception: No samples."});

    frame->refusesSamples = false;
    int lockedAtReport = 0;
    parent.onEvent = [&](const std::string& event) {
        if (event.starts_with("frame")) {
            lockedAtReport = frame->locked;
            throw PlatformException("No parent.");
        }
    };
    scanMovie(movieOf({frame}));
    EXPECT_EQ(lockedAtReport, 1) << "the frame is let go only after its report";
    EXPECT_EQ(frame->locked, 0);
}

} // namespace
} // namespace fw
