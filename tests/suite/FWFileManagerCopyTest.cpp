#include "support/FWFileManager.h"

#include "platform/FileDescriptor.h"
#include "platform/files/FileAttributes.h"
#include "tests/suite/FailingMemory.h"
#include "tests/suite/FileTest.h"
#include "tests/suite/WithoutDigests.h"
#include "tests/support/LeasedFile.h"

#include <any>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr std::uint64_t kTwentyMebibytes = 20'971'520;
using Paths = std::vector<std::string>;

/// Whether it is that of a destination, as seen by a call of the tests.
bool isForWriting(int descriptor) {
    return (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

/// What a delegate has been told, in order; background calls are kept apart.
struct Told {
    std::mutex mutex;
    std::vector<std::uint64_t> background;
    std::vector<std::string> inBackground; ///< Reports and questions.
    std::vector<std::string> calls;
    std::optional<FileCopySettings> last;
    int asked = 0;
};

class FWFileManagerCopyTest : public FileTest {
protected:
    ~FWFileManagerCopyTest() override {
        finishBackground();
        told->last.reset(); // It holds the delegate, which holds `told`.
    }

    const std::shared_ptr<Told> told = std::make_shared<Told>();

    /// Notes everything, and gives one answer.
    std::optional<FileCopyDelegate> noting(std::optional<bool> answer = true) const {
        FileCopyDelegate delegate;
        const std::thread::id caller = std::this_thread::get_id();
        delegate.fileCopyBytesWritten = [told = told, caller](std::uint64_t bytes,
                                                              const FileCopySettings&) {
            const std::lock_guard lock(told->mutex);
            if (std::this_thread::get_id() == caller) {
                told->calls.push_back("written " + std::to_string(bytes));
            } else {
                told->background.push_back(bytes);
                told->inBackground.push_back("written " + std::to_string(bytes));
            }
        };
        delegate.fileCopyShouldContinue = [told = told, answer](const FileCopySettings&) {
            const std::lock_guard lock(told->mutex);
            ++told->asked;
            told->inBackground.emplace_back("asked");
            return answer;
        };
        delegate.fileCopyVerificationFailed = [told = told](const FileCopySettings& settings,
                                                            const std::string& file) {
            const std::lock_guard lock(told->mutex);
            told->calls.push_back("failed " + fs::path(file).filename().string() + " " +
                                  settings.destChecksum.value_or("-"));
        };
        delegate.fileCopyFinished = [told = told](const FileCopySettings& settings) {
            const std::lock_guard lock(told->mutex);
            told->calls.emplace_back("finished");
            told->last = settings;
        };
        return delegate;
    }
    static bool copied(const std::string& source, const Paths& destinations,
                       FileVerification verification = FileVerification::kNone,
                       const std::optional<FileCopyDelegate>& delegate = std::nullopt) {
        return FWFileManager::copyFileWithProgress(source, destinations, verification, delegate, {},
                                                   {});
    }
    /// What is asked about the first 20 MiB is answered before more is read.
    static void waitForFirstAnswer() {
        std::uint64_t total = 0;
        setFileCalls(
            {.read = [total](int descriptor, void* bytes, std::size_t count) mutable -> ssize_t {
                 const ssize_t read = ::read(descriptor, bytes, count);
                 if (!isForWriting(descriptor)) {
                     if (total == kTwentyMebibytes) {
                         finishBackground();
                     }
                     total += static_cast<std::uint64_t>(read);
                 }
                 return read;
             },
             .write = {},
             .seek = {}});
    }
    static std::string unopened(const std::string& path) {
        return "Error: Unable to open destination file " + path + ". Aborting copy process...";
    }
};

// Whole copies

TEST_F(FWFileManagerCopyTest, CopiesAFileToEveryDestination) {
    for (const std::size_t size : {0UL, 1UL, kChunk - 1, kChunk, kChunk + 1, 3 * kChunk}) {
        const std::string bytes = someBytes(size);
        EXPECT_TRUE(copied(made("a", bytes), {path("b"), path("c")})) << size;
        EXPECT_EQ(contents("b"), bytes);
        EXPECT_EQ(contents("c"), bytes);
        EXPECT_EQ(contents("a"), bytes);
    }
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerCopyTest, TheFormsForOneDestinationDoNotVerify) {
    made("a", "text");
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(path("a"), path("b"), noting(),
                                                    std::string("first"), 2));
    EXPECT_EQ(contents("b"), "text");
    EXPECT_EQ(std::any_cast<std::string>(told->last->object), "first");
    EXPECT_EQ(std::any_cast<int>(told->last->object2), 2);
    EXPECT_EQ(told->last->sourceChecksum, std::nullopt);
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(path("a"), path("c"), noting(), 3));
    EXPECT_EQ(contents("c"), "text");
    EXPECT_EQ(std::any_cast<int>(told->last->object), 3);
    EXPECT_FALSE(told->last->object2.has_value());
}

TEST_F(FWFileManagerCopyTest, OverwritesALongerFile) {
    made("b", "a longer text");
    EXPECT_TRUE(copied(made("a", "text"), {path("b")}));
    EXPECT_EQ(contents("b"), "text");
}

