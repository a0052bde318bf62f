#include "support/log/LogText.h"

#include "support/FWLog.h"

#include <gtest/gtest.h>
#include <random>

namespace fw {
namespace {

/// The rule as it is written down: nine replacements, each over the whole text.
std::string reference(std::string text) {
    const auto replace = [&](const std::string& what, const std::string& with) {
        std::string result;
        for (std::size_t i = 0; i < text.size();) {
            const bool isHere = text.compare(i, what.size(), what) == 0;
            result += isHere ? with : text.substr(i, 1);
            i += isHere ? what.size() : 1;
        }
        text = result;
    };
    for (const char next : {' ', '.', '!', ',', '-', ';', ':', '+'}) {
        replace({'%', next}, {'%', '%', next});
    }
    replace("%%%", "%%");
    return text;
}

TEST(LogTextTest, PercentSignsBeforePunctuationAreDoubled) {
    EXPECT_EQ(escapedForLogging("no percent"), "no percent");
    EXPECT_EQ(escapedForLogging("% %.%!%,%-%;%:%+"), "%% %%.%%!%%,%%-%%;%%:%%+");
    EXPECT_EQ(escapedForLogging("%d %@ %5.1f%"), "%d %@ %5.1f%");
    EXPECT_EQ(escapedForLogging(""), "");
}

TEST(LogTextTest, ADoubledPercentSignBeforeABlankStaysDoubled) {
    EXPECT_EQ(escapedForLogging("%% "), "%% ");
    EXPECT_EQ(escapedForLogging("%%%"), "%%");
    EXPECT_EQ(escapedForLogging("%%%%%%%"), "%%%%%");
}

TEST(LogTextTest, ConversionsThatBeginWithMinusOrPlusAreEscapedAllTheSame) {
    EXPECT_EQ(FWLog::escapeTextForLogging("%-5d %+d"), "%%-5d %%+d");
}

TEST(LogTextTest, RandomTextsAgreeWithTheRuleAsItIsWritten) {
    std::mt19937 random(3);
    const std::string letters = "%%%% .!,-;:+@da";
    for (int i = 0; i < 100'000; ++i) {
        std::string text;
        for (std::size_t j = random() % 14; j > 0; --j) {
            text += letters[random() % letters.size()];
        }
        ASSERT_EQ(escapedForLogging(text), reference(text)) << text;
    }
}

TEST(LogTextTest, TheConsoleShowsPercentSignsTwiceAndNeitherAtConversionsNorZeroBytes) {
    EXPECT_EQ(consoleEcho("5% now"), "5%% now");
    EXPECT_EQ(consoleEcho("a%@b%%@"), "ab%%");
    EXPECT_EQ(consoleEcho("%%@@"), "%%@");
    EXPECT_EQ(consoleEcho(std::string_view("a\0b\0", 4)), "ab");
}

} // namespace
} // namespace fw
