#include "platform/files/FileAttributes.h"
#include "tests/suite/FileOperationTest.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class FWFileManagerMoveTest : public FileOperationTest {
protected:
    static bool moved(const std::string& source, const std::string& destination) {
        return FWFileManager::moveFile(source, destination, ShouldAuth::kNo);
    }
    std::vector<std::string> messages(const std::string& from, const std::string& to,
                                      const std::string& reason) const {
        return {"Error moving file from " + path(from) + " to " + path(to) + ": " + reason + ".",
                "Authorizing..."};
    }
    /// Moves go across disks, and this happens when an entry of that name is about to go.
    static void beforeRemovalAcrossDisks(const std::string& entry,
                                         const std::function<void()>& action) {
        FileCalls calls;
        calls.rename = [](auto...) {
            errno = EXDEV;
            return -1;
        };
        calls.unlink = [entry, action](int from, const char* name, int flags) {
            if (name == entry) {
                action();
            }
            return ::unlinkat(from, name, flags);
        };
        setFileCalls(calls);
    }
};

class FWFileManagerUniqueNameTest : public FileOperationTest {};

TEST_F(FWFileManagerMoveTest, MovesFilesFoldersAndLinksInEachForm) {
    made("a", "text");
    folder("folder/inner");
    link("nowhere", "dangling");
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_TRUE(FWFileManager::moveFile(path("folder"), path("other"), ShouldAuth::kNo));
    EXPECT_TRUE(FWFileManager::moveFile(path("dangling"), path("link"), Timeout{60}));
    EXPECT_FALSE(exists("a"));
    EXPECT_FALSE(exists("folder"));
    EXPECT_FALSE(exists("dangling"));
    EXPECT_EQ(contents("b"), "text");
    EXPECT_TRUE(exists("other/inner"));
    EXPECT_EQ(fs::read_symlink(path("link")), "nowhere");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerMoveTest, WhatStandsAtTheDestinationIsInTheWay) {
    made("a", "text");
    made("b", "kept");
    EXPECT_FALSE(moved(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "File exists"));
    EXPECT_FALSE(moved(path("a"), folder("folder")));
    EXPECT_FALSE(moved(path("a"), link("nowhere", "dangling")));
    EXPECT_EQ(contents("a"), "text");
    EXPECT_EQ(contents("b"), "kept");
    EXPECT_TRUE(fs::is_empty(path("folder")));
}

TEST_F(FWFileManagerMoveTest, NothingIsReplacedWhereTheFileSystemCannotRefuseByItself) {
    setFileCalls({.read = {}, .write = {}, .seek = {}, .rename = [](auto... arguments) {
                      if (std::get<4>(std::tuple(arguments...)) != 0) {
                          errno = EINVAL;
                          return -1;
                      }
                      return ::renameat2(arguments...);
                  }});
    made("a", "text");
    made("b", "kept");
    EXPECT_FALSE(moved(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "File exists"));
    EXPECT_EQ(contents("b"), "kept");
    EXPECT_TRUE(moved(path("a"), path("c")));
    EXPECT_EQ(contents("c"), "text");
}

TEST_F(FWFileManagerMoveTest, AFailureIsLoggedInTwoLinesAndTheRightsAreTried) {
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::moveFile(path("folder/a"), path("b")));
    EXPECT_EQ(logged(), messages("folder/a", "b", "Permission denied"));
    EXPECT_FALSE(FWFileManager::moveFile(path("folder/a"), path("b"), ShouldAuth::kNo));
    EXPECT_EQ(logged().size(), 4U) << "whether rights may be tried or not";
    answer = true;
    EXPECT_TRUE(FWFileManager::moveFile(path("folder/a"), path("b")));
    EXPECT_FALSE(FWFileManager::moveFile(path("folder/a"), path("b"), Timeout{0.01}))
        << "still there";
    const std::string call = "move " + path("folder/a") + " " + path("b");
    EXPECT_THAT(asked, ElementsAre(call, call, call));
}