TEST_F(FWFileManagerCopyTest, VerifiesWithEachDigest) {
    made("a", "abc");
    const std::vector<std::pair<FileVerification, std::string>> all = {
        {FileVerification::kMd5, "900150983cd24fb0d6963f7d28e17f72"},
        {FileVerification::kSha1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {FileVerification::kSha256,
         "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {FileVerification::kSha512,
         "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
         "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"}};
    for (const auto& [verification, checksum] : all) {
        told->calls.clear();
        EXPECT_TRUE(copied(path("a"), {path("b"), path("c")}, verification, noting()));
        EXPECT_EQ(told->last->sourceChecksum, checksum);
        EXPECT_EQ(told->last->destChecksums, (Paths{checksum, checksum}));
        EXPECT_EQ(told->last->destChecksum, std::nullopt);
        EXPECT_THAT(told->calls, ElementsAre("written 3", "finished"));
    }
}

TEST_F(FWFileManagerCopyTest, VerificationTypeFiveBehavesAsNone) {
    EXPECT_TRUE(copied(made("a", "abc"), {path("b")}, FileVerification{5}, noting()));
    EXPECT_EQ(told->last->sourceChecksum, std::nullopt);
    EXPECT_EQ(told->last->destChecksums, std::nullopt);
}

TEST_F(FWFileManagerCopyTest, AnEmptySourceIsCopiedWithTheChecksumOfEmptyInput) {
    EXPECT_TRUE(copied(made("a", ""), {path("b")}, FileVerification::kMd5, noting()));
    EXPECT_THAT(told->calls, ElementsAre("written 0", "finished"));
    EXPECT_THAT(told->background, IsEmpty());
    EXPECT_EQ(told->last->sourceChecksum, "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(told->last->destChecksums, Paths{"d41d8cd98f00b204e9800998ecf8427e"});
}

TEST_F(FWFileManagerCopyTest, MissingFoldersAreCreated) {
    EXPECT_TRUE(copied(made("a", "text"), {path("x/y/b"), path("z/c")}));
    EXPECT_EQ(contents("x/y/b"), "text");
    EXPECT_EQ(contents("z/c"), "text");
}

TEST_F(FWFileManagerCopyTest, TwoEqualDestinationsAreWrittenTwice) {
    const std::string bytes = someBytes(2 * kChunk + 5);
    EXPECT_TRUE(
        copied(made("a", bytes), {path("b"), path("b")}, FileVerification::kSha1, noting()));
    EXPECT_EQ(contents("b"), bytes);
    EXPECT_THAT(told->calls, ElementsAre(testing::StartsWith("written"), "finished"));
}

TEST_F(FWFileManagerCopyTest, NamesMayBeLongAndNeedNotBeText) {
    made("a", "text");
    for (const std::string& name :
         {std::string(255, 'n'), std::string("\xFF\xFE"), std::string("100%@ %d")}) {
        EXPECT_TRUE(copied(path("a"), {path(name)}));
        EXPECT_EQ(contents(name), "text");
    }
}

TEST_F(FWFileManagerCopyTest, PathsMayHave4095Bytes) {
    const std::string folder = longFolder(4093);
    writeText(folder + "/a", "text");
    EXPECT_TRUE(copied(folder + "/a", {folder + "/b"}, FileVerification::kMd5, noting()));
    EXPECT_EQ(readText(folder + "/b"), "text");
    EXPECT_THAT(told->calls, ElementsAre("written 4", "finished"));
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_FALSE(copied(folder + "/a", {folder + "/bb"}));
    EXPECT_EQ(systemLogged().back(), unopened(folder + "/bb"));
    EXPECT_FALSE(copied(folder + "/aa", {path("c")}));
    EXPECT_EQ(systemLogged().back(),
              "Error: File " + folder + "/aa doesn't exist. Aborting copy process...");
}

TEST_F(FWFileManagerCopyTest, ADanglingLinkAsDestinationIsWrittenThrough) {
    fs::create_symlink(path("target"), path("link"));
    EXPECT_TRUE(copied(made("a", "text"), {path("link")}));
    EXPECT_EQ(contents("target"), "text");
}

TEST_F(FWFileManagerCopyTest, FilesUnderALeaseAreWaitedFor) {
    made("a", "text");
    made("b", "old");
    for (const char* name : {"a", "b"}) {
        LeasedFile lease(path(name));
        if (!lease.isHeld()) {
            GTEST_SKIP() << kNoLeases;
        }
        EXPECT_TRUE(copied(path("a"), {path("b")})) << name;
        EXPECT_TRUE(lease.wasGivenUp());
        EXPECT_EQ(contents("b"), "text");
        made("b", "old");
    }
}

// The settings

TEST_F(FWFileManagerCopyTest, TheKeyValueViewHoldsWhatIsPresent) {
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(made("a", "abc"), Paths{path("b")},
                                                    FileVerification::kMd5, noting(), 1, {}));
    const std::map<std::string, std::any> view = told->last->keyValueView();
    std::vector<std::string> keys;
    for (const auto& [key, value] : view) {
        keys.push_back(key);
    }
    EXPECT_THAT(keys, ElementsAre("delegate", "destChecksums", "destinations", "object",
                                  "operationtype", "source", "sourceChecksum"));
    EXPECT_EQ(std::any_cast<std::string>(view.at("operationtype")), "copy");
    EXPECT_EQ(std::any_cast<std::string>(view.at("source")), path("a"));
    EXPECT_EQ(std::any_cast<Paths>(view.at("destinations")), Paths{path("b")});
    EXPECT_EQ(std::any_cast<int>(view.at("object")), 1);
    EXPECT_EQ(std::any_cast<Paths>(view.at("destChecksums")).size(), 1U);
    EXPECT_TRUE(std::any_cast<FileCopyDelegate>(view.at("delegate")).fileCopyFinished);
}

TEST_F(FWFileManagerCopyTest, TheKeyValueViewOfACopyWithoutAnythingHasThreeKeys) {
    FileCopySettings settings;
    EXPECT_EQ(settings.keyValueView().size(), 3U);
    settings.object2 = 1;
    settings.destChecksum = "x";
    EXPECT_EQ(settings.keyValueView().count("object2"), 1U);
    EXPECT_EQ(settings.keyValueView().count("destChecksum"), 1U);
}

// Refusals

TEST_F(FWFileManagerCopyTest, AMissingSourceIsRefused) {
    fs::create_symlink(path("nowhere"), path("dangling"));
    fs::create_symlink(path("loop"), path("loop"));
    for (const std::string& source : {path("missing"), path("dangling"), path("loop"),
                                      std::string(), path("x") + std::string("\0y", 2)}) {
        EXPECT_FALSE(copied(source, {path("b")}));
        EXPECT_EQ(systemLogged().back(),
                  "Error: File " + source + " doesn't exist. Aborting copy process...");
    }
    EXPECT_FALSE(exists("b"));
}

TEST_F(FWFileManagerCopyTest, ACopyToNowhereIsRefused) {
    EXPECT_FALSE(copied(made("a", ""), {}));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Error: You must have at least one destination. Aborting copy "
                            "process..."));
}

