#include "tests/suite/FileOperationTest.h"

#include <gmock/gmock.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

class FWFileManagerFolderTest : public FileOperationTest {
protected:
    /// Files of this name in the folder and its folders, those of a folder in its place.
    std::vector<std::string> inListingOrder(const std::string& folder,
                                            const std::string& name) const {
        std::vector<std::string> found;
        for (const std::string& entry : listedIn(folder)) {
            const std::string whole = folder + "/" + entry;
            if (fs::is_directory(whole)) {
                const auto inner = inListingOrder(whole, name);
                found.insert(found.end(), inner.begin(), inner.end());
            } else if (entry.ends_with(name)) {
                found.push_back(whole);
            }
        }
        return found;
    }
    /// Files and folders with files in them, in two depths.
    std::string manyFiles() const {
        for (const char* name : {"a/", "a/x/", "a/y/", "a/y/z/"}) {
            folder(name);
            for (int i = 0; i < 10; ++i) {
                made(name + std::to_string(i) + ".mov", "");
            }
        }
        return path("a");
    }
};
class FWFileManagerLockTest : public FileOperationTest {};

// Empty folders

TEST_F(FWFileManagerFolderTest, OnlyFilesThatDoNotCountLeaveAFolderEmpty) {
    EXPECT_TRUE(FWFileManager::isFolderEmpty(folder("none")));
    folder("a/b/c");
    made("a/.DS_Store", "");
    made("a/b/Icon\r", "");
    made("a/b/c/.DS_Store", "");
    EXPECT_TRUE(FWFileManager::isFolderEmpty(path("a")));
    made("a/b/c/file", "");
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("a")));
    for (const char* name : {"Icon", ".ds_store", ".DS_Store2", "Icon\n"}) {
        folder("x");
        made(std::string("x/") + name, "");
        EXPECT_FALSE(FWFileManager::isFolderEmpty(path("x"))) << name;
        fs::remove_all(path("x"));
    }
}

TEST_F(FWFileManagerFolderTest, ALinkOrAPipeInAFolderIsSomething) {
    folder("empty");
    folder("a");
    link("../empty", "a/link");
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("a")));
    folder("b");
    link("loop", "b/loop");
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("b")));
    folder("c");
    fifo("c/fifo");
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("c")));
    link("empty", "way");
    EXPECT_TRUE(FWFileManager::isFolderEmpty(path("way"))) << "the folder is found by a link";
}

TEST_F(FWFileManagerFolderTest, AnUnreadableFolderCountsAsEmptyDeliberately) {
    folder("a/secret");
    made("a/secret/file", "");
    ::chmod(path("a/secret").c_str(), 0);
    EXPECT_TRUE(FWFileManager::isFolderEmpty(path("a/secret")));
    EXPECT_TRUE(FWFileManager::isFolderEmpty(path("a")));
    EXPECT_TRUE(FWFileManager::isFolderEmpty(path("missing")));
    EXPECT_FALSE(FWFileManager::removeFolderIfEmpty(path("a"))) << "it cannot be removed";
    ::chmod(path("a/secret").c_str(), 0700);
    EXPECT_TRUE(exists("a/secret/file"));
    EXPECT_THAT(asked, ElementsAre("remove " + path("a")));
}

TEST_F(FWFileManagerFolderTest, AnEntryThatCannotBeSeenToBeAFolderIsSomething) {
    folder("a/listed");
    made("a/listed/clip.mov", "kept");
    folder("b/listed/inner");
    for (const char* name : {"a/listed", "b/listed"}) {
        ::chmod(path(name).c_str(), 0444); // Its names may be read, and nothing else.
    }
    answer = true;
    for (const char* name : {"a", "a/listed", "b", "b/listed"}) {
        EXPECT_FALSE(FWFileManager::isFolderEmpty(path(name))) << name;
        EXPECT_FALSE(FWFileManager::removeFolderIfEmpty(path(name))) << name;
    }
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("a/listed/clip.mov")));
    EXPECT_THAT(asked, IsEmpty());
    for (const char* name : {"a/listed", "b/listed"}) {
        ::chmod(path(name).c_str(), 0755);
    }
    EXPECT_EQ(contents("a/listed/clip.mov"), "kept");
}

TEST_F(FWFileManagerFolderTest, AFileIsNoEmptyFolder) {
    made("file", "kept");
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("file")));
    EXPECT_FALSE(FWFileManager::removeFolderIfEmpty(path("file")));
    EXPECT_FALSE(FWFileManager::isFolderEmpty(path("x") + std::string("\0y", 2)));
    EXPECT_EQ(contents("file"), "kept");
}