TEST_F(FWFileManagerMoveTest, WhatCannotBeSeenIsNotTakenForMoved) {
    folder("closed/inner");
    made("closed/inner/a", "kept");
    const Closed closed(path("closed"));
    answer = true; // And nothing happens.
    EXPECT_FALSE(FWFileManager::moveFile(path("closed/inner/a"), path("b"), Timeout{0.01}));
    EXPECT_EQ(logged(), messages("closed/inner/a", "b", "Permission denied"));
    EXPECT_THAT(asked, ElementsAre("move " + path("closed/inner/a") + " " + path("b")));
}

TEST_F(FWFileManagerMoveTest, AMissingSourceIsAFailure) {
    for (const std::string& source : {path("missing"), std::string(), path("x/y")}) {
        EXPECT_FALSE(moved(source, path("b")));
        EXPECT_EQ(logged()[logged().size() - 2], "Error moving file from " + source + " to " +
                                                     path("b") + ": No such file or directory.");
    }
    EXPECT_FALSE(moved(made("a", "text"), ""));
    EXPECT_FALSE(moved(path("a"), path("b") + std::string("\0y", 2)));
    EXPECT_EQ(contents("a"), "text");
}

TEST_F(FWFileManagerMoveTest, ItsOwnDestinationIsLeftAsItIsAndNoRightsAreTried) {
    made("a", "text");
    fs::create_hard_link(path("a"), path("hard"));
    link("a", "soft");
    answer = true;
    for (const std::string& name : {path("a"), path("hard"), path("soft"), path("./a")}) {
        EXPECT_FALSE(FWFileManager::moveFile(path("a"), name)) << name;
        EXPECT_FALSE(FWFileManager::moveFile(name, path("a"))) << name;
        EXPECT_FALSE(FWFileManager::moveFile(name, path("a"), Timeout{60})) << name;
    }
    EXPECT_EQ(contents("a"), "text");
    EXPECT_EQ(contents("hard"), "text");
    EXPECT_EQ(fs::read_symlink(path("soft")), "a");
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerMoveTest, AFolderDoesNotGoIntoItself) {
    folder("a/inner");
    for (const bool isFar : {false, true}) {
        if (isFar) {
            setFoldersApart();
        }
        EXPECT_FALSE(moved(path("a"), path("a/inner/b")));
        EXPECT_EQ(logged()[logged().size() - 2], messages("a", "a/inner/b", "Invalid argument")[0]);
        EXPECT_THAT(namesIn(path("a")), ElementsAre("inner"));
        EXPECT_TRUE(fs::is_empty(path("a/inner")));
    }
}

TEST_F(FWFileManagerMoveTest, NamesMayBeLongAndNeedNotBeText) {
    made("a", "text");
    std::string last = "a";
    for (const std::string& name : {std::string(255, 'n'), std::string("\xFF\xFE")}) {
        EXPECT_TRUE(moved(path(last), path(name)));
        last = name;
    }
    EXPECT_EQ(contents(last), "text");
    EXPECT_FALSE(moved(path(last), path(std::string(256, 'n'))));
    EXPECT_EQ(contents(last), "text");
}

// Letter case

TEST_F(FWFileManagerMoveTest, LetterCaseIsChangedInOneStepWhereItCounts) {
    made("CLIP.mov", "text");
    EXPECT_TRUE(moved(path("CLIP.mov"), path("clip.MOV")));
    EXPECT_THAT(namesIn(path("")), ElementsAre("clip.MOV"));
    EXPECT_EQ(contents("clip.MOV"), "text");
}

