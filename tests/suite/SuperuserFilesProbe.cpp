// The file operations as the superuser, on a copy of the machine: locks, mounts and full disks.
#include "platform/FileDescriptor.h"
#include "platform/files/FileFacts.h"
#include "tests/suite/FileOperationTest.h"
#include "tests/suite/MemoryDisk.h"
#include "tests/support/WithoutPrivileges.h"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

class SuperuserFilesProbe : public FileOperationTest {
protected:
    void SetUp() override {
        ASSERT_NE(std::getenv("FERNWICK_OWN_ROOT"), nullptr) << "only on a copy of the machine";
        FileOperationTest::SetUp();
    }
    std::string locked(const std::string& name) const {
        EXPECT_TRUE(FWFileManager::lockFile(path(name))) << name;
        EXPECT_TRUE(FWFileManager::isFileLocked(path(name))) << name;
        return path(name);
    }
};

// Locks

TEST_F(SuperuserFilesProbe, ALockIsSetAndTakenAway) {
    made("file", "text");
    EXPECT_TRUE(FWFileManager::lockFile(path("file")));
    EXPECT_TRUE(FWFileManager::lockFile(path("file"))) << "once more";
    EXPECT_TRUE(FWFileManager::isFileLocked(path("file")));
    EXPECT_NE(::unlink(path("file").c_str()), 0);
    EXPECT_TRUE(FWFileManager::unlockFile(path("file")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("file")));
    EXPECT_EQ(::unlink(path("file").c_str()), 0);
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(SuperuserFilesProbe, ALockIsThatOfTheFileAndNotOfALinkToIt) {
    made("file", "text");
    link("file", "link");
    locked("file");
    EXPECT_FALSE(FWFileManager::isFileLocked(path("link")));
    EXPECT_TRUE(FWFileManager::removeFile(path("link")));
    EXPECT_TRUE(FWFileManager::isFileLocked(path("file")));
    FWFileManager::unlockFile(path("file"));
}

TEST_F(SuperuserFilesProbe, AFolderIsLockedInItsDepthsAndNotItself) {
    folder("a/inner");
    made("a/file", "");
    made("a/inner/other", "");
    folder("outside");
    made("outside/file", "");
    link("../outside", "a/link");
    EXPECT_FALSE(FWFileManager::lockFolder(path("a"))) << "a link has no lock";
    for (const char* name : {"a/file", "a/inner", "a/inner/other"}) {
        EXPECT_TRUE(FWFileManager::isFileLocked(path(name))) << name;
    }
    EXPECT_FALSE(FWFileManager::isFileLocked(path("a")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("outside/file")));
    EXPECT_TRUE(FWFileManager::unlockFolder(path("a")));
    for (const char* name : {"a/file", "a/inner", "a/inner/other"}) {
        EXPECT_FALSE(FWFileManager::isFileLocked(path(name))) << name;
    }
}

TEST_F(SuperuserFilesProbe, AFolderThatIsLockedMayBeDeeperThanPathsAreLong) {
    const std::string deep = deepFolder("a", 1000);
    const std::string further = deepFolder("b", 1100);
    writeText(further + "/file", "text");
    fs::rename(path("b"), deep + "/b");
    const FileDescriptor middle(::open(deep.c_str(), O_PATH | O_CLOEXEC));
    const std::string deepest = "/proc/self/fd/" + std::to_string(middle.get()) + "/" +
                                further.substr(path("").size()) + "/file";
    ASSERT_TRUE(fs::exists(deepest));
    const std::size_t before = openDescriptors();
    {
        const FewDescriptors few(before + 50);
        EXPECT_TRUE(FWFileManager::lockFolder(path("a")));
        EXPECT_TRUE(FWFileManager::isFileLocked(deepest));
        EXPECT_TRUE(FWFileManager::isFileLocked(deep));
        EXPECT_TRUE(FWFileManager::unlockFolder(path("a")));
        EXPECT_FALSE(FWFileManager::isFileLocked(deepest));
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(FWFileManager::removeFile(path("a"), ShouldAuth::kNo)) << "nothing is left locked";
}

TEST_F(SuperuserFilesProbe, NoLinkThatTakesAFoldersPlaceLeadsOut) {
    folder("outside");
    made("outside/file", "text");
    locked("outside/file");
    folder("a/inner");
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        while (!isOver) {
            fs::rename(path("a/inner"), path("aside"));
            link("../outside", "a/inner");
            fs::remove(path("a/inner"));
            fs::rename(path("aside"), path("a/inner"));
        }
    });
    for (int i = 0; i < 2000; ++i) {
        static_cast<void>(FWFileManager::unlockFolder(path("a")));
    }
    isOver = true;
    other.join();
    EXPECT_TRUE(FWFileManager::isFileLocked(path("outside/file")));
    FWFileManager::unlockFile(path("outside/file"));
}