TEST_F(FWFileManagerFolderTest, RemovesAFolderOnlyWhenItIsEmpty) {
    folder("a/inner");
    made("a/.DS_Store", "");
    EXPECT_TRUE(FWFileManager::removeFolderIfEmpty(path("a")));
    EXPECT_FALSE(exists("a"));
    folder("b");
    made("b/file", "kept");
    EXPECT_FALSE(FWFileManager::removeFolderIfEmpty(path("b")));
    EXPECT_EQ(contents("b/file"), "kept");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerFolderTest, AnEmptyTreeMayBeDeep) {
    const std::size_t before = openDescriptors();
    const std::string deep = deepFolder("a", 1000);
    {
        const FewDescriptors few(before + 50);
        EXPECT_TRUE(FWFileManager::isFolderEmpty(path("a")));
        writeText(deep + "/file", "");
        EXPECT_FALSE(FWFileManager::isFolderEmpty(path("a")));
    }
    EXPECT_EQ(openDescriptors(), before);
}

// Emptying

TEST_F(FWFileManagerFolderTest, TrashesEveryEntryOfAFolder) {
    folder("a/inner");
    made("a/file", "");
    made("a/inner/other", "");
    EXPECT_TRUE(FWFileManager::trashDirectoryContents(path("a")));
    EXPECT_TRUE(fs::is_empty(path("a")));
    EXPECT_THAT(namesIn(trash()), ElementsAre("file", "inner"));
    EXPECT_TRUE(FWFileManager::trashDirectoryContents(path("a"), ShouldAuth::kNo)) << "empty";
    EXPECT_TRUE(FWFileManager::trashDirectoryContents(path("missing")));
}

TEST_F(FWFileManagerFolderTest, EveryEntryIsTriedAfterAFailure) {
    folder("a");
    made("a/1", "");
    made("a/2", "");
    const ReadOnly readOnly(path("a"));
    EXPECT_FALSE(FWFileManager::trashDirectoryContents(path("a")));
    EXPECT_THAT(asked, UnorderedElementsAre("trash " + path("a/1"), "trash " + path("a/2")));
    asked.clear();
    EXPECT_FALSE(FWFileManager::trashDirectoryContents(path("a"), ShouldAuth::kNo));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerFolderTest, TrashesFilesOfATypeInAllFolders) {
    folder("a/inner/Player.app/deep");
    folder("a/folder.mov");
    for (const char* name : {"a/1.mov", "a/2.MOV", "a/3.mp4", "a/mov", "a/.mov", "a/inner/4.Mov",
                             "a/inner/Player.app/deep/5.mov", "a/folder.mov/6.mov"}) {
        made(name, "");
    }
    EXPECT_THAT(FWFileManager::trashFilesOfType("MOV", path("a")),
                UnorderedElementsAre(path("a/1.mov"), path("a/2.MOV"), path("a/inner/4.Mov"),
                                     path("a/inner/Player.app/deep/5.mov"),
                                     path("a/folder.mov/6.mov")));
    EXPECT_THAT(namesIn(trash()), ElementsAre("1.mov", "2.MOV", "4.Mov", "5.mov", "6.mov"));
    EXPECT_THAT(namesIn(path("a")), ElementsAre(".mov", "3.mp4", "folder.mov", "inner", "mov"));
}

TEST_F(FWFileManagerFolderTest, AnEmptyExtensionMeansEveryFileWithoutOneDeliberately) {
    folder("a/inner");
    for (const char* name : {"a/1.mov", "a/plain", "a/.hidden", "a/dot.", "a/inner/other"}) {
        made(name, "");
    }
    EXPECT_THAT(FWFileManager::trashFilesOfType("", path("a")),
                UnorderedElementsAre(path("a/plain"), path("a/.hidden"), path("a/dot."),
                                     path("a/inner/other")));
    EXPECT_THAT(namesIn(path("a")), ElementsAre("1.mov", "inner"));
}

TEST_F(FWFileManagerFolderTest, TrashesFilesOfANameInAllFolders) {
    folder("a/name");
    for (const char* name : {"a/name/name", "a/Name", "a/name.x", "a/name/other"}) {
        made(name, "");
    }
    EXPECT_THAT(FWFileManager::trashFilesNamed("name", path("a")),
                ElementsAre(path("a/name/name")));
    EXPECT_THAT(namesIn(path("a")), ElementsAre("Name", "name", "name.x"));
    EXPECT_THAT(FWFileManager::trashFilesNamed("name", path("missing")), IsEmpty());
}

TEST_F(FWFileManagerFolderTest, FilesAreTrashedAndToldInListingOrderThoseOfAFolderInItsPlace) {
    const std::string folder = manyFiles();
    const auto named = inListingOrder(folder, "7.mov");
    EXPECT_EQ(named.size(), 4U);
    EXPECT_EQ(FWFileManager::trashFilesNamed("7.mov", folder), named);
    const auto all = inListingOrder(folder, "mov");
    EXPECT_EQ(all.size(), 36U);
    EXPECT_EQ(FWFileManager::trashFilesOfType("mov", folder), all);
}

