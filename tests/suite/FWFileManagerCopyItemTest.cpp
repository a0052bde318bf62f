#include "platform/FileDescriptor.h"
#include "platform/files/ExtendedAttributes.h"
#include "platform/files/FileAttributes.h"
#include "tests/suite/FileOperationTest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <utility>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

/// Two files are swapped in the very moment in which something is made in a folder: before the call
/// that makes it, in this thread, is over.
class SwapAtCreation {
public:
    SwapAtCreation(const std::string& folder, std::string made, std::string other)
        : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        made_ = std::move(made);
        other_ = std::move(other);
        isDone_ = 0;
        struct sigaction action {};
        action.sa_handler = swap;
        ::sigaction(SIGUSR1, &action, &before_);
        const f_owner_ex thisThread{F_OWNER_TID, ::gettid()};
        isSet_ = ::fcntl(folder_.get(), F_SETSIG, SIGUSR1) == 0 &&
                 ::fcntl(folder_.get(), F_SETOWN_EX, &thisThread) == 0 &&
                 ::fcntl(folder_.get(), F_NOTIFY, DN_CREATE) == 0;
    }
    ~SwapAtCreation() {
        folder_.reset();
        ::sigaction(SIGUSR1, &before_, nullptr);
    }
    SwapAtCreation(const SwapAtCreation&) = delete;
    SwapAtCreation& operator=(const SwapAtCreation&) = delete;

    /// Not every kernel can.
    bool isSet() const { return isSet_; }
    bool isDone() const { return isDone_ != 0; }

private:
    static void swap(int /*signal*/) {
        const int before = errno;
        ::renameat2(AT_FDCWD, made_.c_str(), AT_FDCWD, other_.c_str(), RENAME_EXCHANGE);
        errno = before;
        isDone_ = 1;
    }

    static inline std::string made_;
    static inline std::string other_;
    static inline volatile std::sig_atomic_t isDone_ = 0;
    FileDescriptor folder_;
    struct sigaction before_ {};
    bool isSet_ = false;
};

class FWFileManagerCopyItemTest : public FileOperationTest {
protected:
    static FileAttributes::Date date(std::int64_t seconds) {
        return FileAttributes::Date(std::chrono::seconds(seconds) + std::chrono::nanoseconds(7));
    }
    static void setDates(const std::string& path, std::int64_t seconds) {
        FileAttributes attributes;
        attributes.modificationDate = date(seconds);
        attributes.creationDate = date(seconds - 1);
        ASSERT_EQ(setFileAttributes(path, attributes), std::nullopt);
    }
    static bool copied(const std::string& source, const std::string& destination) {
        return FWFileManager::copyFile(source, destination, ShouldAuth::kNo);
    }
    static std::string message(const std::string& reason) {
        return "Error copying file: " + reason + ". Authorizing...";
    }
};

