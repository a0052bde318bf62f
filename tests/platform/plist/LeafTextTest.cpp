#include "platform/plist/LeafText.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

sys_seconds at(std::int64_t time) {
    return sys_seconds(seconds(time));
}

TEST(LeafText, DatesAreReadAndWrittenInOneForm) {
    EXPECT_EQ(dateFromText("1970-01-01T00:00:00Z"), at(0));
    EXPECT_EQ(dateFromText("2001-01-01T00:00:00Z"), at(978'307'200));
    EXPECT_EQ(dateFromText("2024-02-29T23:59:59Z"), at(1'709'251'199));
    EXPECT_EQ(dateFromText("0001-01-01T00:00:00Z"), at(-62'135'596'800));
    EXPECT_EQ(textFromDate(at(1'709'251'199)), "2024-02-29T23:59:59Z");
    EXPECT_EQ(textFromDate(at(-1)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(textFromDate(at(-62'135'596'800)), "0001-01-01T00:00:00Z");
}

TEST(LeafText, WhatIsNoDateIsNothing) {
    for (const char* text :
         {"", "today", "2024-02-30T00:00:00Z", "2023-02-29T00:00:00Z", "2024-13-01T00:00:00Z",
          "2024-00-01T00:00:00Z", "2024-01-01T24:00:00Z", "2024-01-01T00:60:00Z",
          "2024-01-01T00:00:60Z", "2024-01-01T00:00:00", "2024-01-01 00:00:00Z",
          "2024-01-01T00:00:00Z ", "+024-01-01T00:00:00Z", "2024-01-01T00:00:00+", "20240101"}) {
        EXPECT_FALSE(dateFromText(text)) << text;
    }
}

TEST(LeafText, WholeNumbersComeOutInTheirShortestForm) {
    EXPECT_EQ(plainInteger("0"), "0");
    EXPECT_EQ(plainInteger("+7"), "7");
    EXPECT_EQ(plainInteger("0010"), "10") << "decimal, not octal";
    EXPECT_EQ(plainInteger("-0x1F"), "-31");
    EXPECT_EQ(plainInteger("18446744073709551615"), "18446744073709551615");
    EXPECT_EQ(plainInteger("-9223372036854775808"), "-9223372036854775808");
}

TEST(LeafText, WhatIsNoWholeNumberOf64BitsIsNothing) {
    for (const char* text : {"", "-", "+", "--1", "+-1", "1.0", "1e3", "one", "0x", "0xG", "1 2",
                             "18446744073709551616", "-9223372036854775809"}) {
        EXPECT_FALSE(plainInteger(text)) << text;
    }
}

TEST(LeafText, RealsAreDecimalNumbersNanAndInfinity) {
    for (const char* text :
         {"1", "-1.5", "+1.5", ".5", "1e-300", "nan", "+infinity", "-infinity"}) {
        EXPECT_TRUE(isReal(text)) << text;
    }
    for (const char* text : {"", "+", "one", "1,5", "0x1p3", "1.5x", "++1", "1 "}) {
        EXPECT_FALSE(isReal(text)) << text;
    }
}

} // namespace
} // namespace fw