TEST_F(FWFileManagerFolderTest, EntriesAreTrashedInListingOrder) {
    const std::string folder = manyFiles();
    const ReadOnly readOnly(folder);
    std::vector<std::string> expected;
    for (const std::string& name : listedIn(folder)) {
        expected.push_back("trash " + folder + "/" + name);
    }
    EXPECT_EQ(expected.size(), 12U);
    EXPECT_FALSE(FWFileManager::trashDirectoryContents(folder));
    EXPECT_EQ(asked, expected);
}

TEST_F(FWFileManagerFolderTest, APathIsToldAlsoWhenItCouldNotBeTrashed) {
    folder("a");
    made("a/1.mov", "");
    const ReadOnly readOnly(path("a"));
    EXPECT_THAT(FWFileManager::trashFilesOfType("mov", path("a")), ElementsAre(path("a/1.mov")));
    EXPECT_THAT(FWFileManager::trashFilesNamed("1.mov", path("a")), ElementsAre(path("a/1.mov")));
    EXPECT_TRUE(exists("a/1.mov"));
    EXPECT_THAT(asked, ElementsAre("trash " + path("a/1.mov"), "trash " + path("a/1.mov")));
}

TEST_F(FWFileManagerFolderTest, LinksAreTrashedThemselvesAndNotFollowed) {
    folder("outside");
    made("outside/1.mov", "kept");
    folder("a");
    link("../outside", "a/link");
    link("../outside", "a/link.mov");
    link("..", "a/up");
    EXPECT_THAT(FWFileManager::trashFilesOfType("mov", path("a")), ElementsAre(path("a/link.mov")));
    EXPECT_EQ(contents("outside/1.mov"), "kept");
    EXPECT_TRUE(fs::is_symlink(trashed("link.mov")));
}

TEST_F(FWFileManagerFolderTest, NamesNeedNotBeTextAndFoldersMayBeDeep) {
    const std::string deep = deepFolder("a", 1000);
    writeText(deep + "/\xFF\xFE.mov", "");
    const std::size_t before = openDescriptors();
    {
        const FewDescriptors few(before + 20);
        EXPECT_THAT(FWFileManager::trashFilesOfType("mov", path("a")),
                    ElementsAre(deep + "/\xFF\xFE.mov"));
    }
    EXPECT_THAT(namesIn(trash()), ElementsAre("\xFF\xFE.mov"));
}

// Locks, as far as a user comes

TEST_F(FWFileManagerLockTest, AUserMayNotLock) {
    made("file", "");
    EXPECT_FALSE(FWFileManager::isFileLocked(path("file")));
    EXPECT_FALSE(FWFileManager::lockFile(path("file")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("file")));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Unable to unlock file " + path("file") + ": Operation not permitted"));
}

TEST_F(FWFileManagerLockTest, WhatIsNotLockedIsNotTouchedWhenItIsUnlocked) {
    made("file", "");
    ::chmod(path("file").c_str(), 0);
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(path("file").c_str(), &before), 0);
    EXPECT_TRUE(FWFileManager::unlockFile(path("file")));
    ASSERT_EQ(::stat(path("file").c_str(), &after), 0);
    EXPECT_EQ(after.st_ctim.tv_sec, before.st_ctim.tv_sec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerLockTest, WhatDoesNotExistIsNotUnlockedAndNoMessageAppears) {
    for (const std::string& name : {path("missing"), std::string()}) {
        EXPECT_TRUE(FWFileManager::unlockFile(name));
        EXPECT_TRUE(FWFileManager::unlockFolder(name));
        EXPECT_FALSE(FWFileManager::isFileLocked(name));
    }
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_FALSE(FWFileManager::lockFile(path("missing")));
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to unlock file " + path("missing") +
                                            ": No such file or directory"));
}

TEST_F(FWFileManagerLockTest, LinksPipesAndDevicesHaveNoLock) {
    made("file", "");
    link("file", "link");
    fifo("fifo");
    for (const std::string& name : {path("link"), path("fifo"), std::string("/dev/null")}) {
        EXPECT_TRUE(FWFileManager::unlockFile(name));
        EXPECT_FALSE(FWFileManager::lockFile(name));
        EXPECT_EQ(systemLogged().back(),
                  "Unable to unlock file " + name + ": Operation not supported");
    }
}

TEST_F(FWFileManagerLockTest, EveryEntryOfAFolderIsTried) {
    folder("a/inner");
    made("a/file", "");
    made("a/inner/other", "");
    EXPECT_TRUE(FWFileManager::lockFolder(folder("empty")));
    EXPECT_TRUE(FWFileManager::unlockFolder(path("a")));
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_FALSE(FWFileManager::lockFolder(path("a")));
    const std::string begin = "Unable to unlock file ";
    const std::string end = ": Operation not permitted";
    EXPECT_THAT(systemLogged(),
                UnorderedElementsAre(begin + path("a/file") + end, begin + path("a/inner") + end,
                                     begin + path("a/inner/other") + end));
    EXPECT_FALSE(FWFileManager::lockFolder(path("a/file"))) << "no folder";
}

} // namespace
} // namespace fw