TEST_F(FWFileManagerCopyTest, AFolderThatCannotBeCreatedEndsTheCopyBeforeAnythingIsOpened) {
    made("file", "");
    made("b", "kept");
    EXPECT_FALSE(copied(made("a", "text"), {path("b"), path("file/x/c")}));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Unable to copy file " + path("a") + " - destination directory " +
                            path("file/x") + " doesn't exist. Aborting copy process..."));
    EXPECT_THAT(logged(), ElementsAre("Error creating folder: Not a directory. Authorizing..."));
    EXPECT_EQ(contents("b"), "kept");
}

TEST_F(FWFileManagerCopyTest, NoFolderIsCreatedOnADriveThatIsNotMounted) {
    const std::string folder = "/Volumes/no drive of this name/x";
    EXPECT_FALSE(FWFileManager::isDriveMountedForPath(folder));
    EXPECT_FALSE(copied(made("a", "text"), {folder + "/b"}));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Unable to create directory. Drive is not mounted.",
                            "Unable to copy file " + path("a") + " - destination directory " +
                                folder + " doesn't exist. Aborting copy process..."));
}

TEST_F(FWFileManagerCopyTest, PathsThatNameNoVolumeCountAsMounted) {
    for (const char* name : {"", "/", "/Volumes", "/Volumes/", "/volumes/x", "Volumes/x", "/x"}) {
        EXPECT_TRUE(FWFileManager::isDriveMountedForPath(name)) << name;
    }
    EXPECT_FALSE(FWFileManager::isDriveMountedForPath("/Volumes/no drive of this name"));
}

TEST_F(FWFileManagerCopyTest, ASourceThatIsNoFileIsRefusedBeforeADestinationIsTouched) {
    fs::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    made("b", "kept");
    for (const std::string& source : {path("folder"), path("fifo"), std::string("/dev/zero")}) {
        EXPECT_FALSE(copied(source, {path("b")}));
        EXPECT_EQ(systemLogged().back(),
                  "Error: Unable to read source file " + source + ". Aborting copy process...");
    }
    EXPECT_EQ(contents("b"), "kept");
}

TEST_F(FWFileManagerCopyTest, ADestinationThatCannotBeOpenedEndsTheCopyAndNothingIsEmptied) {
    fs::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    fs::create_symlink(path("loop"), path("loop"));
    made("a", "text");
    made("b", "kept");
    for (const std::string& destination :
         {path("folder"), path("fifo"), path("loop"), path(std::string(256, 'n')),
          std::string("/dev/null"), path("x") + std::string("\0y", 2)}) {
        EXPECT_FALSE(copied(path("a"), {path("b"), destination}));
        EXPECT_EQ(systemLogged().back(), unopened(destination));
        EXPECT_EQ(contents("b"), "kept");
    }
}

TEST_F(FWFileManagerCopyTest, ADestinationThatCannotBeEmptiedEndsTheCopy) {
    const FileDescriptor sealed(::memfd_create("sealed", MFD_ALLOW_SEALING | MFD_CLOEXEC));
    ASSERT_EQ(::write(sealed.get(), "kept", 4), 4);
    ASSERT_EQ(::fcntl(sealed.get(), F_ADD_SEALS, F_SEAL_SHRINK), 0);
    const std::string name = "/proc/self/fd/" + std::to_string(sealed.get());
    made("b", "kept");
    EXPECT_FALSE(copied(made("a", "text"), {name, path("b")}));
    EXPECT_THAT(systemLogged(), ElementsAre(unopened(name)));
    EXPECT_EQ(readText(name), "kept");
    EXPECT_EQ(contents("b"), "kept");
    EXPECT_EQ(contents("a"), "text");
}

TEST_F(FWFileManagerCopyTest, ASourceIsNeverItsOwnDestination) {
    made("a", "text");
    made("b", "kept");
    fs::create_hard_link(path("a"), path("hard"));
    fs::create_symlink(path("a"), path("soft"));
    for (const std::string& name : {path("a"), path("hard"), path("soft"), path("./a")}) {
        EXPECT_FALSE(copied(path("a"), {path("b"), path("new"), name}));
        EXPECT_EQ(systemLogged().back(), unopened(name));
        EXPECT_EQ(contents("a"), "text");
        EXPECT_EQ(contents("b"), "kept");
        EXPECT_FALSE(exists("new"));
    }
}