TEST_F(FWFileManagerMoveTest, LetterCaseIsChangedThroughAUniqueName) {
    made("CLIP.mov", "text");
    made("clip.mov", "stands for the same file");
    std::vector<std::string> steps;
    setFileCalls(
        {.read = {},
         .write = {},
         .seek = {},
         .rename = [&](int from, const char* name, int to, const char* newName, unsigned flags) {
             steps.push_back(std::string(name) + " to " + newName);
             fs::remove(path("clip.mov")); // As where letter case does not count.
             return ::renameat2(from, name, to, newName, flags);
         }});
    EXPECT_TRUE(moved(path("CLIP.mov"), path("clip.mov")));
    EXPECT_THAT(steps, ElementsAre("CLIP.mov to clip 2.mov", "clip 2.mov to clip.mov"));
    EXPECT_EQ(contents("clip.mov"), "text");
}

TEST_F(FWFileManagerMoveTest, AnotherFileThatDiffersInLetterCaseIsInTheWay) {
    made("CLIP.mov", "text");
    made("clip.mov", "kept");
    EXPECT_FALSE(moved(path("CLIP.mov"), path("clip.mov")));
    EXPECT_EQ(logged(), messages("CLIP.mov", "clip.mov", "File exists"));
    EXPECT_EQ(contents("CLIP.mov"), "text") << "back again";
    EXPECT_EQ(contents("clip.mov"), "kept");
    EXPECT_EQ(namesIn(path("")).size(), 2U);
}

TEST_F(FWFileManagerMoveTest, AFileThatStaysUnderTheNameBetweenIsLogged) {
    made("CLIP.mov", "text");
    made("clip.mov", "kept");
    int calls = 0;
    setFileCalls({.read = {}, .write = {}, .seek = {}, .rename = [&](auto... arguments) {
                      if (++calls > 1) {
                          errno = EIO;
                          return -1;
                      }
                      return ::renameat2(arguments...);
                  }});
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("CLIP.mov"), path("clip.mov")));
    EXPECT_THAT(asked, IsEmpty()) << "it is not there to be moved";
    std::vector<std::string> expected = messages("CLIP.mov", "clip.mov", "Input/output error");
    expected.insert(expected.begin(), "Error moving file back from " + path("clip 2.mov") + " to " +
                                          path("CLIP.mov") + ": Input/output error.");
    EXPECT_EQ(logged(), expected);
    EXPECT_EQ(contents("clip 2.mov"), "text");
    EXPECT_EQ(contents("clip.mov"), "kept");
}

TEST_F(FWFileManagerMoveTest, AFolderThatIsWholeUnderTheNameBetweenIsNeitherMovedNorDone) {
    setFoldersApart();
    folder("SHOOT/inner");
    made("SHOOT/inner/clip", "text");
    folder("shoot");
    made("shoot/other", "kept");
    answer = true;
    {
        const ReadOnly readOnly(path("SHOOT/inner"));
        EXPECT_FALSE(FWFileManager::moveFile(path("SHOOT"), path("shoot")));
    }
    ::chmod(path("shoot 2/inner").c_str(), 0755);
    std::vector<std::string> expected = messages("SHOOT", "shoot", "Permission denied");
    expected.insert(expected.begin(), "Error moving file on from " + path("shoot 2") + " to " +
                                          path("shoot") + ": Permission denied.");
    EXPECT_EQ(logged(), expected);
    EXPECT_THAT(asked, IsEmpty()) << "to remove the source would look like success";
    EXPECT_EQ(contents("shoot 2/inner/clip"), "text");
    EXPECT_THAT(namesIn(path("shoot")), ElementsAre("other"));
}

// To another file system

TEST_F(FWFileManagerMoveTest, AcrossFileSystemsItIsCopiedAndThenRemoved) {
    setFoldersApart();
    folder("a/inner");
    made("a/inner/file", "text");
    link("inner/file", "a/link");
    ::chmod(path("a/inner/file").c_str(), 0640);
    const FileAttributes before = fileAttributes(path("a/inner/file"));
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("b"), Timeout{60}));
    EXPECT_FALSE(exists("a"));
    EXPECT_EQ(contents("b/inner/file"), "text");
    EXPECT_EQ(modeOf(path("b/inner/file")), 0640U);
    EXPECT_EQ(fileAttributes(path("b/inner/file")), before);
    EXPECT_TRUE(fs::is_symlink(path("b/link")));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerMoveTest, AcrossFileSystemsTooADestinationIsInTheWay) {
    setFoldersApart();
    made("a", "text");
    made("b", "kept");
    EXPECT_FALSE(moved(path("a"), path("b")));
    EXPECT_EQ(contents("a"), "text");
    EXPECT_EQ(contents("b"), "kept");
}

