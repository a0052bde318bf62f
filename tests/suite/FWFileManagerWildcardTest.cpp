#include "support/FWFileManager.h"

#include "tests/suite/FileTest.h"

#include <algorithm>
#include <dirent.h>
#include <gmock/gmock.h>
#include <memory>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

using Paths = std::vector<std::string>;

class WildcardPathTest : public FileTest {
protected:
    std::string folder() const { return path("f"); }
    std::string in(const std::string& name) const { return folder() + "/" + name; }
    void make(const std::string& name) const {
        fs::create_directories(fs::path(in(name)).parent_path());
        writeText(in(name), "x");
    }
    Paths matching(const std::string& pattern) const {
        return FWFileManager::filesMatchingWildcardPath(pattern, folder());
    }
    /// The names in a folder in the order in which the system lists them.
    static Paths listed(const std::string& folder) {
        const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.c_str()), ::closedir);
        Paths names;
        while (const dirent* const entry = ::readdir(stream.get())) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
        return names;
    }
};

// Without a star

TEST_F(WildcardPathTest, APathWithoutAStarIsItselfWhetherOrNotItExists) {
    EXPECT_THAT(matching("a/b"), ElementsAre(in("a/b")));
    EXPECT_THAT(matching("/a"), ElementsAre(in("a")));
    EXPECT_THAT(matching("a?[b"), ElementsAre(in("a?[b"))) << "a question mark is no wildcard yet";
    EXPECT_THAT(matching(""), ElementsAre(folder()));
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("/a//b/"), ElementsAre("/a//b/"));
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath(""), ElementsAre(""));
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("x", std::nullopt), ElementsAre("x"));
}

// With stars

TEST_F(WildcardPathTest, NamesThatMatchAreFound) {
    for (const char* name : {"a.mov", "b.mov", "c.MOV", ".d.mov", "e.mp4"}) {
        make(name);
    }
    EXPECT_THAT(matching("*.mov"), UnorderedElementsAre(in("a.mov"), in("b.mov"), in(".d.mov")));
    EXPECT_THAT(matching("?.m*"), UnorderedElementsAre(in("a.mov"), in("b.mov"), in("e.mp4")));
    EXPECT_THAT(matching("*.avi"), IsEmpty());
}

TEST_F(WildcardPathTest, WithoutABaseItBeginsAtTheRoot) {
    make("a.mov");
    const std::string absolute = in("*.mov");
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath(absolute), ElementsAre(in("a.mov")));
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath(absolute.substr(1)),
                ElementsAre(in("a.mov")))
        << "a relative one too";
}

TEST_F(WildcardPathTest, AnAbsolutePatternBeginsAtTheBase) {
    make("sub/a.mov");
    EXPECT_THAT(matching("/sub/*.mov"), ElementsAre(in("sub/a.mov")));
    EXPECT_THAT(matching("//*//a.mov/"), ElementsAre(in("sub/a.mov")));
}

TEST_F(WildcardPathTest, EachComponentIsMatched) {
    for (const char* name : {"day 1/cam A/x.mov", "day 1/cam B/x.mov", "day 2/cam A/x.mov",
                             "day 2/cam A/y.mov", "night/cam A/x.mov", "day 3/other/x.mov"}) {
        make(name);
    }
    EXPECT_THAT(matching("day*/cam ?*/x.mov"),
                UnorderedElementsAre(in("day 1/cam A/x.mov"), in("day 1/cam B/x.mov"),
                                     in("day 2/cam A/x.mov")));
    EXPECT_THAT(matching("day 2/cam A/*"),
                UnorderedElementsAre(in("day 2/cam A/x.mov"), in("day 2/cam A/y.mov")));
    EXPECT_THAT(matching("night/../*1/cam B"), ElementsAre(in("night/../day 1/cam B")));
}

