#include "oxbow/TextReport.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(TextReport, AFaultIsOneLineWithFrameTimecodeAndText) {
    EXPECT_EQ(faultLine({FaultKind::kBlacks, 250, "00:00:10:00", 250000, 25000,
                         "Blacks too low - 3 (5184, 0.25%)"}),
              "frame 250  00:00:10:00  Blacks too low - 3 (5184, 0.25%)\n");
}

TEST(TextReport, TheSummaryCountsFramesAndFaultsByKind) {
    ScanResult result;
    result.tally = ScanTally(0, 1);
    FrameReport report;
    report.errors = {"Blacks too low - 0 (11, 0.01%)", "Whites too high - 255 (11, 0.01%)"};
    result.tally.take(report);
    report.errors = {"Flash frame (1 frame)"};
    result.tally.take(report);
    result.tally.takeClosingMessage();
    EXPECT_EQ(scanSummary(result), "Frames: 1 reported, 1 expected\n"
                                   "Faults: 3 (blacks 1, whites 1, flash 1)\n"
                                   "Verdict: faults\n");
}

TEST(TextReport, AnIncompleteScanSaysWhy) {
    ScanResult result;
    result.error = Error{"test", 1, "The scan was interrupted."};
    EXPECT_EQ(scanSummary(result), "Frames: 0 reported\n"
                                   "Faults: 0\n"
                                   "Verdict: incomplete\n"
                                   "Reason: The scan was interrupted.\n");
}

TEST(TextReport, ACleanScanOfNothingSaysSo) {
    ScanResult result;
    result.tally = ScanTally(0, 0);
    result.tally.takeClosingMessage();
    EXPECT_EQ(scanSummary(result), "Frames: 0 reported, 0 expected\n"
                                   "Faults: 0\n"
                                   "Verdict: clean\n"
                                   "Note: there was no picture to check.\n");
}

} // namespace
} // namespace fw