TEST_F(FWFileManagerMoveTest, WhatCannotBeRemovedAfterwardsIsNotCopied) {
    setFoldersApart();
    folder("folder");
    made("folder/a", "text");
    const ReadOnly readOnly(path("folder"));
    EXPECT_FALSE(FWFileManager::moveFile(path("folder/a"), path("b")));
    EXPECT_EQ(logged(), messages("folder/a", "b", "Permission denied"));
    EXPECT_FALSE(exists("b"));
    EXPECT_THAT(asked, ElementsAre("move " + path("folder/a") + " " + path("b")));
}

TEST_F(FWFileManagerMoveTest, AMoveThatFailsWhileItCopiesLeavesTheSource) {
    setFoldersApart();
    folder("a");
    made("a/one", someBytes(600'000));
    made("a/two", someBytes(600'000));
    failRead(6);
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "Input/output error"));
    EXPECT_EQ(contents("a/one"), someBytes(600'000));
    EXPECT_EQ(contents("a/two"), someBytes(600'000));
    EXPECT_FALSE(exists("b"));
    EXPECT_THAT(asked, ElementsAre("move " + path("a") + " " + path("b")));
}

TEST_F(FWFileManagerMoveTest, WhatTheDiskDoesNotTakeIsNoReasonToRemoveTheSource) {
    setFileCalls({.read = {},
                  .write = {},
                  .seek = {},
                  .rename =
                      [](auto...) {
                          errno = EXDEV;
                          return -1;
                      },
                  .flush = {},
                  .flushFileSystem =
                      [](int) {
                          errno = EIO;
                          return -1;
                      }});
    folder("a/inner");
    made("a/inner/file", "text");
    ::chmod(path("a/inner").c_str(), 0500);
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(contents("a/inner/file"), "text");
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(logged(), messages("a", "b", "Input/output error"));
    EXPECT_THAT(asked, ElementsAre("move " + path("a") + " " + path("b")));
    ::chmod(path("a/inner").c_str(), 0700);
}

TEST_F(FWFileManagerMoveTest, AMoveThatFailsWhileItRemovesLeavesTheWholeDestination) {
    setFoldersApart();
    folder("a/inner");
    made("a/inner/one", "1");
    made("a/two", "2");
    ::chmod(path("a/inner").c_str(), 0555);
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "Permission denied"));
    EXPECT_EQ(contents("b/inner/one"), "1");
    EXPECT_EQ(contents("b/two"), "2");
    EXPECT_THAT(asked, ElementsAre("remove " + path("a")))
        << "to move it once more would put it into the folder that is whole";
    EXPECT_THAT(namesIn(path("a")), ElementsAre("inner")) << "the rest has gone";
    ::chmod(path("a/inner").c_str(), 0755);
    ::chmod(path("b/inner").c_str(), 0755);
}

TEST_F(FWFileManagerMoveTest, ATreeOfWhichMuchCannotBeRemovedIsLeftToTheRights) {
    setFoldersApart();
    folder("a/inner/deep");
    made("a/inner/deep/1", "1");
    made("a/inner/2", "2");
    made("a/inner/3", "3");
    link("2", "a/inner/link");
    ::chmod(path("a/inner").c_str(), 0555);
    answer = true;
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "Permission denied"));
    EXPECT_THAT(asked, ElementsAre("remove " + path("a")));
    EXPECT_THAT(namesIn(path("a/inner")), ElementsAre("2", "3", "deep", "link"));
    EXPECT_TRUE(fs::is_empty(path("a/inner/deep")));
    ::chmod(path("a/inner").c_str(), 0755);
    ::chmod(path("b/inner").c_str(), 0755);
}

TEST_F(FWFileManagerMoveTest, TheDiskIsAskedAlsoWhenTheFolderMayNoLongerBeRead) {
    int flushed = 0;
    FileCalls calls;
    calls.rename = [](auto...) {
        errno = EXDEV;
        return -1;
    };
    calls.flushFileSystem = [&](int) {
        ++flushed;
        errno = EIO;
        return -1;
    };
    calls.read = [&](int descriptor, void* bytes, std::size_t count) {
        ::chmod(path("to").c_str(), 0300);
        return ::read(descriptor, bytes, count);
    };
    setFileCalls(calls);
    made("a", "text");
    folder("to");
    EXPECT_FALSE(moved(path("a"), path("to/b")));
    ::chmod(path("to").c_str(), 0700);
    EXPECT_EQ(flushed, 1) << "opened before anything was written";
    EXPECT_EQ(contents("a"), "text");
    EXPECT_TRUE(fs::is_empty(path("to")));
}

// A source that changes while it moves to another file system

TEST_F(FWFileManagerMoveTest, AFileThatIsReplacedMeanwhileStaysAndItsCopyGoes) {
    setFoldersApart();
    made("clip.mov", someBytes(600'000));
    made("next", "take 2");
    atRead(2, [&] { fs::rename(path("next"), path("clip.mov")); });
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("clip.mov"), path("b")));
    EXPECT_EQ(contents("clip.mov"), "take 2");
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(logged(), messages("clip.mov", "b", "Device or resource busy"));
    EXPECT_THAT(asked, IsEmpty()) << "rights would lose it";
}

TEST_F(FWFileManagerMoveTest, AFileThatIsWrittenMeanwhileStays) {
    const auto append = [this](const std::string& name) {
        std::ofstream(path(name), std::ios::app) << "late";
    };
    FileCalls calls;
    calls.rename = [](auto...) {
        errno = EXDEV;
        return -1;
    };
    calls.flushFileSystem = [&](int) { // All of it has been copied.
        append("a");
        return 0;
    };
    setFileCalls(calls);
    made("a", "text");
    EXPECT_FALSE(moved(path("a"), path("b")));
    EXPECT_EQ(contents("a"), "textlate");
    EXPECT_FALSE(exists("b"));
    folder("c");
    made("c/1", "1");
    made("c/2", "2");
    setFoldersApart();
    std::string changed;
    atRead(3, [&] { // One has been copied, and the other is about to be.
        changed = readText(path("d/1")) == "1" ? "1" : "2";
        append("c/" + changed);
    });
    EXPECT_FALSE(moved(path("c"), path("d")));
    EXPECT_EQ(contents("c/" + changed), changed + "late");
    EXPECT_THAT(namesIn(path("c")), ElementsAre(changed)) << "the other has gone";
    EXPECT_THAT(namesIn(path("d")), ElementsAre("1", "2"));
}

TEST_F(FWFileManagerMoveTest, WhatComesIntoAFolderMeanwhileStaysThere) {
    setFoldersApart();
    folder("card/inner");
    folder("card/other");
    made("card/inner/1", "1");
    made("card/2", "2");
    atRead(4, [&] { // Everything has been listed.
        made("card/inner/late", "late");
        folder("card/late");
    });
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("card"), path("b")));
    EXPECT_EQ(contents("card/inner/late"), "late");
    EXPECT_THAT(namesIn(path("card/inner")), ElementsAre("late"));
    EXPECT_THAT(namesIn(path("card")), ElementsAre("inner", "late"));
    EXPECT_EQ(contents("b/inner/1"), "1");
    EXPECT_EQ(contents("b/2"), "2");
    EXPECT_EQ(logged(), messages("card", "b", "Device or resource busy"));
    EXPECT_THAT(asked, IsEmpty()) << "rights would remove the rest";
}

