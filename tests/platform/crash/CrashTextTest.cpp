#include "platform/crash/PrintableText.h"
#include "platform/crash/SignalNames.h"
#include "platform/crash/SignalSafeText.h"
#include "platform/crash/UtcTime.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <string>

namespace fw {
namespace {

TEST(SignalSafeText, WritesNumbersAsTheyAre) {
    SignalSafeText text;
    text.addNumber(0).add(" ").addNumber(-1).add(" ").addNumber(1234567890);
    EXPECT_EQ(text.view(), "0 -1 1234567890");
    EXPECT_STREQ(text.c_str(), "0 -1 1234567890");
}

TEST(SignalSafeText, WritesTheEndsOfTheRange) {
    SignalSafeText text;
    text.addNumber(std::numeric_limits<std::int64_t>::min()).add(" ");
    text.addNumber(std::numeric_limits<std::int64_t>::max()).add(" ");
    text.addPadded(std::numeric_limits<std::uint64_t>::max(), 1).add(" ");
    text.addHexadecimal(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(text.view(), "-9223372036854775808 9223372036854775807 18446744073709551615 "
                           "0xffffffffffffffff");
}

TEST(SignalSafeText, PutsZerosInFrontAndCutsNoNumber) {
    SignalSafeText text;
    text.addPadded(7, 2).add(" ").addPadded(123, 2).add(" ").addPadded(0, 3).add(" ");
    text.addHexadecimal(0xab, 4).add(" ").addHexadecimal(0).add(" ").addPadded(5, 99);
    EXPECT_EQ(text.view(), "07 123 000 0x00ab 0x0 00000000000000000005");
}

TEST(SignalSafeText, LeavesOutWhatDoesNotFitAndSaysSo) {
    SignalSafeText text;
    const std::string all(4095, 'a');
    EXPECT_FALSE(text.add(all).isCut());
    EXPECT_EQ(text.view(), all);
    EXPECT_TRUE(text.add("b").isCut());
    EXPECT_EQ(text.view(), all);
    EXPECT_EQ(std::string(text.c_str()), all);
}

TEST(UtcTime, IsThatOfTheCLibrary) {
    // Every year's turns and days that are not in every year, and some odd moments.
    for (std::int64_t second = -62'135'596'800; second < 253'402'300'800; second += 8'640'013) {
        std::tm expected{};
        const std::time_t time = second;
        ::gmtime_r(&time, &expected);
        EXPECT_EQ(utcTime(second),
                  (UtcTime{expected.tm_year + 1900, static_cast<unsigned>(expected.tm_mon + 1),
                           static_cast<unsigned>(expected.tm_mday),
                           static_cast<unsigned>(expected.tm_hour),
                           static_cast<unsigned>(expected.tm_min),
                           static_cast<unsigned>(expected.tm_sec)}))
            << second;
    }
}

TEST(UtcTime, KnowsTheTurnsOfYearsAndLeapDays) {
    EXPECT_EQ(utcTime(0), (UtcTime{1970, 1, 1, 0, 0, 0}));
    EXPECT_EQ(utcTime(-1), (UtcTime{1969, 12, 31, 23, 59, 59}));
    EXPECT_EQ(utcTime(951'782'400), (UtcTime{2000, 2, 29, 0, 0, 0}));
    EXPECT_EQ(utcTime(951'868'799), (UtcTime{2000, 2, 29, 23, 59, 59}));
    EXPECT_EQ(utcTime(951'868'800), (UtcTime{2000, 3, 1, 0, 0, 0}));
    EXPECT_EQ(utcTime(4'107'542'400), (UtcTime{2100, 3, 1, 0, 0, 0}));
    EXPECT_EQ(utcTime(4'107'542'399), (UtcTime{2100, 2, 28, 23, 59, 59}));
    EXPECT_EQ(utcTime(1'735'689'599), (UtcTime{2024, 12, 31, 23, 59, 59}));
    EXPECT_EQ(utcTime(2'147'483'648), (UtcTime{2038, 1, 19, 3, 14, 8}));
}

TEST(SignalNames, NamesSignalsAndTheirCodes) {
    for (const int signal : kFatalSignals) {
        EXPECT_EQ(signalName(signal), std::string("SIG").append(::sigabbrev_np(signal)));
    }
    EXPECT_EQ(signalName(SIGTERM), "");
    EXPECT_EQ(signalCodeName(SIGSEGV, SEGV_MAPERR), "SEGV_MAPERR");
    EXPECT_EQ(signalCodeName(SIGBUS, SEGV_MAPERR), "BUS_ADRALN") << "the same number";
    EXPECT_EQ(signalCodeName(SIGSEGV, SI_USER), "SI_USER");
    EXPECT_EQ(signalCodeName(SIGSYS, 1), "SYS_SECCOMP");
    EXPECT_EQ(signalCodeName(SIGABRT, 1), "");
}

TEST(PrintableText, IsTheTextWhenNothingIsOdd) {
    EXPECT_EQ(printableText("", 10), "");
    EXPECT_EQ(printableText("a b 'c' \"d\" %s", 100), "a b 'c' \"d\" %s");
    EXPECT_EQ(printableText("Z\xC3\xBCrich \xE6\x97\xA5 \xF0\x9F\x8E\xAC", 100),
              "Z\xC3\xBCrich \xE6\x97\xA5 \xF0\x9F\x8E\xAC");
}

TEST(PrintableText, EscapesControlsSeparatorsAndBackslashes) {
    EXPECT_EQ(printableText(std::string_view("\0\x01\x1F\x7F", 4), 100), "\\x00\\x01\\x1f\\x7f");
    EXPECT_EQ(printableText("\r\n\t\x1B[31m\\", 100), "\\x0d\\x0a\\x09\\x1b[31m\\\\");
    EXPECT_EQ(printableText("\u0085\u009F\u00A0", 100), "\\xc2\\x85\\xc2\\x9f\u00A0");
    EXPECT_EQ(printableText("\u2027\u2028\u2029", 100), "\u2027\\xe2\\x80\\xa8\\xe2\\x80\\xa9");
}

TEST(PrintableText, EscapesBytesThatAreNotUtf8) {
    EXPECT_EQ(printableText("a\xFF"
                            "b\xC3",
                            100),
              "a\\xffb\\xc3");
    EXPECT_EQ(printableText("\xE2\x82 \x80", 100), "\\xe2\\x82 \\x80");
    EXPECT_EQ(printableText("\xED\xA0\x80", 100), "\\xed\\xa0\\x80") << "a surrogate";
    EXPECT_EQ(printableText("\xC0\xAF\xF8", 100), "\\xc0\\xaf\\xf8");
}

TEST(PrintableText, CutsBetweenCharacters) {
    EXPECT_EQ(printableText("abcd", 4), "abcd");
    EXPECT_EQ(printableText("abcde", 4), "abcd... (5 bytes)");
    EXPECT_EQ(printableText("abc\xC3\xA9", 4), "abc... (5 bytes)");
    EXPECT_EQ(printableText("abc\n", 4), "abc... (4 bytes)") << "no half escape";
    EXPECT_EQ(printableText("a", 0), "... (1 bytes)");
}

} // namespace
} // namespace fw