TEST_F(WildcardPathTest, ItNeverLooksDeeperThanThePattern) {
    make("a.mov");
    make("sub/b.mov");
    for (const SearchSubdirs flag : {SearchSubdirs::kNo, SearchSubdirs::kYes}) {
        EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("*.mov", folder(), flag),
                    ElementsAre(in("a.mov")));
    }
}

TEST_F(WildcardPathTest, TheOrderIsThatOfTheFoldersAndOfTheirListings) {
    for (int i = 0; i < 40; ++i) {
        std::string name = "d";
        make(name.append(std::to_string(i % 5)).append("/f").append(std::to_string(i * 7919 % 97)));
    }
    Paths expected;
    for (const std::string& sub : listed(folder())) {
        for (const std::string& name : listed(in(sub))) {
            expected.push_back(in(sub + "/" + name));
        }
    }
    EXPECT_THAT(matching("d*/f*"), ElementsAreArray(expected));
}

TEST_F(WildcardPathTest, AFileHasNoEntries) {
    make("a");
    EXPECT_THAT(matching("a/*"), IsEmpty());
    EXPECT_THAT(matching("*/b"), IsEmpty());
}

TEST_F(WildcardPathTest, ALinkToNothingDoesNotExist) {
    make("a");
    fs::create_symlink("nowhere", in("dangling"));
    fs::create_symlink("loop", in("loop"));
    fs::create_symlink("a", in("link"));
    EXPECT_THAT(matching("*"), UnorderedElementsAre(in("a"), in("link")));
}

TEST_F(WildcardPathTest, NamesOfAnyBytesAreFound) {
    const std::string odd = "\xFF\xFE [1] 100%@.mov";
    make(odd);
    make("caf\xC3\xA9.mov");
    make(std::string(251, 'n') + ".mov");
    EXPECT_THAT(matching("*.mov"), testing::SizeIs(3));
    EXPECT_THAT(matching("?? [1]*"), ElementsAre(in(odd)));
    EXPECT_THAT(matching("caf?.*"), ElementsAre(in("caf\xC3\xA9.mov")));
}

TEST_F(WildcardPathTest, WhatCannotBeListedHasNothing) {
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("*", path("missing")), IsEmpty());
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("*", ""), IsEmpty());
    make("a");
    EXPECT_THAT(FWFileManager::filesMatchingWildcardPath("*", folder() + std::string("\0x", 2)),
                IsEmpty());
    EXPECT_THAT(matching(std::string("*\0", 2)), IsEmpty());
}

TEST_F(WildcardPathTest, AFolderOfManyEntriesIsSearchedWhole) {
    constexpr int kCount = 100'000;
    fs::create_directories(folder());
    for (int i = 0; i < kCount; ++i) {
        std::ofstream(in(std::to_string(i))).close();
    }
    EXPECT_EQ(matching("*").size(), static_cast<std::size_t>(kCount));
    EXPECT_THAT(matching("*9999"), testing::SizeIs(10));
}

// The first

TEST_F(WildcardPathTest, DecodingGivesTheFirstMatch) {
    make("a.mov");
    make("b.mov");
    EXPECT_EQ(FWFileManager::decodeWildcardPath("*.mov", folder()), matching("*.mov").front());
    EXPECT_EQ(FWFileManager::decodeWildcardPath("plain", folder()), in("plain"));
}

TEST_F(WildcardPathTest, DecodingGivesThePathItselfWhenNothingMatches) {
    EXPECT_EQ(FWFileManager::decodeWildcardPath("*.mov", folder()), in("*.mov"));
    EXPECT_EQ(FWFileManager::decodeWildcardPath("/*.mov", folder() + "/"), in("*.mov"));
    EXPECT_EQ(FWFileManager::decodeWildcardPath(in("*.mov"), std::nullopt), in("*.mov"));
    EXPECT_EQ(FWFileManager::decodeWildcardPath("", std::nullopt), "");
}

} // namespace
} // namespace fw