TEST_F(SuperuserFilesProbe, LockedFilesAreRemovedTrashedAndCopied) {
    for (const char* name : {"a", "b", "c"}) {
        made(name, name);
        locked(name);
    }
    EXPECT_TRUE(FWFileManager::copyFile(path("a"), path("copy")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("copy")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("a"))) << "the source is unlocked";
    EXPECT_TRUE(FWFileManager::removeFile(path("b"), Timeout{5}));
    EXPECT_TRUE(FWFileManager::trashFile(path("c"), ShouldAuth::kNo));
    EXPECT_EQ(readText(trashed("c")), "c");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(SuperuserFilesProbe, AMoveUnlocksWhatStandsAtTheDestinationAndBelow) {
    made("a", "text");
    folder("b/a/inner");
    locked("b/a/inner");
    locked("b");
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("b")));
    EXPECT_FALSE(FWFileManager::isFileLocked(path("b/a/inner")));
    EXPECT_THAT(asked, ElementsAre("move " + path("a") + " " + path("b")));
}

TEST_F(SuperuserFilesProbe, AMoveUnlocksNothingAroundTheDestination) {
    folder("a");
    folder("b/c");
    made("b/beside", "text");
    made("b/c/in", "text");
    locked("b/beside");
    locked("b/c/in");
    for (const char* source : {"a/..", "a/.", "a/../", "a/./"}) {
        EXPECT_FALSE(FWFileManager::moveFile(path(source), path("b/c"), ShouldAuth::kNo));
    }
    EXPECT_TRUE(FWFileManager::isFileLocked(path("b/beside")));
    EXPECT_TRUE(FWFileManager::isFileLocked(path("b/c/in")));
    FWFileManager::unlockFile(path("b/beside"));
    FWFileManager::unlockFile(path("b/c/in"));
}

TEST_F(SuperuserFilesProbe, InALockedFolderEveryPlainStepFails) {
    folder("a");
    made("a/file", "text");
    made("b", "");
    locked("a");
    EXPECT_FALSE(FWFileManager::removeFile(path("a/file")));
    EXPECT_FALSE(FWFileManager::trashFile(path("a/file")));
    EXPECT_FALSE(FWFileManager::createDirectory(path("a/folder")));
    EXPECT_FALSE(FWFileManager::copyFile(path("b"), path("a/b")));
    EXPECT_FALSE(FWFileManager::moveFile(path("a/file"), path("c")));
    EXPECT_THAT(asked,
                ElementsAre("remove " + path("a/file"), "trash " + path("a/file"),
                            "create " + path("a/folder"), "copy " + path("b") + " " + path("a/b"),
                            "move " + path("a/file") + " " + path("c")));
    EXPECT_EQ(logged().front(), "Error removing file: Operation not permitted. Authorizing...");
    FWFileManager::unlockFile(path("a"));
    EXPECT_EQ(contents("a/file"), "text");
}

TEST_F(SuperuserFilesProbe, AFileIsLockedWhenItStandsStill) {
    made("file", "text");
    EXPECT_TRUE(FWFileManager::waitForFileWrites(path("file"), LockFile::kYes));
    EXPECT_TRUE(FWFileManager::isFileLocked(path("file")));
    FWFileManager::unlockFile(path("file"));
}

// Mounts

TEST_F(SuperuserFilesProbe, WhatIsMountedIsLeftAloneAndNoRightsAreTried) {
    const MemoryDisk disk(path("a/disk"), "1m");
    made("a/disk/file", "kept");
    answer = true;
    EXPECT_FALSE(FWFileManager::removeFile(path("a/disk")));
    EXPECT_FALSE(FWFileManager::removeFile(path("a")));
    EXPECT_FALSE(FWFileManager::trashFile(path("a/disk")));
    EXPECT_FALSE(FWFileManager::moveFile(path("a/disk"), path("b")));
    EXPECT_EQ(contents("a/disk/file"), "kept");
    EXPECT_FALSE(exists("b"));
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_EQ(logged().front(), "Error removing file: Device or resource busy. Authorizing...");
}

