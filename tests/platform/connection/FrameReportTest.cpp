#include "platform/connection/FrameReport.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(FrameReport, ACleanFrameIsADictionaryOfItsNumberAlone) {
    FrameReport report;
    report.frame = 7;
    const FrameReport::Dictionary expected = {{"frame", std::int64_t{7}}};
    EXPECT_EQ(report.dictionary(), expected);
}

TEST(FrameReport, EveryFieldThatIsThereHasItsKey) {
    FrameReport report;
    report.frame = -3;
    report.timecode = "01:00:00;02";
    report.val = 3003;
    report.timescale = 30000;
    report.errors = {"Blacks too low - 0 (11, 0.10%)"};
    report.info = "diff1: 1.000000";
    const FrameReport::Dictionary expected = {
        {"frame", std::int64_t{-3}},
        {"timecode", std::string("01:00:00;02")},
        {"val", std::int64_t{3003}},
        {"timescale", std::int32_t{30000}},
        {"errors", std::vector<std::string>{"Blacks too low - 0 (11, 0.10%)"}},
        {"info", std::string("diff1: 1.000000")}};
    EXPECT_EQ(report.dictionary(), expected);
}

} // namespace
} // namespace fw
