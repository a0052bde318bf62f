#include "platform/files/Location.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace fw {
namespace {

TEST(Location, IsAFolderAndANameInItWhetherAnythingStandsThereOrNot) {
    const test::TemporaryFolder folder;
    for (const char* path : {"a", "a/", "a//", "..a", "...", "\xFF"}) {
        const Result<Location> place = Location::of(folder.file(path));
        ASSERT_TRUE(place) << path;
        EXPECT_TRUE(place.value().folder);
        EXPECT_EQ(place.value().name, std::string(path).substr(0, std::string(path).find('/')));
    }
}

TEST(Location, TheRootAndWhatNamesAFolderFromWithinAreNoEntries) {
    const test::TemporaryFolder folder;
    for (const char* path : {"/", "//"}) {
        EXPECT_EQ(Location::of(path).error().code, EBUSY) << path;
    }
    for (const std::string& path :
         {std::string("."), std::string(".."), folder.file("."), folder.file("../")}) {
        EXPECT_EQ(Location::of(path).error().code, EINVAL) << path;
    }
    EXPECT_EQ(Location::of(std::string("a\0b", 3)).error().code, EINVAL);
}

TEST(Location, ThereMustBeAFolder) {
    const test::TemporaryFolder folder;
    EXPECT_EQ(Location::of("").error().code, ENOENT);
    EXPECT_EQ(Location::of(folder.file("missing/a")).error().code, ENOENT);
    EXPECT_EQ(Location::of("/dev/null/a").error().code, ENOTDIR);
}

} // namespace
} // namespace fw