TEST_F(SuperuserFilesProbe, WhatIsMountedBelowDoesNotGoToAnotherFileSystem) {
    const MemoryDisk away(path("away"), "1m");
    folder("a/inner");
    const MemoryDisk disk(path("a/inner/a disk\n"), "1m");
    made("a/inner/a disk\n/file", "kept");
    answer = true;
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("away/a")));
    EXPECT_EQ(contents("a/inner/a disk\n/file"), "kept");
    EXPECT_TRUE(fs::is_empty(path("away"))) << "it would be copied for nothing";
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_EQ(logged().front(), "Error moving file from " + path("a") + " to " + path("away/a") +
                                    ": Device or resource busy.");
}

TEST_F(SuperuserFilesProbe, NoRightsAreTriedOnWhatIsMountedWhateverElseIsInTheWay) {
    folder("locked/a/inner");
    made("locked/a/file", "text");
    const MemoryDisk disk(path("locked/a/inner/disk"), "1m");
    made("locked/a/inner/disk/file", "kept");
    locked("locked");
    link("locked", "way");
    answer = true;
    for (const std::string& name : {path("locked/a"), path("way/a/"), path("way/./a")}) {
        EXPECT_FALSE(FWFileManager::trashFile(name));
        EXPECT_FALSE(FWFileManager::moveFile(name, path("b")));
        EXPECT_EQ(logged()[logged().size() - 2], "Error moving file from " + name + " to " +
                                                     path("b") + ": Operation not permitted.");
    }
    for (int i = 0; i < 20; ++i) { // Few folders list the one before all the others.
        const std::string name = "locked/a/" + std::to_string(i);
        made(name, "text");
        locked(name);
    }
    EXPECT_FALSE(FWFileManager::removeFile(path("locked/a")));
    EXPECT_EQ(contents("locked/a/inner/disk/file"), "kept");
    EXPECT_THAT(asked, IsEmpty());
    FWFileManager::unlockFile(path("locked"));
    FWFileManager::unlockFolder(path("locked/a"));
}

TEST_F(SuperuserFilesProbe, NoRightsAreTriedOnWhatIsMountedWhereAUserMayNotLook) {
    folder("closed/inner");
    const MemoryDisk disk(path("closed/inner/disk"), "1m");
    made("closed/inner/disk/file", "kept");
    ::chmod(path("closed").c_str(), 0700);
    answer = true;
    {
        const WithoutPrivileges nobody;
        EXPECT_FALSE(FWFileManager::removeFile(path("closed/inner/disk")));
        EXPECT_FALSE(FWFileManager::removeFile(path("closed/inner")));
        EXPECT_FALSE(FWFileManager::trashFile(path("closed/inner/disk")));
        EXPECT_FALSE(FWFileManager::moveFile(path("closed/inner/disk"), path("b")));
        EXPECT_THAT(asked, IsEmpty());
        EXPECT_TRUE(FWFileManager::removeFile(path("closed/inner/disk 2")));
        EXPECT_THAT(asked, ElementsAre("remove " + path("closed/inner/disk 2")));
    }
    EXPECT_EQ(contents("closed/inner/disk/file"), "kept");
}

TEST_F(SuperuserFilesProbe, AMountBesideIsNoReasonToTryNoRights) {
    folder("a");
    const MemoryDisk disk(path("a/disk"), "1m");
    made("a/dis", "text");
    made("a/disk 2", "text");
    locked("a");
    answer = true;
    EXPECT_TRUE(FWFileManager::removeFile(path("a/dis")));
    EXPECT_TRUE(FWFileManager::removeFile(path("a/disk 2")));
    EXPECT_THAT(asked, ElementsAre("remove " + path("a/dis"), "remove " + path("a/disk 2")));
    FWFileManager::unlockFile(path("a"));
}

