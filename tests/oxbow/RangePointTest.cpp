#include "oxbow/RangePoint.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

TEST(RangePoint, ANumberIsAFrame) {
    EXPECT_EQ(parsedRangePoint("0"), RangePoint(FramePoint{0}));
    EXPECT_EQ(parsedRangePoint("250"), RangePoint(FramePoint{250}));
    EXPECT_EQ(parsedRangePoint("4611686018427387904"), RangePoint(FramePoint{4611686018427387904}));
}

TEST(RangePoint, ANumberWithAnSIsSecondsExactly) {
    EXPECT_EQ(parsedRangePoint("12s"), RangePoint(SecondsPoint{12, 1}));
    EXPECT_EQ(parsedRangePoint("12.5s"), RangePoint(SecondsPoint{125, 10}));
    EXPECT_EQ(parsedRangePoint("0.040s"), RangePoint(SecondsPoint{40, 1000}));
    EXPECT_EQ(parsedRangePoint("1.000000001s"), RangePoint(SecondsPoint{1000000001, 1000000000}));
}

TEST(RangePoint, FourFieldsAreATimecodeWithEitherSeparator) {
    EXPECT_EQ(parsedRangePoint("01:02:03:04"), RangePoint(TimecodePoint{"01:02:03:04"}));
    EXPECT_EQ(parsedRangePoint("01:02:03;04"), RangePoint(TimecodePoint{"01:02:03;04"}));
    EXPECT_EQ(parsedRangePoint("00:00:00:119"), RangePoint(TimecodePoint{"00:00:00:119"}));
}

TEST(RangePoint, EverythingElseIsRefused) {
    for (const char* text : {"",
                             " ",
                             "-1",
                             "+1",
                             "1 ",
                             " 1",
                             "1.5",
                             "frame",
                             "s",
                             ".5s",
                             "5.s",
                             "-1s",
                             "1.5 s",
                             "1e3s",
                             "1.0000000001s",
                             "9223372036854775808",
                             "9223372036854775807.5s",
                             "01:02:03",
                             "1:2:3:4:5",
                             "01:02:03:",
                             ":::",
                             "-1:00:00:00",
                             "01:02:03:04 ",
                             "01:02:03:0x4",
                             "1111:00:00:00",
                             "nan",
                             "inf",
                             "0x10"}) {
        EXPECT_EQ(parsedRangePoint(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace fw