TEST_F(FWFileManagerCopyItemTest, CopiesAFileInEachForm) {
    const std::string bytes = someBytes(1'000'000);
    made("a", bytes);
    EXPECT_TRUE(FWFileManager::copyFile(path("a"), path("b")));
    EXPECT_TRUE(FWFileManager::copyFile(path("a"), path("c"), ShouldAuth::kNo));
    EXPECT_TRUE(FWFileManager::copyFile(path("a"), path("d"), Timeout{10}));
    for (const char* name : {"a", "b", "c", "d"}) {
        EXPECT_EQ(contents(name), bytes);
    }
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerCopyItemTest, KeepsModesDatesAndAttributes) {
    folder("a/inner");
    made("a/inner/file", "text");
    made("a/tool", "");
    ::chmod(path("a/tool").c_str(), 04751);
    ::chmod(path("a/inner").c_str(), 0500);
    ::chmod(path("a").c_str(), 01710);
    ASSERT_EQ(setExtendedAttribute(path("a/tool"), "label", "red"), std::nullopt);
    setDates(path("a/inner/file"), 1'000);
    setDates(path("a/tool"), 2'000);
    ::chmod(path("a/inner").c_str(), 0700);
    setDates(path("a/inner"), 3'000);
    ::chmod(path("a/inner").c_str(), 0500);
    setDates(path("a"), 4'000);
    EXPECT_TRUE(copied(path("a"), path("b")));
    EXPECT_EQ(modeOf(path("b")), 01710U);
    EXPECT_EQ(modeOf(path("b/inner")), 0500U);
    EXPECT_EQ(modeOf(path("b/tool")), 04751U);
    EXPECT_EQ(extendedAttribute(path("b/tool"), "label").value(), "red");
    const std::vector<std::pair<std::string, int>> dates = {
        {"b/inner/file", 1'000}, {"b/tool", 2'000}, {"b/inner", 3'000}, {"b", 4'000}};
    for (const auto& [name, seconds] : dates) {
        const FileAttributes attributes = fileAttributes(path(name));
        EXPECT_EQ(attributes.modificationDate, date(seconds)) << name;
        EXPECT_EQ(attributes.creationDate, date(seconds - 1)) << name;
    }
    ::chmod(path("a/inner").c_str(), 0700);
    ::chmod(path("b/inner").c_str(), 0700);
}

TEST_F(FWFileManagerCopyItemTest, ACopyIsAsOldAsItsOriginal) {
    made("a", "text");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(copied(path("a"), path("b")));
    EXPECT_EQ(fileAttributes(path("b")), fileAttributes(path("a")));
}

TEST_F(FWFileManagerCopyItemTest, LinksAreCopiedAsLinks) {
    folder("a");
    made("a/file", "text");
    link("file", "a/link");
    link("nowhere", "a/dangling");
    link("loop", "a/loop");
    link("..", "a/up");
    EXPECT_TRUE(copied(path("a"), path("b")));
    EXPECT_EQ(fs::read_symlink(path("b/link")), "file");
    EXPECT_EQ(fs::read_symlink(path("b/dangling")), "nowhere");
    EXPECT_EQ(fs::read_symlink(path("b/loop")), "loop");
    EXPECT_EQ(fs::read_symlink(path("b/up")), "..");
    EXPECT_TRUE(FWFileManager::copyFile(path("a/dangling"), path("c"), Timeout{60}));
    EXPECT_EQ(fs::read_symlink(path("c")), "nowhere");
}

TEST_F(FWFileManagerCopyItemTest, APipeBecomesAnotherPipeAndNothingIsReadFromIt) {
    ::chmod(fifo("fifo").c_str(), 0640);
    EXPECT_TRUE(copied(path("fifo"), path("copy")));
    EXPECT_TRUE(fs::is_fifo(path("copy")));
    EXPECT_EQ(modeOf(path("copy")), 0640U);
}

TEST_F(FWFileManagerCopyItemTest, NoLinkThatTakesAPipesPlaceLeadsItsModeOut) {
    ::chmod(fifo("fifo").c_str(), 0666);
    ::chmod(made("outside", "kept").c_str(), 0600);
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        while (!isOver) {
            ::symlink("outside", path("link").c_str());
            if (::rename(path("link").c_str(), path("copy").c_str()) != 0) {
                std::this_thread::yield();
            }
        }
    });
    for (int i = 0; i < 5000; ++i) {
        ::unlink(path("copy").c_str());
        static_cast<void>(copied(path("fifo"), path("copy")));
    }
    isOver = true;
    other.join();
    EXPECT_EQ(modeOf(path("outside")), 0600U);
}

TEST_F(FWFileManagerCopyItemTest, ADeviceIsNotReadAsAFile) {
    EXPECT_FALSE(copied("/dev/zero", path("copy"))) << "this user may not make devices";
    EXPECT_THAT(logged(), ElementsAre(message("Operation not permitted")));
    EXPECT_FALSE(exists("copy"));
}

TEST_F(FWFileManagerCopyItemTest, EmptyPathsAreNil) {
    EXPECT_FALSE(FWFileManager::copyFile("", path("b")));
    EXPECT_FALSE(FWFileManager::copyFile(made("a", ""), "", Timeout{60}));
    EXPECT_THAT(logged(),
                ElementsAre("Error copying file: source path is nil",
                            "Error copying file " + path("a") + ": destination path is nil"));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerCopyItemTest, WhatStandsAtTheDestinationIsInTheWay) {
    made("a", "text");
    made("file", "kept");
    folder("folder");
    link("nowhere", "dangling");
    for (const char* name : {"file", "folder", "dangling"}) {
        EXPECT_FALSE(copied(path("a"), path(name)));
        EXPECT_EQ(logged().back(), message("File exists"));
    }
    EXPECT_FALSE(copied(path("folder"), path("file")));
    EXPECT_EQ(contents("file"), "kept");
    EXPECT_TRUE(fs::is_empty(path("folder")));
    EXPECT_FALSE(exists("nowhere"));
}

TEST_F(FWFileManagerCopyItemTest, AFailureIsLoggedAndTheRightsAreTried) {
    made("a", "text");
    const ReadOnly readOnly(folder("folder"));
    const std::string destination = path("folder/b");
    EXPECT_FALSE(FWFileManager::copyFile(path("a"), destination));
    EXPECT_FALSE(FWFileManager::copyFile(path("a"), destination, ShouldAuth::kNo));
    answer = true;
    EXPECT_TRUE(FWFileManager::copyFile(path("a"), destination));
    EXPECT_FALSE(FWFileManager::copyFile(path("a"), destination, Timeout{0.01})) << "still missing";
    const std::string call = "copy " + path("a") + " " + destination;
    EXPECT_THAT(asked, ElementsAre(call, call, call));
    const std::string text = message("Permission denied");
    EXPECT_THAT(logged(), ElementsAre(text, text, text, text));
}

TEST_F(FWFileManagerCopyItemTest, AMissingSourceIsAFailure) {
    EXPECT_FALSE(copied(path("missing"), path("b")));
    EXPECT_FALSE(copied(path("no/folder"), path("b")));
    EXPECT_FALSE(copied(path("x") + std::string("\0y", 2), path("b")));
    EXPECT_FALSE(copied(made("a", ""), path("b") + std::string("\0y", 2)));
    EXPECT_FALSE(copied(path("a"), path("no/folder")));
    const std::string missing = message("No such file or directory");
    const std::string invalid = message("Invalid argument");
    EXPECT_THAT(logged(), ElementsAre(missing, missing, invalid, invalid, missing));
    EXPECT_FALSE(exists("b"));
}

TEST_F(FWFileManagerCopyItemTest, ItsOwnDestinationIsLeftAsItIsAndNoRightsAreTried) {
    made("a", "text");
    fs::create_hard_link(path("a"), path("hard"));
    link("a", "soft");
    answer = true;
    for (const std::string& name : {path("a"), path("hard"), path("soft"), path("./a")}) {
        EXPECT_FALSE(FWFileManager::copyFile(path("a"), name)) << name;
        EXPECT_FALSE(FWFileManager::copyFile(name, path("a"))) << name;
    }
    EXPECT_EQ(contents("a"), "text");
    EXPECT_TRUE(fs::is_symlink(path("soft")));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(FWFileManagerCopyItemTest, AFolderIsNotCopiedIntoItself) {
    folder("a/inner");
    made("a/file", "text");
    link("a", "link");
    for (const char* name : {"a/b", "a/inner/b", "link/b"}) {
        EXPECT_FALSE(copied(path("a"), path(name))) << name;
        EXPECT_EQ(logged().back(), message("Invalid argument"));
        EXPECT_FALSE(exists(name));
    }
    EXPECT_THAT(namesIn(path("a")), ElementsAre("file", "inner"));
    EXPECT_TRUE(copied(path("a/inner"), path("a/other"))) << "beside is not inside";
}

TEST_F(FWFileManagerCopyItemTest, ACopyThatFailsLeavesNothingBehind) {
    folder("a/inner");
    made("a/inner/one", someBytes(600'000));
    made("a/inner/two", someBytes(600'000));
    failRead(5);
    EXPECT_FALSE(copied(path("a"), path("b")));
    EXPECT_FALSE(exists("b"));
    EXPECT_FALSE(copied(made("c", "text"), path("a/inner/one"))) << "this one was there before";
    EXPECT_EQ(contents("a/inner/one"), someBytes(600'000));
    EXPECT_EQ(logged().front(), message("Input/output error"));
}

TEST_F(FWFileManagerCopyItemTest, ACopyThatFailsIsRemovedWhereItHasBeenMovedTo) {
    made("a", someBytes(600'000));
    folder("b/in");
    made("b/in/file", someBytes(600'000));
    for (const char* source : {"a", "b"}) {
        folder("to");
        atRead(
            2,
            [&] {
                fs::rename(path("to"), path("moved"));
                folder("to");
                made("to/copy", "somebody else's");
            },
            EIO);
        EXPECT_FALSE(copied(path(source), path("to/copy")));
        EXPECT_EQ(contents("to/copy"), "somebody else's");
        EXPECT_TRUE(fs::is_empty(path("moved")));
        fs::remove_all(path("to"));
        fs::remove(path("moved"));
    }
}

TEST_F(FWFileManagerCopyItemTest, ACopyThatFailsRemovesNothingThatHasTakenItsPlace) {
    made("a", someBytes(600'000));
    atRead(
        2,
        [&] {
            fs::rename(path("b"), path("aside")); // So that no other gets its inode.
            made("b", "somebody else's");
        },
        EIO);
    EXPECT_FALSE(copied(path("a"), path("b")));
    EXPECT_THAT(logged(), ElementsAre(message("Input/output error")));
    EXPECT_EQ(contents("b"), "somebody else's");
}

TEST_F(FWFileManagerCopyItemTest, WhatTakesItsPlaceAsSoonAsItIsMadeIsNotTakenForTheCopy) {
    made("a", "text");
    made("other", "somebody else's");
    folder("to");
    const SwapAtCreation swap(path("to"), path("to/copy"), path("other"));
    if (!swap.isSet()) {
        GTEST_SKIP() << "the machine does not signal what comes into folders";
    }
    atRead(
        1, [&] { waitUntil([&] { return swap.isDone(); }); }, EIO);
    EXPECT_FALSE(copied(path("a"), path("to/copy")));
    EXPECT_EQ(contents("to/copy"), "somebody else's");
}

TEST_F(FWFileManagerCopyItemTest, ACopyThatFailsLeavesNoFolderBehindWhateverItsMode) {
    const std::vector<std::string> names = {"1", "2", "3", "4", "5", "6", "7", "8"};
    for (const std::string& name : names) {
        folder("a/" + name + "/inner");
        made("a/" + name + "/inner/file", "text");
        ::chmod(path("a/" + name + "/inner").c_str(), 0500);
        ::chmod(path("a/" + name).c_str(), 0500);
    }
    for (const std::string& name : names) { // In whatever order they are listed.
        ::chmod(path("a/" + name).c_str(), 0);
        EXPECT_FALSE(FWFileManager::copyFile(path("a"), path("b")));
        EXPECT_FALSE(exists("b")) << "rights would copy into it";
        ::chmod(path("a/" + name).c_str(), 0500);
        setFoldersApart();
        failRead(std::stoi(name));
        EXPECT_FALSE(FWFileManager::moveFile(path("a"), path("b"), ShouldAuth::kNo));
        EXPECT_FALSE(exists("b"));
        setFileCalls({});
    }
    EXPECT_EQ(contents("a/1/inner/file"), "text");
    for (const std::string& name : names) {
        ::chmod(path("a/" + name).c_str(), 0700);
        ::chmod(path("a/" + name + "/inner").c_str(), 0700);
    }
}

TEST_F(FWFileManagerCopyItemTest, AFullDiskIsAFailureThatLeavesNothingBehind) {
    made("a", someBytes(600'000));
    setFileCalls({.read = {},
                  .write = [](int descriptor, const void* bytes, std::size_t count) -> ssize_t {
                      if (::lseek(descriptor, 0, SEEK_CUR) > 0) {
                          errno = ENOSPC;
                          return -1;
                      }
                      return ::write(descriptor, bytes, count / 2);
                  },
                  .seek = {},
                  .rename = {}});
    EXPECT_FALSE(copied(path("a"), path("b")));
    EXPECT_THAT(logged(), ElementsAre(message("No space left on device")));
    EXPECT_FALSE(exists("b"));
}

TEST_F(FWFileManagerCopyItemTest, WritesInPiecesAndInterruptedOnesMakeAWholeCopy) {
    int calls = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (++calls % 2 == 1) {
                          errno = EINTR;
                          return -1;
                      }
                      return ::read(descriptor, bytes, count);
                  },
                  .write = [&](int descriptor, const void* bytes, std::size_t count) -> ssize_t {
                      if (++calls % 2 == 1) {
                          errno = EINTR;
                          return -1;
                      }
                      return ::write(descriptor, bytes, count / 2 + 1);
                  },
                  .seek = {},
                  .rename = {}});
    made("a", someBytes(700'001));
    EXPECT_TRUE(copied(path("a"), path("b")));
    EXPECT_EQ(contents("b"), contents("a"));
}

TEST_F(FWFileManagerCopyItemTest, NamesMayBeLongAndNeedNotBeText) {
    folder("a");
    const std::vector<std::string> names = {std::string(255, 'n'), "\xFF\xFE", "100%@ %d\n"};
    for (const std::string& name : names) {
        made("a/" + name, "text");
        EXPECT_TRUE(copied(path("a/" + name), path(name)));
    }
    EXPECT_TRUE(copied(path("a"), path("b")));
    EXPECT_EQ(namesIn(path("b")), namesIn(path("a")));
    EXPECT_FALSE(copied(path("a"), path(std::string(256, 'n'))));
    EXPECT_THAT(logged(), ElementsAre(message("File name too long")));
}

TEST_F(FWFileManagerCopyItemTest, ATreeMayBeDeep) {
    const std::size_t before = openDescriptors();
    const std::string deep = deepFolder("a", 1000);
    made(deep.substr(path("").size()) + "/file", "text");
    {
        const FewDescriptors few(before + 90);
        EXPECT_TRUE(copied(path("a"), path("b")));
    }
    EXPECT_EQ(readText(path("b") + deep.substr(path("a").size()) + "/file"), "text");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FWFileManagerCopyItemTest, FoldersThatMayNotBeReadAreAFailure) {
    folder("a/secret");
    ::chmod(path("a/secret").c_str(), 0);
    EXPECT_FALSE(copied(path("a"), path("b")));
    ::chmod(path("a/secret").c_str(), 0700);
    EXPECT_THAT(logged(), ElementsAre(message("Permission denied")));
    EXPECT_FALSE(exists("b"));
}

// The contents of a folder

TEST_F(FWFileManagerCopyItemTest, CopiesEachEntryOfAFolderAndLogsIt) {
    folder("a/inner");
    made("a/file", "text");
    made("a/inner/other", "more");
    folder("b");
    FWFileManager::copyContentsOfDirectory(path("a"), path("b"), Timeout{5});
    EXPECT_EQ(contents("b/file"), "text");
    EXPECT_EQ(contents("b/inner/other"), "more");
    EXPECT_THAT(logged(), UnorderedElementsAre("File: file", "File: inner"));
}

TEST_F(FWFileManagerCopyItemTest, EntriesAreCopiedInListingOrder) {
    folder("a");
    folder("b");
    for (int i = 0; i < 20; ++i) {
        made("a/" + std::to_string(i), "");
    }
    std::vector<std::string> expected;
    for (const std::string& name : listedIn(path("a"))) {
        expected.push_back("File: " + name);
    }
    FWFileManager::copyContentsOfDirectory(path("a"), path("b"), Timeout{5});
    EXPECT_EQ(logged(), expected);
    EXPECT_EQ(namesIn(path("b")), namesIn(path("a")));
}

TEST_F(FWFileManagerCopyItemTest, OneEntryThatFailsDoesNotKeepTheOthersBack) {
    folder("a");
    for (const char* name : {"a/1", "a/2", "a/3"}) {
        made(name, "text");
    }
    folder("b");
    made("b/2", "kept");
    FWFileManager::copyContentsOfDirectory(path("a"), path("b"), Timeout{0});
    EXPECT_THAT(namesIn(path("b")), ElementsAre("1", "2", "3"));
    EXPECT_EQ(contents("b/2"), "kept");
    EXPECT_THAT(asked, ElementsAre("copy " + path("a/2") + " " + path("b/2")));
}

TEST_F(FWFileManagerCopyItemTest, AFolderThatCannotBeListedHasNoContents) {
    made("file", "");
    FWFileManager::copyContentsOfDirectory(path("missing"), path("b"), Timeout{60});
    FWFileManager::copyContentsOfDirectory(path("file"), path("b"), Timeout{60});
    FWFileManager::copyContentsOfDirectory(path("x") + std::string("\0y", 2), path("b"),
                                           Timeout{60});
    EXPECT_THAT(logged(), IsEmpty());
}

} // namespace
} // namespace fw
