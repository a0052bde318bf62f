#include "oxbow/ScanTally.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

FrameReport frame(std::int64_t number, std::optional<std::vector<std::string>> errors = {}) {
    FrameReport report;
    report.frame = number;
    report.errors = std::move(errors);
    return report;
}

TEST(ScanTally, CountsFrameReportsButNotFlashReports) {
    ScanTally tally(0, std::nullopt);
    tally.take(frame(0));
    tally.take(frame(-1, {{"Flash frame (1 frame)"}}));
    tally.take(frame(1, {{"Blacks too low - 0 (11, 0.01%)"}}));
    EXPECT_EQ(tally.reportedFrames(), 2);
    EXPECT_EQ(tally.newestFrame(), 1);
    EXPECT_EQ(tally.faultCount(), 2);
    EXPECT_EQ(tally.faultCount(FaultKind::kFlash), 1);
    EXPECT_EQ(tally.faultCount(FaultKind::kBlacks), 1);
    EXPECT_EQ(tally.faultCount(FaultKind::kMatte), 0);
}

TEST(ScanTally, DoesNotCountTheLeadIn) {
    ScanTally tally(10, std::nullopt);
    for (std::int64_t number = 6; number < 15; ++number) {
        tally.take(frame(number));
    }
    EXPECT_EQ(tally.reportedFrames(), 5);
}

TEST(ScanTally, WithoutAClosingMessageAScanIsIncomplete) {
    ScanTally tally(0, std::nullopt);
    EXPECT_EQ(tally.verdict(), Verdict::kIncomplete);
    tally.takeClosingMessage();
    EXPECT_EQ(tally.verdict(), Verdict::kClean);
}

TEST(ScanTally, WithFewerFramesThanExpectedAScanIsIncomplete) {
    ScanTally tally(0, 2);
    tally.take(frame(0, {{"Blacks too low - 0 (11, 0.01%)"}}));
    tally.takeClosingMessage();
    EXPECT_EQ(tally.verdict(), Verdict::kIncomplete);
    tally.take(frame(1));
    EXPECT_EQ(tally.verdict(), Verdict::kFaults);
    tally.take(frame(2));
    EXPECT_TRUE(tally.isComplete()) << "more frames than expected are all the frames";
}

TEST(ScanTally, VerdictsHaveNames) {
    EXPECT_EQ(nameOf(Verdict::kClean), "clean");
    EXPECT_EQ(nameOf(Verdict::kFaults), "faults");
    EXPECT_EQ(nameOf(Verdict::kIncomplete), "incomplete");
}

} // namespace
} // namespace fw