TEST_F(FWFileManagerCopyTest, NoFolderIsMadeForACopyOntoItsSource) {
    made("a", "text");
    EXPECT_FALSE(copied(path("a"), {path("new/dir/b"), path("a")}));
    EXPECT_THAT(systemLogged(), ElementsAre(unopened(path("a"))));
    EXPECT_FALSE(exists("new"));
    EXPECT_EQ(contents("a"), "text");
}

TEST_F(FWFileManagerCopyTest, ASourceIsNotReachedThroughFoldersThatAreMadeForIt) {
    made("a", "text");
    EXPECT_FALSE(copied(path("a"), {path("b"), path("new/c"), path("new/../a")}));
    EXPECT_THAT(systemLogged(), ElementsAre(unopened(path("new/../a"))));
    EXPECT_FALSE(exists("b"));
    EXPECT_EQ(contents("a"), "text");
}

TEST_F(FWFileManagerCopyTest, WithoutMemoryForEitherBufferItSaysSo) {
    made("a", "text");
    const std::string message = "Error copying file " + path("a") + " - out of memory";
    for (const int successes : {0, 1}) {
        EXPECT_EQ(printedBy([&] {
                      const FailingMemory memory(successes);
                      EXPECT_FALSE(copied(path("a"), {path("b")}));
                  }),
                  message + "\n");
    }
    EXPECT_THAT(logged(), ElementsAre(message, message));
}

// Faults on the way

TEST_F(FWFileManagerCopyTest, AReadErrorInTheMiddleEndsTheCopyAndKeepsTheSource) {
    int reads = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (++reads == 2) {
                          errno = EIO;
                          return -1;
                      }
                      return ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    const std::string bytes = someBytes(3 * kChunk);
    made("a", bytes);
    const std::string message = "Error reading file " + path("a") + " - aborting...";
    EXPECT_EQ(printedBy([&] {
                  EXPECT_FALSE(copied(path("a"), {path("b")}, FileVerification::kNone, noting()));
              }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
    EXPECT_THAT(told->calls, IsEmpty());
    EXPECT_EQ(contents("a"), bytes);
    EXPECT_EQ(contents("b"), bytes.substr(0, kChunk));
}

TEST_F(FWFileManagerCopyTest, WhatWasReadBeforeAReadErrorInAChunkIsCopied) {
    setFileCalls({.read = FailingRead{.number = 3, .bytesBefore = 100}, .write = {}, .seek = {}});
    const std::string bytes = someBytes(3 * kChunk);
    made("a", bytes);
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(copied(path("a"), {path("b")})); }),
              "Error reading file " + path("a") + " - aborting...\n");
    EXPECT_EQ(contents("b"), bytes.substr(0, kChunk + 100));
}

TEST_F(FWFileManagerCopyTest, ASourceThatShrinksFailsWithTheSizeMessage) {
    made("a", someBytes(3 * kChunk));
    int reads = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (++reads == 2) {
                          fs::resize_file(path("a"), kChunk);
                      }
                      return ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_FALSE(copied(path("a"), {path("b")}, FileVerification::kNone, noting()));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Error: copied file size does not match original source " + path("a")));
    EXPECT_THAT(told->calls, IsEmpty());
}

TEST_F(FWFileManagerCopyTest, ASourceThatGrowsIsCopiedToItsNewEnd) {
    made("a", someBytes(kChunk));
    int reads = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (++reads == 2) {
                          fs::resize_file(path("a"), kChunk + 9);
                      }
                      return ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_TRUE(copied(path("a"), {path("b")}));
    EXPECT_EQ(contents("b").size(), kChunk + 9);
}

TEST_F(FWFileManagerCopyTest, AShortWriteIsToldAndTheCopyGoesOn) {
    made("a", someBytes(2 * kChunk));
    bool isDone = false;
    {
        const SmallFiles small(kChunk + 100);
        isDone = copied(path("a"), {path("b")}, FileVerification::kSha1, noting());
    }
    EXPECT_TRUE(isDone);
    EXPECT_THAT(systemLogged(), ElementsAre("Error writing file " + path("b") + ": 1"));
    EXPECT_THAT(told->calls,
                ElementsAre("written 131072",
                            "failed b " + FWFileManager::sha1HashForFile(path("b")), "finished"));
    EXPECT_EQ(contents("b"), contents("a").substr(0, kChunk + 100));
}

TEST_F(FWFileManagerCopyTest, AByteThatChangesBetweenWriteAndReadBackIsFound) {
    setFileCalls({.read = [](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      const ssize_t read = ::read(descriptor, bytes, count);
                      if (isForWriting(descriptor) && read == 7) {
                          static_cast<char*>(bytes)[3] ^= 1;
                      }
                      return read;
                  },
                  .write = {},
                  .seek = {}});
    made("a", someBytes(kChunk + 7));
    EXPECT_TRUE(copied(path("a"), {path("b"), path("c")}, FileVerification::kSha256, noting()));
    ASSERT_EQ(told->last->destChecksums->size(), 2U);
    const std::string wrong = told->last->destChecksums->front();
    EXPECT_NE(wrong, told->last->sourceChecksum);
    EXPECT_EQ(told->last->destChecksum, wrong);
    EXPECT_THAT(told->calls,
                ElementsAre("written 65543", "failed b " + wrong, "failed c " + wrong, "finished"));
}