TEST_F(FWFileManagerMoveTest, WhatComesMeanwhileStaysAlsoWhereSomethingCannotBeRemoved) {
    setFoldersApart();
    folder("card/readonly");
    made("card/readonly/1", "1");
    ::chmod(path("card/readonly").c_str(), 0555);
    atRead(1, [&] { made("card/late", "late"); }); // Everything has been listed.
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("card"), path("b")));
    EXPECT_EQ(contents("card/late"), "late");
    EXPECT_EQ(contents("b/readonly/1"), "1");
    EXPECT_EQ(logged(), messages("card", "b", "Device or resource busy"));
    EXPECT_THAT(asked, IsEmpty()) << "rights would remove it";
    ::chmod(path("card/readonly").c_str(), 0755);
    ::chmod(path("b/readonly").c_str(), 0755);
}

TEST_F(FWFileManagerMoveTest, NothingThatChangesIsLeftToTheRights) {
    const auto append = [this](const std::string& name) {
        std::ofstream(path(name), std::ios::app) << "late";
    };
    const auto withInnerOpen = [this](const std::function<void()>& change) {
        ::chmod(path("a/inner").c_str(), 0755);
        change();
        ::chmod(path("a/inner").c_str(), 0555);
    };
    const std::vector<std::pair<std::string, std::function<void()>>> changes = {
        {"one of the files, whichever is removed first",
         [&] {
             append("a/inner/1");
         }},
        {"another",
         [&] {
             append("a/inner/2");
         }},
        {"the last",
         [&] {
             append("a/inner/3");
         }},
        {"a file outside",
         [&] {
             append("a/4");
         }},
        {"one that comes among them",
         [&] {
             withInnerOpen([&] { made("a/inner/late", "late"); });
         }},
        {"one that comes into a folder that cannot be removed",
         [&] {
             made("a/inner/deep/late", "late");
         }},
        {"one that comes into the top",
         [&] {
             made("a/late", "late");
         }},
        {"one in the place of a folder",
         [&] {
             withInnerOpen([&] {
                 fs::remove(path("a/inner/deep"));
                 made("a/inner/deep", "late");
             });
         }},
        {"a folder that can no longer be looked into",
         [&] {
             ::chmod(path("a/inner").c_str(), 0);
         }},
    };
    answer = true;
    for (const auto& [what, happens] : changes) {
        folder("a/inner/deep");
        for (const char* name : {"inner/1", "inner/2", "inner/3", "4"}) {
            made(std::string("a/") + name, name);
        }
        ::chmod(path("a/inner").c_str(), 0555);
        setFoldersApart();
        atRead(8, happens); // Everything has been copied.
        EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b"))) << what;
        EXPECT_EQ(logged()[logged().size() - 2], messages("a", "b", "Device or resource busy")[0])
            << what;
        EXPECT_THAT(asked, IsEmpty()) << what;
        for (const char* name : {"a", "b"}) {
            ::chmod(path(std::string(name) + "/inner").c_str(), 0755);
            fs::remove_all(path(name));
        }
    }
}

