#include "support/FWFileManager.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

std::string valid(const std::string& name) {
    const std::string all = FWFileManager::validateFilename(name);
    EXPECT_EQ(all, FWFileManager::validateFilename(name, IncludeSlashes::kYes));
    return all;
}

std::string validWithSlashes(const std::string& name) {
    return FWFileManager::validateFilename(name, IncludeSlashes::kNo);
}

TEST(ValidateFilenameTest, AnOrdinaryNameStays) {
    for (const char* name : {"clip.mov", "a b", "", "caf\xC3\xA9", "\xFF\xFE", "a\\b*?"}) {
        EXPECT_EQ(valid(name), name);
    }
}

TEST(ValidateFilenameTest, ADotAloneIsNothing) {
    EXPECT_EQ(valid("."), "");
    EXPECT_EQ(validWithSlashes("."), "");
}

/// Deliberate: only one goes.
TEST(ValidateFilenameTest, OneLeadingDotGoes) {
    EXPECT_EQ(valid(".hidden"), "hidden");
    EXPECT_EQ(valid(".."), ".");
    EXPECT_EQ(valid("..."), "..");
    EXPECT_EQ(valid("a."), "a.");
}

TEST(ValidateFilenameTest, WhiteSpaceAtTheEndsGoesAfterTheDot) {
    EXPECT_EQ(valid("  a b \t\r\n"), "a b");
    EXPECT_EQ(valid(". a "), "a");
    EXPECT_EQ(valid(" .a"), ".a") << "it does not begin with the dot";
    EXPECT_EQ(valid("\xC2\xA0\xE3\x80\x80"
                    "a\xE2\x80\xA8"),
              "a")
        << "of any script";
    EXPECT_EQ(valid(" \n "), "");
}

TEST(ValidateFilenameTest, ColonsGoAlways) {
    EXPECT_EQ(valid("01:02:03:04"), "01020304");
    EXPECT_EQ(validWithSlashes(":a:/:b:"), "a/b");
    EXPECT_EQ(valid(":::"), "");
}

TEST(ValidateFilenameTest, SlashesGoUnlessTheyMayStay) {
    EXPECT_EQ(valid("/a/b//c/"), "abc");
    EXPECT_EQ(validWithSlashes("/a/b//c/"), "/a/b//c/");
    EXPECT_EQ(valid("../x"), ".x");
}

TEST(ValidateFilenameTest, NothingIsTrimmedAgain) {
    EXPECT_EQ(valid(": a :"), " a ");
    EXPECT_EQ(valid("/.a"), ".a");
}

} // namespace
} // namespace fw
