#include "oxbow/Fault.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(FaultKind, IsToldByTheWordsOfTheMessage) {
    EXPECT_EQ(kindOfMessage("Blacks too low - 3 (12, 0.10%)"), FaultKind::kBlacks);
    EXPECT_EQ(kindOfMessage("Whites too high - 255 (12, 0.10%)"), FaultKind::kWhites);
    EXPECT_EQ(kindOfMessage("Flash frame (1 frame)"), FaultKind::kFlash);
    EXPECT_EQ(kindOfMessage("Flash frame (3 frames)"), FaultKind::kFlash);
    for (const char* side : {"Upper", "Lower", "Left", "Right"}) {
        const std::string text = side;
        EXPECT_EQ(kindOfMessage(text + " matte area is not completely black"), FaultKind::kMatte);
        EXPECT_EQ(kindOfMessage(text + " matte area is larger than expected"), FaultKind::kMatte);
    }
    EXPECT_EQ(kindOfMessage("Something new"), FaultKind::kOther);
    EXPECT_EQ(kindOfMessage(""), FaultKind::kOther);
}

TEST(FaultKind, HasANameOfItsOwn) {
    EXPECT_EQ(nameOf(FaultKind::kBlacks), "blacks");
    EXPECT_EQ(nameOf(FaultKind::kWhites), "whites");
    EXPECT_EQ(nameOf(FaultKind::kFlash), "flash");
    EXPECT_EQ(nameOf(FaultKind::kMatte), "matte");
    EXPECT_EQ(nameOf(FaultKind::kOther), "other");
}

TEST(Fault, EachErrorOfAReportIsOne) {
    FrameReport report;
    report.frame = 12;
    report.timecode = "00:00:00:12";
    report.val = 12000;
    report.timescale = 25000;
    report.errors = {"Left matte area is larger than expected", "Blacks too low - 0 (11, 0.01%)"};
    const std::vector<Fault> expected = {
        {FaultKind::kMatte, 12, "00:00:00:12", 12000, 25000,
         "Left matte area is larger than expected"},
        {FaultKind::kBlacks, 12, "00:00:00:12", 12000, 25000, "Blacks too low - 0 (11, 0.01%)"}};
    EXPECT_EQ(faultsOf(report), expected);
}

TEST(Fault, ACleanFrameHasNone) {
    EXPECT_TRUE(faultsOf({}).empty());
}

TEST(Fault, FlashReportsAreNotReportsOfAFrameOfTheirOwn) {
    FrameReport report;
    EXPECT_FALSE(isFlashReport(report));
    report.errors = {"Blacks too low - 0 (11, 0.01%)"};
    EXPECT_FALSE(isFlashReport(report));
    report.errors = {"Flash frame (2 frames)"};
    EXPECT_TRUE(isFlashReport(report));
}

} // namespace
} // namespace fw