TEST_F(FWFileManagerMoveTest, AFileThatBecomesAFolderAtTheLastMomentIsNotLeftToTheRights) {
    folder("a");
    made("a/1", "1");
    beforeRemovalAcrossDisks("1", [&] {
        fs::remove(path("a/1"));
        folder("a/1/late");
    });
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "Device or resource busy"));
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_TRUE(exists("a/1/late"));
}

TEST_F(FWFileManagerMoveTest, AFolderThatIsNotEmptyAtTheLastMomentIsNotLeftToTheRights) {
    answer = true;
    for (const int error : {ENOTEMPTY, EEXIST}) {
        folder("a/inner");
        fillAtRemoval(path("a/inner"), error);
        EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b"))) << error;
        EXPECT_EQ(logged()[logged().size() - 2], messages("a", "b", "Device or resource busy")[0])
            << error;
        EXPECT_EQ(contents("a/inner/late"), "late");
        fs::remove_all(path("a"));
        fs::remove_all(path("b"));
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerMoveTest, AFolderThatIsMovedAwayMeanwhileEndsTheRemoval) {
    const std::string deep = deepFolder("a", 40);
    made(deep.substr(path("").size()) + "/1", "1");
    beforeRemovalAcrossDisks("1", [&] {
        fs::rename(path("a/d/d/d"), path("aside"));
        folder("a/d/d/d/late");
    });
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_EQ(logged(), messages("a", "b", "Device or resource busy"));
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_TRUE(exists("a/d/d/d/late"));
    EXPECT_TRUE(exists("aside"));
}

TEST_F(FWFileManagerMoveTest, AFolderThatIsReplacedMeanwhileStays) {
    setFoldersApart();
    folder("a/inner/deep");
    made("a/inner/deep/1", "1");
    made("a/inner/2", "2");
    atRead(4, [&] {
        fs::rename(path("a/inner"), path("aside"));
        made("a/inner", "another");
    });
    EXPECT_FALSE(moved(path("a"), path("b")));
    EXPECT_EQ(contents("a/inner"), "another");
    EXPECT_EQ(contents("aside/deep/1"), "1");
    EXPECT_EQ(contents("b/inner/deep/1"), "1");
    made("c", "text");
    setFoldersApart();
    atRead(2, [&] {
        fs::rename(path("c"), path("aside/c"));
        folder("c");
    });
    EXPECT_FALSE(moved(path("c"), path("d")));
    EXPECT_TRUE(fs::is_directory(path("c")));
    EXPECT_FALSE(exists("d"));
}

TEST_F(FWFileManagerMoveTest, WhatHasGoneMeanwhileNeedNotBeRemoved) {
    setFoldersApart();
    folder("a/inner/deep");
    made("a/inner/deep/1", "1");
    made("a/2", "2");
    made("a/3", "3");
    atRead(6, [&] {
        fs::remove_all(path("a/inner"));
        fs::remove(path("a/2"));
    });
    EXPECT_TRUE(moved(path("a"), path("b")));
    EXPECT_FALSE(exists("a"));
    EXPECT_EQ(contents("b/inner/deep/1"), "1");
    EXPECT_EQ(contents("b/2"), "2");
    EXPECT_EQ(contents("b/3"), "3");
    made("c", "text");
    atRead(2, [&] { fs::remove(path("c")); });
    EXPECT_TRUE(moved(path("c"), path("d")));
    EXPECT_EQ(contents("d"), "text");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerMoveTest, AFolderMayGoWhileItIsEmptied) {
    folder("a/inner");
    made("a/inner/1", "1");
    beforeRemovalAcrossDisks("1", [&] { fs::remove_all(path("a/inner")); });
    EXPECT_TRUE(moved(path("a"), path("b")));
    EXPECT_FALSE(exists("a"));
    EXPECT_EQ(contents("b/inner/1"), "1");
}

TEST_F(FWFileManagerMoveTest, TheFolderOfTheSourceMayBeMovedMeanwhile) {
    setFoldersApart();
    folder("from");
    made("from/a", "text");
    atRead(2, [&] {
        fs::rename(path("from"), path("moved"));
        folder("from");
        made("from/a", "text");
    });
    EXPECT_TRUE(moved(path("from/a"), path("b")));
    EXPECT_EQ(contents("from/a"), "text") << "this one was not copied";
    EXPECT_FALSE(exists("moved/a"));
}

// Unique names

TEST_F(FWFileManagerUniqueNameTest, AFreePathIsItself) {
    for (const std::string& name : {path("clip.mov"), std::string(), path("no/folder")}) {
        EXPECT_EQ(FWFileManager::uniqueFilename(name), name);
    }
}

TEST_F(FWFileManagerUniqueNameTest, ATakenPathGetsTheFirstFreeNumber) {
    made("clip.mov", "");
    EXPECT_EQ(FWFileManager::uniqueFilename(path("clip.mov")), path("clip 2.mov"));
    made("clip 2.mov", "");
    EXPECT_EQ(FWFileManager::uniqueFilename(path("clip.mov")), path("clip 3.mov"));
    made("clip 4.mov", "");
    EXPECT_EQ(FWFileManager::uniqueFilename(path("clip.mov")), path("clip 3.mov"));
    EXPECT_EQ(FWFileManager::uniqueFilename(path("clip 2.mov")), path("clip 2 2.mov"));
}

TEST_F(FWFileManagerUniqueNameTest, OnlyThePathsOwnExtensionIsKeptAtTheEnd) {
    folder("take.1");
    for (const auto& [name, unique] :
         std::vector<std::pair<std::string, std::string>>{{"plain", "plain 2"},
                                                          {".hidden", ".hidden 2"},
                                                          {"a.tar.gz", "a.tar 2.gz"},
                                                          {"dot.", "dot. 2"},
                                                          {"take.1/plain", "take.1/plain 2"},
                                                          {"\xFF.mov", "\xFF 2.mov"}}) {
        made(name, "");
        EXPECT_EQ(FWFileManager::uniqueFilename(path(name)), path(unique));
    }
    folder("folder.x");
    EXPECT_EQ(FWFileManager::uniqueFilename(path("folder.x//")), path("folder 2.x"));
}

TEST_F(FWFileManagerUniqueNameTest, TheRootHasNoOtherName) {
    EXPECT_EQ(FWFileManager::uniqueFilename("/"), "/");
    EXPECT_EQ(FWFileManager::uniqueFilename("//"), "//");
}

TEST_F(FWFileManagerUniqueNameTest, ALongNameIsShortenedAndNoCharacterCutInTwo) {
    const auto x = [](std::size_t count) {
        return std::string(count, 'x');
    };
    for (const auto& [name, unique] : std::vector<std::pair<std::string, std::string>>{
             {x(253), x(253) + " 2"},
             {x(254), x(253) + " 2"},
             {x(255), x(253) + " 2"},
             {x(251) + ".mov", x(249) + " 2.mov"},
             {x(251) + "\u00E9\u00E9", x(251) + "\u00E9 2"},
             {x(252) + "\u20AC", x(252) + " 2"},
             {x(251) + "\U0001F3AC", x(251) + " 2"},
             {x(250) + "\U0001F3AC.", x(250) + " 2"},
             {std::string(255, '\x80'), std::string(253, '\x80') + " 2"},
             {x(3) + "." + std::string(251, 'e'), "x 2." + std::string(251, 'e')},
             {"x." + std::string(253, 'e'), "x." + std::string(251, 'e') + " 2"}}) {
        made(name, "");
        EXPECT_EQ(FWFileManager::uniqueFilename(path(name)), path(unique)) << name;
        fs::remove(path(name));
    }
}

TEST_F(FWFileManagerUniqueNameTest, AShortenedNameMayBeTakenToo) {
    made(std::string(255, 'x'), "");
    for (int n = 2; n < 10; ++n) {
        made(std::string(253, 'x') + " " + std::to_string(n), "");
    }
    EXPECT_EQ(FWFileManager::uniqueFilename(path(std::string(255, 'x'))),
              path(std::string(252, 'x') + " 10"));
}

TEST_F(FWFileManagerUniqueNameTest, FilesOfOneLongNameAreTrashedWithoutRights) {
    const std::string name = std::string(251, 'x') + ".mov";
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(FWFileManager::trashFile(made(name, "")));
    }
    EXPECT_EQ(namesIn(trash()).size(), 2U);
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerUniqueNameTest, ALinkTakesItsNameWhereverItPointsTo) {
    link("nowhere", "dangling");
    link("loop", "loop");
    EXPECT_EQ(FWFileManager::uniqueFilename(path("dangling")), path("dangling 2"));
    EXPECT_EQ(FWFileManager::uniqueFilename(path("loop")), path("loop 2"));
}

} // namespace
} // namespace fw
