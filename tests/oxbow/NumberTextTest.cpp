#include "oxbow/NumberText.h"

#include <gtest/gtest.h>

#include <limits>

namespace fw {
namespace {

TEST(WholeNumber, IsDigitsAndNothingElse) {
    EXPECT_EQ(wholeNumber("0"), 0);
    EXPECT_EQ(wholeNumber("007"), 7);
    EXPECT_EQ(wholeNumber("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    for (const char* text : {"", " 1", "1 ", "+1", "-1", "1.0", "1e3", "0x10", "1,000", "x",
                             "9223372036854775808", "99999999999999999999"}) {
        EXPECT_EQ(wholeNumber(text), std::nullopt) << text;
    }
}

TEST(AspectRatio, IsANumberOrAQuotient) {
    EXPECT_EQ(aspectRatio("2.39"), 2.39);
    EXPECT_EQ(aspectRatio("1"), 1.0);
    EXPECT_EQ(aspectRatio("16:9"), 16.0 / 9.0);
    EXPECT_EQ(aspectRatio("2.39:1"), 2.39);
    for (const char* text : {"", ":", "16:", ":9", "0", "-1", "16:0", "0:9", "1:2:3", "16/9",
                             "wide", "2.39 ", "nan", "inf", "0x2", "1e400", "1e1", "2,39"}) {
        EXPECT_EQ(aspectRatio(text), std::nullopt) << text;
    }
}

TEST(ShortestText, ReadsBackAsTheSameNumber) {
    EXPECT_EQ(shortestText(2.39), "2.39");
    EXPECT_EQ(shortestText(1.0), "1");
    EXPECT_EQ(shortestText(16.0 / 9.0), "1.7777777777777777");
    EXPECT_EQ(shortestText(1.33), "1.33");
}

} // namespace
} // namespace fw