TEST_F(FWFileManagerCopyTest, AReadBackThatFailsIsAMismatchAndLosesNothing) {
    const std::string bytes = someBytes(4 * kChunk);
    made("a", bytes);
    for (const std::size_t readBefore : {std::size_t{0}, std::size_t{100}}) {
        told->calls.clear();
        int reads = 0;
        setFileCalls({.read = [&](int descriptor, void* into, std::size_t count) -> ssize_t {
                          const int number = isForWriting(descriptor) ? ++reads : 0;
                          if (number == 2 && readBefore > 0) {
                              return ::read(descriptor, into, readBefore);
                          }
                          if (number == (readBefore > 0 ? 3 : 2)) {
                              errno = EIO;
                              return -1;
                          }
                          return ::read(descriptor, into, count);
                      },
                      .write = {},
                      .seek = {}});
        EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kSha1, noting()));
        setFileCalls({});
        EXPECT_EQ(contents("b"), bytes);
        const std::string readBack =
            bytes.substr(0, kChunk + readBefore) + bytes.substr(2 * kChunk);
        EXPECT_THAT(told->calls,
                    ElementsAre("written 262144",
                                "failed b " + FWFileManager::sha1HashForFile(made("c", readBack)),
                                "finished"));
        EXPECT_THAT(systemLogged(), IsEmpty());
    }
}

TEST_F(FWFileManagerCopyTest, AnEndThatIsNotFoundAgainAfterAReadBackIsTold) {
    int reads = 0;
    int positionings = 0;
    setFileCalls({.read = [&](int descriptor, void* into, std::size_t count) -> ssize_t {
                      if (isForWriting(descriptor) && ++reads == 1) {
                          errno = EIO;
                          return -1;
                      }
                      return ::read(descriptor, into, count);
                  },
                  .write = {},
                  .seek = [&](int descriptor, off_t offset, int whence) -> off_t {
                      if (whence == SEEK_SET && ++positionings == 2) {
                          errno = EBADF;
                          return -1;
                      }
                      return ::lseek(descriptor, offset, whence);
                  }});
    made("a", someBytes(kChunk));
    EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kMd5, noting()));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Error: unable to seek within file " + path("b"), "cur pos: 65536",
                            "read size: 65536", "errno: 9", "err: 1"));
    EXPECT_THAT(told->calls, Contains("failed b d41d8cd98f00b204e9800998ecf8427e"));
}

/// Flips a bit of what is read back of each destination, at places of its own.
class Corruption {
public:
    explicit Corruption(std::vector<std::vector<std::uint64_t>> placesOfDestinations)
        : places_(std::move(placesOfDestinations)) {}

    ssize_t read(int descriptor, void* bytes, std::size_t count) {
        const off_t start = ::lseek(descriptor, 0, SEEK_CUR);
        const ssize_t read = ::read(descriptor, bytes, count);
        if (isForWriting(descriptor)) {
            for (const std::uint64_t place : placesOf(descriptor)) {
                const std::uint64_t distance = place - static_cast<std::uint64_t>(start);
                if (distance < static_cast<std::uint64_t>(std::max<ssize_t>(read, 0))) {
                    static_cast<char*>(bytes)[distance] ^= 1;
                }
            }
        }
        return read;
    }

private:
    const std::vector<std::uint64_t>& placesOf(int descriptor) {
        const auto known = std::ranges::find(descriptors_, descriptor);
        const auto number = static_cast<std::size_t>(known - descriptors_.begin());
        if (known == descriptors_.end()) {
            descriptors_.push_back(descriptor);
        }
        return places_.at(number);
    }

    std::vector<std::vector<std::uint64_t>> places_;
    std::vector<int> descriptors_; ///< In the order of the destinations.
};

TEST_F(FWFileManagerCopyTest, TheChecksumOfADamagedDestinationIsThatOfWhatWasReadBack) {
    const std::string text = test::someBytes(41 * kChunk + 7);
    const std::vector<std::vector<std::uint64_t>> places = {
        {0},
        {},
        {12 * kChunk - 1, 12 * kChunk},
        {20 * kChunk + 5, 39 * kChunk, text.size() - 1},
        {text.size() - 1}};
    const auto corruption = std::make_shared<Corruption>(places);
    setFileCalls({.read =
                      [corruption](int descriptor, void* bytes, std::size_t count) {
                          return corruption->read(descriptor, bytes, count);
                      },
                  .write = {},
                  .seek = {}});
    made("source", text);
    Paths destinations;
    Paths expected;
    for (const auto& placesOfOne : places) {
        destinations.push_back(path("copy" + std::to_string(destinations.size())));
        std::string damaged = text;
        for (const std::uint64_t place : placesOfOne) {
            damaged[place] ^= 1;
        }
        expected.push_back(FWFileManager::sha1HashForFile(made("damaged", damaged)));
    }
    EXPECT_TRUE(copied(path("source"), destinations, FileVerification::kSha1, noting()));
    EXPECT_EQ(told->last->destChecksums, expected);
    EXPECT_EQ(told->last->sourceChecksum, expected[1]);
}

