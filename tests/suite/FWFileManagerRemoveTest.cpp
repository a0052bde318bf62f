#include "tests/suite/FileOperationTest.h"

#include "platform/mainthread/MainThread.h"

#include <atomic>
#include <cmath>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <limits>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

class FWFileManagerRemoveTest : public FileOperationTest {
protected:
    /// A path of 4095 bytes in folders that are there.
    std::string longestPath(char name) const {
        std::string deep = folder("long");
        while (deep.size() + 201 < 4095) {
            deep += "/" + std::string(199, 'd');
            fs::create_directory(deep);
        }
        deep += "/" + std::string(4095 - deep.size() - 1, name);
        EXPECT_EQ(deep.size(), 4095U);
        return deep;
    }
};
class FWFileManagerTrashTest : public FileOperationTest {};
class FWFileManagerCreateTest : public FileOperationTest {};

// Removing

TEST_F(FWFileManagerRemoveTest, AMissingFileCountsAsRemovedWithoutAnyMessage) {
    for (const std::string& name :
         {path("missing"), path("no/folder"), std::string(), path("x") + std::string("\0y", 2),
          path(std::string(256, 'n'))}) {
        EXPECT_TRUE(FWFileManager::removeFile(name));
        EXPECT_TRUE(FWFileManager::removeFile(name, ShouldAuth::kNo));
        EXPECT_TRUE(FWFileManager::removeFile(name, Timeout{5}));
    }
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerRemoveTest, RemovesFilesOfEveryKindAndFoldersWithTheirContents) {
    made("file", "text");
    fifo("fifo");
    folder("folder/a/b");
    made("folder/a/file", "");
    link("nowhere", "dangling");
    link("loop", "loop");
    for (const char* name : {"file", "fifo", "folder", "dangling", "loop"}) {
        EXPECT_TRUE(FWFileManager::removeFile(path(name))) << name;
        EXPECT_FALSE(exists(name)) << name;
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerRemoveTest, ALinkGoesAndWhatItPointsToStays) {
    folder("target");
    made("target/file", "kept");
    link("target", "link");
    folder("folder");
    link("../target", "folder/inner");
    EXPECT_TRUE(FWFileManager::removeFile(path("link/")));
    EXPECT_TRUE(FWFileManager::removeFile(path("folder")));
    EXPECT_FALSE(exists("link"));
    EXPECT_FALSE(exists("folder"));
    EXPECT_EQ(contents("target/file"), "kept");
}

TEST_F(FWFileManagerRemoveTest, NamesMayBeLongAndNeedNotBeText) {
    for (const std::string& name :
         {std::string(255, 'n'), std::string("\xFF\xFE"), std::string("100%@ %d\n")}) {
        made(name, "");
        EXPECT_TRUE(FWFileManager::removeFile(path(name)));
        EXPECT_FALSE(exists(name));
    }
}

TEST_F(FWFileManagerRemoveTest, APathMayHave4095Bytes) {
    const std::string deep = longestPath('f');
    writeText(deep, "text");
    EXPECT_TRUE(FWFileManager::removeFile(deep));
    EXPECT_FALSE(fs::exists(deep));
    EXPECT_TRUE(FWFileManager::removeFile(path("long")));
    EXPECT_FALSE(exists("long"));
}

TEST_F(FWFileManagerRemoveTest, PathsOfTheOtherOperationsMayHave4095BytesToo) {
    const std::string first = longestPath('1');
    const std::string second = longestPath('2');
    const std::string third = longestPath('3');
    const std::string made = longestPath('4');
    writeText(first, "text");
    EXPECT_TRUE(FWFileManager::copyFile(first, second, ShouldAuth::kNo));
    EXPECT_TRUE(FWFileManager::combineFiles({first, second}, third, DeleteSourceFiles::kYes));
    EXPECT_TRUE(FWFileManager::moveFile(third, first, ShouldAuth::kNo));
    EXPECT_TRUE(FWFileManager::combineFiles({first}, second, DeleteSourceFiles::kNo));
    EXPECT_EQ(readText(second), "texttext");
    EXPECT_TRUE(FWFileManager::createDirectory(made, ShouldAuth::kNo));
    EXPECT_TRUE(fs::is_directory(made));
    EXPECT_TRUE(FWFileManager::trashFile(made, ShouldAuth::kNo));
    EXPECT_FALSE(fs::exists(made));
}

TEST_F(FWFileManagerRemoveTest, ATreeMayBeDeeperThanPathsAreLong) {
    const std::string name(100, 'd');
    const std::size_t before = openDescriptors();
    std::string top = folder("deep");
    int current = ::open(top.c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(::mkdirat(current, name.c_str(), 0700), 0);
        const int next = ::openat(current, name.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(current);
        current = next;
    }
    ::close(current);
    {
        const FewDescriptors few(before + 50);
        EXPECT_TRUE(FWFileManager::removeFile(top));
    }
    EXPECT_FALSE(exists("deep"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FWFileManagerRemoveTest, AFolderMayHave100000Entries) {
    folder("large");
    for (int i = 0; i < 100'000; ++i) {
        const std::string name = path("large/" + std::to_string(i));
        ASSERT_EQ(::mknod(name.c_str(), S_IFREG | 0600, 0), 0);
    }
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("large")));
    EXPECT_THAT(FWFileManager::trashFilesNamed("100000", path("large")), IsEmpty());
    EXPECT_THAT(FWFileManager::trashFilesOfType("mov", path("large")), IsEmpty());
    EXPECT_TRUE(FWFileManager::removeFile(path("large")));
    EXPECT_FALSE(exists("large"));
}

TEST_F(FWFileManagerRemoveTest, AFailureIsLoggedAndTheRightsAreTried) {
    folder("folder");
    made("folder/file", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/file")));
    answer = true;
    EXPECT_TRUE(FWFileManager::removeFile(path("folder/file")));
    EXPECT_TRUE(FWFileManager::removeFile(path("folder/file"), ShouldAuth::kYes));
    EXPECT_THAT(asked, ElementsAre("remove " + path("folder/file"), "remove " + path("folder/file"),
                                   "remove " + path("folder/file")));
    const std::string message = "Error removing file: Permission denied. Authorizing...";
    EXPECT_THAT(logged(), ElementsAre(message, message, message));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerRemoveTest, TheMessageSaysAuthorizingAlsoWhenRightsMayNotBeTried) {
    folder("folder");
    made("folder/file", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/file"), ShouldAuth::kNo));
    EXPECT_THAT(logged(), ElementsAre("Error removing file: Permission denied. Authorizing..."));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerRemoveTest, AFolderThatMayNotBeRemovedKeepsItsContents) {
    folder("parent/folder");
    made("parent/folder/file", "kept");
    const ReadOnly readOnly(path("parent"));
    EXPECT_FALSE(FWFileManager::removeFile(path("parent/folder"), ShouldAuth::kNo));
    EXPECT_EQ(contents("parent/folder/file"), "kept");
}

TEST_F(FWFileManagerRemoveTest, TheFolderItselfUnderANameOfItsOwnIsNotEmptied) {
    folder("folder");
    made("folder/file", "kept");
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/."), ShouldAuth::kNo));
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/../folder/.."), ShouldAuth::kNo));
    EXPECT_EQ(contents("folder/file"), "kept");
    EXPECT_THAT(logged(), ElementsAre("Error removing file: Invalid argument. Authorizing...",
                                      "Error removing file: Invalid argument. Authorizing..."));
}

TEST_F(FWFileManagerRemoveTest, AnEmptyFolderNeedNotBeReadable) {
    folder("folder/inner");
    ::chmod(path("folder/inner").c_str(), 0);
    EXPECT_TRUE(FWFileManager::removeFile(path("folder"), ShouldAuth::kNo));
    EXPECT_FALSE(exists("folder"));
}

TEST_F(FWFileManagerRemoveTest, WhatCannotBeSeenIsNotTakenForMissing) {
    folder("closed/inner");
    made("closed/inner/file", "kept");
    const std::vector<std::string> paths = {path("closed/inner/file"), path("closed/inner"),
                                            path("closed/./inner/")};
    {
        const Closed closed(path("closed"));
        for (const std::string& hidden : paths) {
            EXPECT_FALSE(FWFileManager::removeFile(hidden, ShouldAuth::kNo)) << hidden;
            EXPECT_FALSE(FWFileManager::unlockFile(hidden)) << hidden;
            EXPECT_EQ(systemLogged().back(),
                      "Unable to unlock file " + hidden + ": Permission denied");
            EXPECT_FALSE(FWFileManager::unlockFolder(hidden)) << hidden;
        }
        EXPECT_THAT(asked, IsEmpty());
        answer = true; // And nothing happens.
        for (const std::string& hidden : paths) {
            EXPECT_TRUE(FWFileManager::removeFile(hidden)) << hidden;
            EXPECT_FALSE(FWFileManager::removeFile(hidden, Timeout{0.01})) << hidden;
            EXPECT_EQ(logged().back(), "Error removing file: Permission denied. Authorizing...");
        }
    }
    std::vector<std::string> expected;
    for (const std::string& hidden : paths) {
        expected.insert(expected.end(), 2, "remove " + hidden);
    }
    EXPECT_EQ(asked, expected);
    EXPECT_EQ(contents("closed/inner/file"), "kept");
}

TEST_F(FWFileManagerRemoveTest, NoRightsAreTriedWhereTheWayCannotBeTold) {
    folder("closed/inner");
    const Closed closed(path("closed"));
    answer = true;
    EXPECT_FALSE(FWFileManager::removeFile(path("closed/inner/../file")));
    EXPECT_THAT(asked, IsEmpty());
}

// The wait

TEST_F(FWFileManagerRemoveTest, TheTimeoutFormFailsAtOnceWithTheAction) {
    folder("folder");
    made("folder/file", "text");
    const ReadOnly readOnly(path("folder"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/file"), Timeout{60}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_THAT(asked, ElementsAre("remove " + path("folder/file")));
}

TEST_F(FWFileManagerRemoveTest, TheTimeoutFormTellsWhetherTheResultShows) {
    folder("folder");
    made("folder/file", "text");
    const ReadOnly readOnly(path("folder"));
    answer = true; // And nothing happens.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(FWFileManager::removeFile(path("folder/file"), Timeout{0.2}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    for (const double seconds : {kNotANumber, -1.0, -std::numeric_limits<double>::infinity(), 0.0,
                                 -std::numeric_limits<double>::max()}) {
        EXPECT_FALSE(FWFileManager::removeFile(path("folder/file"), Timeout{seconds}));
    }
}

TEST_F(FWFileManagerRemoveTest, AHugeTimeoutEndsWithTheResult) {
    for (const double seconds : {1e300, std::numeric_limits<double>::infinity()}) {
        folder("folder");
        made("folder/file", "text");
        std::thread late;
        {
            const ReadOnly readOnly(path("folder"));
            answer = true;
            whenAsked = [&] {
                late = std::thread([this] {
                    ::chmod(path("folder").c_str(), 0755);
                    fs::remove(path("folder/file"));
                });
            };
            EXPECT_TRUE(FWFileManager::removeFile(path("folder/file"), Timeout{seconds}));
        }
        late.join();
    }
}

TEST_F(FWFileManagerRemoveTest, TheMainThreadServesOthersWhileItWaits) {
    folder("folder");
    made("folder/file", "text");
    answer = true;
    ::chmod(path("folder").c_str(), 0555);
    ASSERT_TRUE(isMainThread());
    whenAsked = [&] {
        postToMainThread([this] {
            ::chmod(path("folder").c_str(), 0755);
            fs::remove(path("folder/file"));
        });
    };
    EXPECT_TRUE(FWFileManager::removeFile(path("folder/file"), Timeout{60}));
}

TEST_F(FWFileManagerRemoveTest, AnotherThreadSleepsWhileItWaits) {
    folder("folder");
    made("folder/file", "text");
    answer = true;
    const ReadOnly readOnly(path("folder"));
    std::chrono::steady_clock::duration time{};
    std::thread other([&] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(FWFileManager::removeFile(path("folder/file"), Timeout{0.01}));
        time = std::chrono::steady_clock::now() - start;
    });
    other.join();
    EXPECT_GE(time, std::chrono::milliseconds(300));
}

TEST_F(FWFileManagerRemoveTest, ManyThreadsMayRemoveTheSameFolder) {
    for (int i = 0; i < 20; ++i) {
        for (int k = 0; k < 20; ++k) {
            folder("folder/" + std::to_string(k) + "/x");
        }
        std::atomic<int> removed = 0;
        std::vector<std::thread> threads;
        for (int k = 0; k < 4; ++k) {
            threads.emplace_back(
                [&] { removed += FWFileManager::removeFile(path("folder"), ShouldAuth::kNo); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(removed, 4);
        EXPECT_FALSE(exists("folder"));
    }
}

// Trashing

TEST_F(FWFileManagerTrashTest, MovesToTheTrashWhichIsMadeForTheUserAlone) {
    made("clip.mov", "text");
    ASSERT_FALSE(fs::exists(trash()));
    EXPECT_TRUE(FWFileManager::trashFile(path("clip.mov")));
    EXPECT_FALSE(exists("clip.mov"));
    EXPECT_EQ(readText(trashed("clip.mov")), "text");
    EXPECT_EQ(modeOf(trash()), 0700U);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerTrashTest, ANameThatIsTakenGetsANumber) {
    for (const char* text : {"1", "2", "3"}) {
        made("clip.mov", text);
        EXPECT_TRUE(FWFileManager::trashFile(path("clip.mov"), Timeout{5}));
    }
    EXPECT_THAT(namesIn(trash()), ElementsAre("clip 2.mov", "clip 3.mov", "clip.mov"));
    EXPECT_EQ(readText(trashed("clip 3.mov")), "3");
}

TEST_F(FWFileManagerTrashTest, AMissingFileCountsAsTrashed) {
    EXPECT_TRUE(FWFileManager::trashFile(path("missing")));
    EXPECT_TRUE(FWFileManager::trashFile(path("missing"), ShouldAuth::kNo));
    EXPECT_TRUE(FWFileManager::trashFile("", Timeout{1}));
    EXPECT_FALSE(fs::exists(trash()));
}

TEST_F(FWFileManagerTrashTest, TrashesFoldersAndLinksThemselves) {
    folder("folder/inner");
    made("target", "kept");
    link("target", "link");
    link("nowhere", "dangling");
    fifo("fifo");
    for (const char* name : {"folder/", "link", "dangling", "fifo"}) {
        EXPECT_TRUE(FWFileManager::trashFile(path(name), ShouldAuth::kNo)) << name;
    }
    EXPECT_THAT(namesIn(trash()), ElementsAre("dangling", "fifo", "folder", "link"));
    EXPECT_EQ(contents("target"), "kept");
}

TEST_F(FWFileManagerTrashTest, TheTrashMayLieOnAnotherFileSystem) {
    folder("folder/inner");
    made("folder/inner/file", "text");
    setFoldersApart();
    EXPECT_TRUE(FWFileManager::trashFile(path("folder"), ShouldAuth::kNo));
    EXPECT_FALSE(exists("folder"));
    EXPECT_EQ(readText(trashed("folder/inner/file")), "text");
}

TEST_F(FWFileManagerTrashTest, WhatIsWholeInTheTrashIsOnlyToBeRemovedWithRights) {
    folder("folder/inner");
    made("folder/inner/file", "text");
    setFoldersApart();
    ::chmod(path("folder/inner").c_str(), 0555);
    answer = true;
    EXPECT_TRUE(FWFileManager::trashFile(path("folder")));
    EXPECT_FALSE(FWFileManager::trashFile(path("folder"), ShouldAuth::kNo));
    EXPECT_THAT(asked, ElementsAre("remove " + path("folder")))
        << "to trash it once more would put what is left beside it";
    EXPECT_EQ(readText(trashed("folder/inner/file")), "text");
    for (const std::string& inner :
         {path("folder/inner"), trashed("folder/inner"), trashed("folder 2/inner")}) {
        ::chmod(inner.c_str(), 0755);
    }
}

TEST_F(FWFileManagerTrashTest, WhatComesWhileItIsTrashedIsNotLeftToTheRights) {
    folder("folder/inner");
    made("folder/inner/file", "text");
    setFoldersApart();
    ::chmod(path("folder/inner").c_str(), 0555);
    atRead(1, [&] { made("folder/late", "late"); });
    answer = true;
    EXPECT_FALSE(FWFileManager::trashFile(path("folder")));
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_EQ(contents("folder/late"), "late");
    EXPECT_EQ(readText(trashed("folder/inner/file")), "text");
    ::chmod(path("folder/inner").c_str(), 0755);
    ::chmod(trashed("folder/inner").c_str(), 0755);
}

TEST_F(FWFileManagerTrashTest, WhatIsWholeInTheTrashIsNotPutThereOnceMore) {
    answer = true;
    for (const int error : {ENOTEMPTY, EEXIST}) {
        folder("folder/inner");
        fillAtRemoval(path("folder/inner"), error);
        EXPECT_FALSE(FWFileManager::trashFile(path("folder"))) << error;
        EXPECT_THAT(namesIn(trash()), ElementsAre("folder")) << error;
        EXPECT_EQ(contents("folder/inner/late"), "late");
        fs::remove_all(path("folder"));
        fs::remove_all(trash());
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerTrashTest, AFailureIsNotLoggedAndTheRightsAreTried) {
    folder("folder");
    made("folder/file", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::trashFile(path("folder/file")));
    EXPECT_FALSE(FWFileManager::trashFile(path("folder/file"), ShouldAuth::kNo));
    answer = true;
    EXPECT_TRUE(FWFileManager::trashFile(path("folder/file")));
    EXPECT_FALSE(FWFileManager::trashFile(path("folder/file"), Timeout{0.01})) << "still there";
    EXPECT_THAT(asked, ElementsAre("trash " + path("folder/file"), "trash " + path("folder/file"),
                                   "trash " + path("folder/file")));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(contents("folder/file"), "text");
}

TEST_F(FWFileManagerTrashTest, WhatCannotBeSeenIsNotTakenForMissing) {
    folder("closed/inner");
    made("closed/inner/file", "kept");
    const std::string hidden = path("closed/inner/file");
    {
        const Closed closed(path("closed"));
        EXPECT_FALSE(FWFileManager::trashFile(hidden, ShouldAuth::kNo));
        answer = true; // And nothing happens.
        EXPECT_TRUE(FWFileManager::trashFile(hidden));
        EXPECT_FALSE(FWFileManager::trashFile(hidden, Timeout{0.01}));
    }
    EXPECT_THAT(asked, ElementsAre("trash " + hidden, "trash " + hidden));
    EXPECT_EQ(contents("closed/inner/file"), "kept");
}

TEST_F(FWFileManagerTrashTest, ATrashThatCannotBeMadeIsAFailure) {
    made("file", "text");
    writeText(trash(), "in the way");
    EXPECT_FALSE(FWFileManager::trashFile(path("file"), ShouldAuth::kNo));
    EXPECT_EQ(contents("file"), "text");
}

TEST_F(FWFileManagerTrashTest, TheTrashDoesNotGoIntoItself) {
    made("file", "text");
    ASSERT_TRUE(FWFileManager::trashFile(path("file")));
    EXPECT_FALSE(FWFileManager::trashFile(trash(), ShouldAuth::kNo));
    EXPECT_EQ(readText(trashed("file")), "text");
}

TEST_F(FWFileManagerTrashTest, ManyThreadsMayTrashFilesOfOneName) {
    std::vector<std::thread> threads;
    std::atomic<int> done = 0;
    for (int i = 0; i < 4; ++i) {
        const std::string name = std::to_string(i);
        folder(name);
        threads.emplace_back([&, name] {
            for (int k = 0; k < 10; ++k) {
                done += FWFileManager::trashFile(made(name + "/a", "text"), ShouldAuth::kNo);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(done, 40);
    EXPECT_EQ(namesIn(trash()).size(), 40U);
}

// Creating

TEST_F(FWFileManagerCreateTest, CreatesAFolderWithItsParentsAsTheUmaskHasIt) {
    const mode_t before = ::umask(027);
    EXPECT_TRUE(FWFileManager::createDirectory(path("a/b")));
    ::umask(002);
    EXPECT_TRUE(FWFileManager::createDirectory(path("c"), ShouldAuth::kNo));
    ::umask(before);
    EXPECT_EQ(modeOf(path("a")), 0750U);
    EXPECT_EQ(modeOf(path("a/b")), 0750U);
    EXPECT_EQ(modeOf(path("c")), 0775U);
    EXPECT_TRUE(FWFileManager::createDirectory(path("d"), Timeout{10}));
    EXPECT_TRUE(exists("d"));
}

TEST_F(FWFileManagerCreateTest, AFolderThatIsThereIsFine) {
    EXPECT_TRUE(FWFileManager::createDirectory(folder("a"), ShouldAuth::kNo));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerCreateTest, AFailureIsLoggedAndTheRightsAreTried) {
    made("file", "");
    EXPECT_FALSE(FWFileManager::createDirectory(path("file/a")));
    EXPECT_FALSE(FWFileManager::createDirectory(path("file"), ShouldAuth::kNo));
    EXPECT_FALSE(FWFileManager::createDirectory("", ShouldAuth::kNo));
    answer = true;
    EXPECT_TRUE(FWFileManager::createDirectory(path("file/a")));
    EXPECT_FALSE(FWFileManager::createDirectory(path("file/a"), Timeout{0.01})) << "still missing";
    EXPECT_THAT(asked, ElementsAre("create " + path("file/a"), "create " + path("file/a"),
                                   "create " + path("file/a")));
    const std::string message = "Error creating folder: Not a directory. Authorizing...";
    EXPECT_THAT(logged(),
                ElementsAre(message, message,
                            "Error creating folder: No such file or directory. Authorizing...",
                            message, message));
}

TEST_F(FWFileManagerCreateTest, OnADriveThatIsNotMountedItFailsWithoutTryingRights) {
    answer = true;
    const std::string name = "/Volumes/no drive of this name/folder";
    EXPECT_FALSE(FWFileManager::createDirectory(name));
    EXPECT_FALSE(FWFileManager::createDirectory(name, ShouldAuth::kYes));
    EXPECT_FALSE(FWFileManager::createDirectory(name, Timeout{60}));
    const std::string message = "Unable to create directory. Drive is not mounted.";
    EXPECT_THAT(systemLogged(), ElementsAre(message, message, message));
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

} // namespace
} // namespace fw