TEST_F(SuperuserFilesProbe, AMoveToAnotherFileSystemKeepsOwnersModesAndSpecialFiles) {
    const MemoryDisk disk(path("disk"), "1m");
    folder("a");
    made("a/file", "text");
    ASSERT_EQ(::chown(path("a/file").c_str(), 1234, 5678), 0);
    ASSERT_EQ(::chmod(path("a/file").c_str(), 06755), 0);
    fifo("a/fifo");
    ASSERT_EQ(::mknod(path("a/null").c_str(), S_IFCHR | 0600, makedev(1, 3)), 0);
    link("file", "a/link");
    ASSERT_EQ(::lchown(path("a/link").c_str(), 1234, 5678), 0);
    EXPECT_TRUE(FWFileManager::moveFile(path("a"), path("disk/a"), Timeout{5}));
    EXPECT_FALSE(exists("a"));
    struct stat status {};
    ASSERT_EQ(::stat(path("disk/a/file").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 5678U);
    EXPECT_EQ(status.st_mode & 07777U, 06755U);
    ASSERT_EQ(::lstat(path("disk/a/link").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_TRUE(fs::is_fifo(path("disk/a/fifo")));
    EXPECT_TRUE(fs::is_character_file(path("disk/a/null")));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(SuperuserFilesProbe, TheTrashIsReachedFromEveryDisk) {
    const MemoryDisk disk(path("disk"), "1m");
    made("disk/file", "text");
    EXPECT_TRUE(FWFileManager::trashFile(path("disk/file"), ShouldAuth::kNo));
    EXPECT_FALSE(exists("disk/file"));
    EXPECT_EQ(readText(trashed("file")), "text");
}

TEST_F(SuperuserFilesProbe, TheTrashInTheHomeOfAnotherUserBelongsToThem) {
    constexpr uid_t kOther = 1234;
    ASSERT_EQ(::chown(fs::path(trash()).parent_path().c_str(), kOther, kOther), 0);
    made("file", "text");
    EXPECT_TRUE(FWFileManager::trashFile(path("file"), ShouldAuth::kNo));
    EXPECT_EQ(readText(trashed("file")), "text");
    struct stat status {};
    ASSERT_EQ(::stat(trash().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kOther);
    EXPECT_EQ(modeOf(trash()), 0700U);
}

// Full disks

TEST_F(SuperuserFilesProbe, ACopyToAFullDiskLeavesNothingBehind) {
    const MemoryDisk disk(path("disk"), "256k");
    folder("a");
    made("a/1", someBytes(100'000));
    made("a/2", someBytes(200'000));
    EXPECT_FALSE(FWFileManager::copyFile(path("a"), path("disk/a"), ShouldAuth::kNo));
    EXPECT_THAT(logged(),
                ElementsAre("Error copying file: No space left on device. Authorizing..."));
    EXPECT_TRUE(fs::is_empty(path("disk")));
}

TEST_F(SuperuserFilesProbe, AMoveToAFullDiskLeavesTheSource) {
    const MemoryDisk disk(path("disk"), "256k");
    folder("a");
    made("a/1", someBytes(100'000));
    made("a/2", someBytes(200'000));
    EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("disk/a"), ShouldAuth::kNo));
    EXPECT_THAT(logged(), ElementsAre("Error moving file from " + path("a") + " to " +
                                          path("disk/a") + ": No space left on device.",
                                      "Authorizing..."));
    EXPECT_EQ(contents("a/1"), someBytes(100'000));
    EXPECT_EQ(contents("a/2"), someBytes(200'000));
    EXPECT_TRUE(fs::is_empty(path("disk")));
}

TEST_F(SuperuserFilesProbe, ACombinationOnAFullDiskKeepsTheSourcesThatAreNotInIt) {
    const MemoryDisk disk(path("disk"), "256k");
    for (const char* name : {"a", "b", "c"}) {
        made(name, someBytes(100'000));
    }
    EXPECT_TRUE(FWFileManager::combineFiles({path("a"), path("b"), path("c")}, path("disk/all"),
                                            DeleteSourceFiles::kYes));
    EXPECT_THAT(systemLogged(), testing::Each("Error writing file " + path("disk/all") + ": 1"));
    EXPECT_FALSE(systemLogged().empty());
    EXPECT_FALSE(exists("a"));
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(contents("c"), someBytes(100'000));
    EXPECT_EQ(contents("disk/all").substr(0, 200'000), someBytes(100'000) + someBytes(100'000));
}

TEST_F(SuperuserFilesProbe, ACombinationOfOneOnAFullDiskKeepsIt) {
    const MemoryDisk disk(path("disk"), "64k");
    made("a", someBytes(100'000));
    EXPECT_FALSE(
        FWFileManager::combineFiles({path("a")}, path("disk/all"), DeleteSourceFiles::kYes));
    EXPECT_EQ(contents("a"), someBytes(100'000));
    EXPECT_FALSE(exists("disk/all"));
}

} // namespace
} // namespace fw