TEST_F(FWFileManagerCopyTest, AMismatchThatNobodyIsToldOfLeavesNoChecksumOfAFailure) {
    setFileCalls({.read = [](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      return isForWriting(descriptor) ? 0 : ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    std::optional<FileCopyDelegate> delegate = noting();
    delegate->fileCopyVerificationFailed = nullptr;
    EXPECT_TRUE(copied(made("a", "abc"), {path("b")}, FileVerification::kMd5, delegate));
    EXPECT_EQ(told->last->destChecksums, Paths{"d41d8cd98f00b204e9800998ecf8427e"});
    EXPECT_EQ(told->last->destChecksum, std::nullopt);
}

TEST_F(FWFileManagerCopyTest, AFailedVerificationIsToldBeforeAllChecksumsAreKnown) {
    setFileCalls({.read = [](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      return isForWriting(descriptor) ? 0 : ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    FileCopySettings seen;
    FileCopyDelegate delegate;
    delegate.fileCopyVerificationFailed = [&](const FileCopySettings& settings,
                                              const std::string&) {
        seen = settings;
    };
    EXPECT_TRUE(copied(made("a", "abc"), {path("b")}, FileVerification::kMd5, delegate));
    EXPECT_EQ(seen.sourceChecksum, "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(seen.destChecksum, "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(seen.destChecksums, std::nullopt);
}

TEST_F(FWFileManagerCopyTest, AVerificationThatCannotBeMadeHasFailed) {
    const WithoutDigests without;
    ASSERT_TRUE(without.worked());
    made("a", "abc");
    for (const auto verification : {FileVerification::kMd5, FileVerification::kSha512}) {
        told->calls.clear();
        EXPECT_TRUE(copied(path("a"), {path("b"), path("c")}, verification, noting()));
        EXPECT_THAT(told->calls, ElementsAre("written 3", "failed b ", "failed c ", "finished"));
        EXPECT_EQ(told->last->sourceChecksum, std::nullopt);
        EXPECT_EQ(told->last->destChecksums, (Paths{"", ""}));
    }
    told->calls.clear();
    EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kNone, noting()));
    EXPECT_THAT(told->calls, ElementsAre("written 3", "finished"));
}

TEST_F(FWFileManagerCopyTest, APositionThatCannotBeSetIsToldInFiveLines) {
    setFileCalls(
        {.read = {}, .write = {}, .seek = [](int descriptor, off_t offset, int whence) -> off_t {
             if (whence == SEEK_SET) {
                 errno = EIO;
                 return -1;
             }
             return ::lseek(descriptor, offset, whence);
         }});
    made("a", someBytes(kChunk + 3));
    EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kMd5, noting()));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Error: unable to seek within file " + path("b"), "cur pos: 0",
                            "read size: 65536", "errno: 5", "err: 0",
                            "Error: unable to seek within file " + path("b"), "cur pos: 65536",
                            "read size: 3", "errno: 5", "err: 0"));
    EXPECT_THAT(told->calls, Contains("failed b d41d8cd98f00b204e9800998ecf8427e"));
}

// The delegate

TEST_F(FWFileManagerCopyTest, EveryCallIsHandedTheSettingsOfItsCopy) {
    setFileCalls({.read = [](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      return isForWriting(descriptor) ? 0 : ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    std::mutex mutex;
    std::vector<FileCopySettings> seen;
    const auto note = [&](const FileCopySettings& settings) {
        const std::lock_guard lock(mutex);
        seen.push_back(settings);
    };
    FileCopyDelegate delegate;
    delegate.fileCopyBytesWritten = [&](std::uint64_t, const FileCopySettings& settings) {
        note(settings);
    };
    delegate.fileCopyShouldContinue = [&](const FileCopySettings& settings) {
        note(settings);
        return true;
    };
    delegate.fileCopyVerificationFailed = [&](const FileCopySettings& settings,
                                              const std::string&) {
        note(settings);
    };
    delegate.fileCopyFinished = note;
    EXPECT_TRUE(FWFileManager::copyFileWithProgress(madeSparse("a", kTwentyMebibytes),
                                                    Paths{path("b")}, FileVerification::kMd5,
                                                    delegate, std::string("first"), 2));
    finishBackground();
    EXPECT_EQ(seen.size(), 5U);
    for (const FileCopySettings& settings : seen) {
        EXPECT_EQ(settings.operationType, "copy");
        EXPECT_EQ(settings.source, path("a"));
        EXPECT_EQ(settings.destinations, Paths{path("b")});
        EXPECT_TRUE(settings.delegate->fileCopyFinished);
        EXPECT_EQ(std::any_cast<std::string>(settings.object), "first");
        EXPECT_EQ(std::any_cast<int>(settings.object2), 2);
    }
}

TEST_F(FWFileManagerCopyTest, AsksWhetherToGoOnAfterTheReport) {
    EXPECT_TRUE(
        copied(madeSparse("a", kTwentyMebibytes), {path("b")}, FileVerification::kNone, noting()));
    finishBackground();
    EXPECT_THAT(told->inBackground, ElementsAre("written 20971520", "asked"));
}

TEST_F(FWFileManagerCopyTest, ReportsOnceForTwentyMebibytesInTheBackground) {
    std::optional<FileCopyDelegate> delegate = noting();
    EXPECT_TRUE(copied(madeSparse("a", 2 * kTwentyMebibytes + 1), {path("b")},
                       FileVerification::kNone, delegate));
    finishBackground();
    EXPECT_THAT(told->background,
                testing::UnorderedElementsAre(kTwentyMebibytes, 2 * kTwentyMebibytes));
    EXPECT_EQ(told->asked, 2);
    EXPECT_THAT(told->calls, ElementsAre("written 41943041", "finished"));
}

TEST_F(FWFileManagerCopyTest, OneByteLessThanTwentyMebibytesIsNotReportedInTheBackground) {
    std::optional<FileCopyDelegate> delegate = noting(false);
    EXPECT_TRUE(copied(madeSparse("a", kTwentyMebibytes - 1), {path("b")}, FileVerification::kNone,
                       delegate));
    EXPECT_EQ(told->asked, 0);
}

TEST_F(FWFileManagerCopyTest, ACancelledCopyIsCompleteButFailsWithoutAnotherCall) {
    for (const std::optional<bool> answer : {std::optional(false), std::optional<bool>()}) {
        const std::uint64_t size = kTwentyMebibytes + 1;
        const auto before = fileAttributes(made("b", "")).creationDate;
        waitForFirstAnswer();
        EXPECT_FALSE(
            copied(madeSparse("a", size), {path("b")}, FileVerification::kNone, noting(answer)));
        setFileCalls({});
        EXPECT_EQ(fs::file_size(path("b")), size);
        EXPECT_THAT(told->calls, IsEmpty());
        EXPECT_EQ(fileAttributes(path("b")).creationDate, before);
        EXPECT_THAT(systemLogged(), IsEmpty());
    }
}

TEST_F(FWFileManagerCopyTest, ACancelledCopyIsNotVerified) {
    for (const bool answer : {true, false}) {
        waitForFirstAnswer();
        FileCalls calls = setFileCalls({});
        calls.write = [](int descriptor, const void* bytes, std::size_t count) -> ssize_t {
            std::string damaged(static_cast<const char*>(bytes), count);
            damaged.front() ^= 1;
            return ::write(descriptor, damaged.data(), count);
        };
        setFileCalls(calls);
        EXPECT_EQ(copied(madeSparse("a", kTwentyMebibytes + 1), {path("b")},
                         FileVerification::kSha1, noting(answer)),
                  answer);
        const auto isFailure = testing::StartsWith("failed b ");
        if (answer) {
            EXPECT_THAT(told->calls, Contains(isFailure)) << "there is something to be told";
        } else {
            EXPECT_THAT(told->calls, IsEmpty());
        }
        told->calls.clear();
    }
}

TEST_F(FWFileManagerCopyTest, ACancelledCopyOfASourceThatShrankIsCancelled) {
    std::uint64_t total = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (total == kTwentyMebibytes) {
                          finishBackground();
                          return 0;
                      }
                      const ssize_t read = ::read(descriptor, bytes, count);
                      total += static_cast<std::uint64_t>(read);
                      return read;
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_FALSE(copied(madeSparse("a", kTwentyMebibytes + 1), {path("b")}, FileVerification::kNone,
                        noting(false)));
    EXPECT_EQ(told->asked, 1);
    EXPECT_THAT(systemLogged(), IsEmpty()) << "nothing is said of its size";
}

TEST_F(FWFileManagerCopyTest, ReportsALargeFileFiveHundredTimesAtMost) {
    // 1/500 of 20 GiB is 42,949,672 bytes; the source ends before it is reached again.
    const std::uint64_t size = 1024 * kTwentyMebibytes;
    const std::uint64_t firstChunkEndAfter = 656 * kChunk;
    const std::uint64_t end = 3 * kTwentyMebibytes;
    std::uint64_t total = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      const ssize_t read = total < end ? ::read(descriptor, bytes, count) : 0;
                      total += static_cast<std::uint64_t>(read);
                      return read;
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_FALSE(copied(madeSparse("a", size), {path("b")}, FileVerification::kNone, noting()));
    finishBackground();
    EXPECT_THAT(told->background, ElementsAre(firstChunkEndAfter));
    EXPECT_EQ(told->asked, 1);
    EXPECT_THAT(systemLogged(),
                ElementsAre("Error: copied file size does not match original source " + path("a")));
    EXPECT_THAT(told->calls, IsEmpty());
}

TEST_F(FWFileManagerCopyTest, ADelegateThatThrowsDoesNotStopTheCopy) {
    FileCopyDelegate delegate;
    delegate.fileCopyBytesWritten = [](std::uint64_t, const FileCopySettings&) {
        throw std::runtime_error("written");
    };
    delegate.fileCopyFinished = [](const FileCopySettings&) {
        throw 5;
    };
    EXPECT_TRUE(copied(made("a", "text"), {path("b")}, FileVerification::kNone, delegate));
    EXPECT_EQ(contents("b"), "text");
    EXPECT_THAT(systemLogged(),
                ElementsAre("Exception in a delegate: written", "Exception in a delegate: int"));
}

TEST_F(FWFileManagerCopyTest, ADelegateThatThrowsAtAMismatchIsToldTheNextOne) {
    setFileCalls({.read = [](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      return isForWriting(descriptor) ? 0 : ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    std::optional<FileCopyDelegate> delegate = noting();
    delegate->fileCopyVerificationFailed = [](const FileCopySettings&, const std::string& file) {
        throw std::runtime_error(fs::path(file).filename().string());
    };
    EXPECT_TRUE(
        copied(made("a", "text"), {path("b"), path("c")}, FileVerification::kMd5, delegate));
    EXPECT_THAT(systemLogged(),
                ElementsAre("Exception in a delegate: b", "Exception in a delegate: c"));
    EXPECT_THAT(told->calls, ElementsAre("written 4", "finished"));
    EXPECT_EQ(told->last->destChecksums->size(), 2U);
}

TEST_F(FWFileManagerCopyTest, ADelegateThatThrowsInsteadOfAnAnswerCancels) {
    std::optional<FileCopyDelegate> delegate = noting();
    delegate->fileCopyShouldContinue = [](const FileCopySettings&) -> std::optional<bool> {
        throw std::runtime_error("no answer");
    };
    waitForFirstAnswer();
    EXPECT_FALSE(copied(madeSparse("a", kTwentyMebibytes + 1), {path("b")}, FileVerification::kNone,
                        delegate));
    EXPECT_EQ(fs::file_size(path("b")), kTwentyMebibytes + 1);
    EXPECT_THAT(systemLogged(), ElementsAre("Exception in a delegate: no answer"));
    EXPECT_THAT(told->calls, IsEmpty());
}

TEST_F(FWFileManagerCopyTest, ADelegateThatThrowsAtAReportIsStillAsked) {
    std::optional<FileCopyDelegate> delegate = noting();
    delegate->fileCopyBytesWritten = [](std::uint64_t bytes, const FileCopySettings&) {
        throw std::runtime_error(std::to_string(bytes));
    };
    waitForFirstAnswer();
    EXPECT_TRUE(copied(madeSparse("a", kTwentyMebibytes + 1), {path("b")}, FileVerification::kNone,
                       delegate));
    EXPECT_EQ(told->asked, 1);
    EXPECT_THAT(systemLogged(), ElementsAre("Exception in a delegate: 20971520",
                                            "Exception in a delegate: 20971521"));
    EXPECT_THAT(told->calls, ElementsAre("finished"));
}

TEST_F(FWFileManagerCopyTest, ADelegateThatDoesNotAnswerHoldsUpNoOther) {
    std::latch answered(1);
    FileCopyDelegate slow;
    slow.fileCopyShouldContinue = [&](const FileCopySettings&) {
        answered.wait();
        return true;
    };
    EXPECT_TRUE(
        copied(madeSparse("a", 6 * kTwentyMebibytes), {path("b")}, FileVerification::kNone, slow));
    setFileCalls({.read = [](int, void*, std::size_t count) -> ssize_t { // It never ends.
                      return static_cast<ssize_t>(count);
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_EQ(FWFileManager::sha1HashForFile(path("a"), ChecksumDelegate{[](const std::string&) {
                                                 return false;
                                             }}),
              "");
    answered.count_down();
    finishBackground();
}

TEST_F(FWFileManagerCopyTest, ADelegateThatImplementsNothingIsNotCalled) {
    EXPECT_TRUE(copied(madeSparse("a", kTwentyMebibytes + 1), {path("b")}, FileVerification::kSha1,
                       FileCopyDelegate{}));
}

// Dates

TEST_F(FWFileManagerCopyTest, HandsOnDatesAndFinderAttributes) {
    using std::chrono::nanoseconds;
    const FileAttributes given{.creationDate = FileAttributes::Date(nanoseconds(123'456'789)),
                               .modificationDate = FileAttributes::Date(nanoseconds(987'654'321)),
                               .isExtensionHidden = true,
                               .creatorCode = 0x41424344U,
                               .typeCode = 0x61626364U};
    ASSERT_EQ(setFileAttributes(made("a", "text"), given), std::nullopt);
    EXPECT_TRUE(copied(path("a"), {path("b"), path("c")}));
    EXPECT_EQ(fileAttributes(path("b")), given);
    EXPECT_EQ(fileAttributes(path("c")), given);
}

TEST_F(FWFileManagerCopyTest, ACopyIsAsOldAsItsSource) {
    made("a", "text");
    const FileAttributes before = fileAttributes(path("a"));
    EXPECT_TRUE(copied(path("a"), {path("b")}));
    EXPECT_EQ(fileAttributes(path("b")), before);
}

TEST_F(FWFileManagerCopyTest, TheCopyIsFinishedWhenTheDatesHaveBeenHandedOn) {
    FileAttributes old;
    old.modificationDate = FileAttributes::Date(std::chrono::nanoseconds(987'654'321));
    ASSERT_EQ(setFileAttributes(made("a", "text"), old), std::nullopt);
    FileAttributes seen;
    FileCopyDelegate delegate;
    delegate.fileCopyFinished = [&](const FileCopySettings&) {
        seen = fileAttributes(path("b"));
    };
    EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kNone, delegate));
    EXPECT_EQ(seen, fileAttributes(path("a")));
    EXPECT_EQ(seen.modificationDate, old.modificationDate);
}

TEST_F(FWFileManagerCopyTest, ASourceWithoutACreationDateHandsOnNoAttribute) {
    ASSERT_EQ(fileAttributes("/proc/self/comm").creationDate, std::nullopt);
    FileAttributes old;
    old.creationDate = FileAttributes::Date(std::chrono::nanoseconds(5));
    ASSERT_EQ(setFileAttributes(made("b", ""), old), std::nullopt);
    EXPECT_TRUE(copied("/proc/self/comm", {path("b")}));
    EXPECT_EQ(fileAttributes(path("b")).creationDate, old.creationDate);
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerCopyTest, WhereAttributesAreNotSupportedThatIsToldAndTheCopySucceeds) {
    FileAttributes old;
    old.creationDate = FileAttributes::Date(std::chrono::nanoseconds(5));
    if (setFileAttributes(made("a", "text"), old)) {
        GTEST_SKIP() << "the temporary folder's file system has no extended attributes";
    }
    const std::string nameOfThread = readText("/proc/self/comm");
    EXPECT_TRUE(copied(path("a"), {"/proc/self/comm"}));
    EXPECT_THAT(systemLogged(), ElementsAre("Error setting metadata for file /proc/self/comm - "
                                            "Operation not supported"));
    EXPECT_EQ(readText("/proc/self/comm"), "text\n");
    writeText("/proc/self/comm", nameOfThread);
}

TEST_F(FWFileManagerCopyTest, AttributesThatCannotBeSetAreToldAndTheCopySucceeds) {
    made("a", "text");
    std::optional<FileCopyDelegate> delegate = noting();
    delegate->fileCopyBytesWritten = [&](std::uint64_t, const FileCopySettings&) {
        fs::remove(path("b"));
    };
    EXPECT_TRUE(copied(path("a"), {path("b")}, FileVerification::kNone, delegate));
    EXPECT_THAT(systemLogged(), ElementsAre("Error setting metadata for file " + path("b") +
                                            " - No such file or directory"));
    EXPECT_THAT(told->calls, ElementsAre("finished"));
}

} // namespace
} // namespace fw
