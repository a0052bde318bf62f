#include "support/files/WildcardPattern.h"

#include <chrono>
#include <gtest/gtest.h>

namespace fw {
namespace {

bool isMatch(std::string_view pattern, std::string_view name) {
    return WildcardPattern(pattern).matches(name);
}

TEST(WildcardPatternTest, AStarStandsForAnyCharactersAndNone) {
    for (const char* name : {"", "a", "abc", ".hidden", "*", "a\nb"}) {
        EXPECT_TRUE(isMatch("*", name)) << name;
        EXPECT_TRUE(isMatch("***", name)) << name;
    }
    EXPECT_TRUE(isMatch("*.mov", ".mov"));
    EXPECT_TRUE(isMatch("*.mov", "a.b.mov"));
    EXPECT_FALSE(isMatch("*.mov", "a.mov2"));
    EXPECT_TRUE(isMatch("a*", "a"));
    EXPECT_FALSE(isMatch("a*", "ba"));
    EXPECT_TRUE(isMatch("a*b*c", "aXbXbXc"));
    EXPECT_FALSE(isMatch("a*b*c", "aXcXb"));
    EXPECT_TRUE(isMatch("*ab", "aaab"));
    EXPECT_TRUE(isMatch("*aab*", "aaaab"));
}

TEST(WildcardPatternTest, AQuestionMarkStandsForOneCharacter) {
    EXPECT_TRUE(isMatch("?", "a"));
    EXPECT_FALSE(isMatch("?", ""));
    EXPECT_FALSE(isMatch("?", "ab"));
    EXPECT_TRUE(isMatch("*?", "a"));
    EXPECT_FALSE(isMatch("*?", ""));
    EXPECT_TRUE(isMatch("?*?", "ab"));
    EXPECT_FALSE(isMatch("?*?", "a"));
    EXPECT_TRUE(isMatch("clip ??.*", "clip 01.mov"));
}

TEST(WildcardPatternTest, ACharacterIsACodePoint) {
    EXPECT_TRUE(isMatch("?", "\xC3\xA9"));
    EXPECT_TRUE(isMatch("?", "\xE6\x97\xA5"));
    EXPECT_TRUE(isMatch("?", "\xF0\x9F\x8E\xAC"));
    EXPECT_FALSE(isMatch("?", "e\xCC\x81")) << "a letter and its accent are two";
    EXPECT_FALSE(isMatch("*\xA9", "\xC3\xA9")) << "no half of one";
}

TEST(WildcardPatternTest, AByteThatIsNoTextIsACharacter) {
    EXPECT_TRUE(isMatch("?", "\xFF"));
    EXPECT_TRUE(isMatch("??", "\xE6\x97"));
    EXPECT_FALSE(isMatch("?", "\xE6\x97"));
    EXPECT_TRUE(isMatch("???", "\xF0\x9F\x8E"));
    EXPECT_TRUE(isMatch("*\xFF*", "a\xFF"
                                  "b"));
    EXPECT_FALSE(isMatch("\xFE", "\xFF"));
}

TEST(WildcardPatternTest, CapitalsAreToldFromSmallLetters) {
    EXPECT_FALSE(isMatch("*.MOV", "a.mov"));
    EXPECT_FALSE(isMatch("A", "a"));
}

TEST(WildcardPatternTest, EverythingElseStandsForItself) {
    EXPECT_TRUE(isMatch("[ab]*", "[ab]c"));
    EXPECT_FALSE(isMatch("[ab]*", "a"));
    EXPECT_TRUE(isMatch("\\*", "\\x")) << "a backslash hides nothing";
    EXPECT_FALSE(isMatch("\\*", "*"));
    EXPECT_TRUE(isMatch("{a,b}!^$.", "{a,b}!^$."));
    EXPECT_FALSE(isMatch("a.b", "axb"));
    EXPECT_TRUE(isMatch("", ""));
    EXPECT_FALSE(isMatch("", "a"));
}

TEST(WildcardPatternTest, ManyStarsTakeNoTime) {
    std::string pattern;
    for (int i = 0; i < 60; ++i) {
        pattern += "*a";
    }
    pattern += "b";
    const std::string name(255, 'a');
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i) {
        EXPECT_FALSE(isMatch(pattern, name));
    }
    EXPECT_TRUE(isMatch(pattern, name + "b"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

} // namespace
} // namespace fw
