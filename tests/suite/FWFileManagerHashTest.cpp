#include "support/FWFileManager.h"

#include "tests/suite/FailingMemory.h"
#include "tests/suite/FileTest.h"
#include "tests/support/LeasedFile.h"

#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr const char* kMd5OfNothing = "d41d8cd98f00b204e9800998ecf8427e";
constexpr const char* kMd5OfAbc = "900150983cd24fb0d6963f7d28e17f72";

/// A delegate that gives one answer, and notes when it is asked.
struct Asked {
    std::shared_ptr<std::atomic<int>> count = std::make_shared<std::atomic<int>>(0);

    ChecksumDelegate answering(std::optional<bool> answer) const {
        return {.checksumShouldContinue = [count = count, answer](const std::string&) {
            ++*count;
            return answer;
        }};
    }
    /// When all answers have come and have been taken.
    int times() const {
        finishBackground();
        return *count;
    }
};

class FWFileManagerHashTest : public FileTest {
protected:
    std::string openMessage(const std::string& path) const {
        return "Error: Unable to open destination file " + path + ". Aborting hash verification...";
    }
    /// The file at any path never ends.
    static void makeFilesEndless() {
        setFileCalls({.read = [](int, void*, std::size_t count) -> ssize_t {
                          return static_cast<ssize_t>(count);
                      },
                      .write = {},
                      .seek = {}});
    }
};

template <typename Context>
Context stateOf(std::string_view text) {
    Context context;
    context.update(std::as_bytes(std::span(text)));
    return context;
}

// From a state

TEST_F(FWFileManagerHashTest, WritesTheDigestOfAStateInSmallHexadecimalDigits) {
    EXPECT_EQ(FWFileManager::md5HashWithContext(stateOf<Md5Digest>("abc")), kMd5OfAbc);
    EXPECT_EQ(FWFileManager::sha1HashWithContext(stateOf<Sha1Digest>("abc")),
              "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(FWFileManager::sha256HashWithContext(stateOf<Sha256Digest>("abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(FWFileManager::sha512HashWithContext(stateOf<Sha512Digest>("abc")),
              "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
              "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
}

TEST_F(FWFileManagerHashTest, LeavesTheCallersStateAsItIs) {
    auto state = stateOf<Md5Digest>("ab");
    const std::string first = FWFileManager::md5HashWithContext(state);
    EXPECT_EQ(FWFileManager::md5HashWithContext(state), first);
    state.update(std::as_bytes(std::span("c", 1)));
    EXPECT_EQ(FWFileManager::md5HashWithContext(state), kMd5OfAbc);
}

// Of a file

TEST_F(FWFileManagerHashTest, HashesAFile) {
    const std::string file = made("a", "abc");
    EXPECT_EQ(FWFileManager::md5HashForFile(file), kMd5OfAbc);
    EXPECT_EQ(FWFileManager::sha1HashForFile(file), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(FWFileManager::sha512HashForFile(file),
              "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
              "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerHashTest, AnEmptyFileHasTheChecksumOfEmptyInput) {
    const std::string file = made("a", "");
    EXPECT_EQ(FWFileManager::md5HashForFile(file), kMd5OfNothing);
    EXPECT_EQ(FWFileManager::sha1HashForFile(file), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(FWFileManager::sha512HashForFile(file).size(), 128U);
}

TEST_F(FWFileManagerHashTest, HashesFilesOfAnyLengthAboutAChunk) {
    for (const std::size_t size : {kChunk - 1, kChunk, kChunk + 1, 3 * kChunk, 3 * kChunk + 7}) {
        const std::string bytes = someBytes(size);
        EXPECT_EQ(FWFileManager::sha1HashForFile(made("a", bytes)),
                  FWFileManager::sha1HashWithContext(stateOf<Sha1Digest>(bytes)))
            << size;
    }
}

TEST_F(FWFileManagerHashTest, HashesFilesOfOddNames) {
    for (const std::string& name : {std::string(255, 'n'), std::string("\xFF\xFE not text"),
                                    std::string("100%@ %d \xC3\xA9")}) {
        EXPECT_EQ(FWFileManager::md5HashForFile(made(name, "abc")), kMd5OfAbc);
    }
}

TEST_F(FWFileManagerHashTest, PathsMayHave4095Bytes) {
    const std::string folder = longFolder(4093);
    writeText(folder + "/a", "abc");
    EXPECT_EQ(FWFileManager::md5HashForFile(folder + "/a"), kMd5OfAbc);
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_EQ(FWFileManager::md5HashForFile(folder + "/aa"), "");
    EXPECT_THAT(systemLogged(), ElementsAre(openMessage(folder + "/aa")));
}

TEST_F(FWFileManagerHashTest, AFileUnderALeaseIsWaitedFor) {
    LeasedFile lease(made("a", "abc"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    EXPECT_EQ(FWFileManager::md5HashForFile(path("a")), kMd5OfAbc);
    EXPECT_TRUE(lease.wasGivenUp());
}

TEST_F(FWFileManagerHashTest, FollowsLinks) {
    made("a", "abc");
    fs::create_symlink(path("a"), path("link"));
    EXPECT_EQ(FWFileManager::md5HashForFile(path("link")), kMd5OfAbc);
}

TEST_F(FWFileManagerHashTest, WhatCannotBeOpenedHasAnEmptyChecksumAndAMessage) {
    fs::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    fs::create_symlink(path("nowhere"), path("dangling"));
    fs::create_symlink(path("loop"), path("loop"));
    std::vector<std::string> messages;
    for (const std::string& file :
         {path("missing"), path("folder"), path("fifo"), path("dangling"), path("loop"),
          std::string("/dev/zero"), std::string(), path(std::string(256, 'n')),
          made("a", "abc") + std::string("\0x", 2)}) {
        EXPECT_EQ(FWFileManager::md5HashForFile(file), "");
        messages.push_back(openMessage(file));
    }
    EXPECT_EQ(systemLogged(), messages);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWFileManagerHashTest, AReadErrorIsLoggedAndPrinted) {
    int reads = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (++reads == 3) {
                          errno = EIO;
                          return -1;
                      }
                      return ::read(descriptor, bytes, count);
                  },
                  .write = {},
                  .seek = {}});
    const std::string file = made("a", someBytes(4 * kChunk));
    const std::string message = "Error reading file " + file + " - aborting...";
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(FWFileManager::sha1HashForFile(file), ""); }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerHashTest, AReadErrorAfterAPartOfAChunkIsLoggedAndPrinted) {
    setFileCalls({.read = FailingRead{.number = 3, .bytesBefore = 100}, .write = {}, .seek = {}});
    const std::string file = made("a", someBytes(4 * kChunk));
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(FWFileManager::sha1HashForFile(file), ""); }),
              "Error reading file " + file + " - aborting...\n");
}

TEST_F(FWFileManagerHashTest, WithoutMemoryItSaysSo) {
    const std::string file = made("a", "abc");
    const std::string message = "Error reading file " + file + " - out of memory";
    EXPECT_EQ(printedBy([&] {
                  const FailingMemory memory(0);
                  EXPECT_EQ(FWFileManager::md5HashForFile(file), "");
              }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
}

// The delegate

TEST_F(FWFileManagerHashTest, AFileShorterThanFiftyMebibytesNeverAsks) {
    const Asked asked;
    EXPECT_NE(FWFileManager::sha1HashForFile(madeSparse("a", kFiftyMebibytes - 1),
                                             asked.answering(false)),
              "");
    EXPECT_EQ(asked.times(), 0);
}

TEST_F(FWFileManagerHashTest, AsksAtEveryFullFiftyMebibytesWithThePath) {
    const Asked asked;
    const auto wrongPaths = std::make_shared<std::atomic<int>>(0);
    const std::string file = madeSparse("a", 2 * kFiftyMebibytes + 1);
    ChecksumDelegate delegate = asked.answering(true);
    delegate.checksumShouldContinue = [inner = delegate.checksumShouldContinue, wrongPaths,
                                       file](const std::string& path) {
        *wrongPaths += path == file ? 0 : 1;
        return inner(path);
    };
    const std::string expected = FWFileManager::sha1HashForFile(file);
    EXPECT_EQ(FWFileManager::sha1HashForFile(file, delegate), expected);
    EXPECT_EQ(asked.times(), 2);
    EXPECT_EQ(*wrongPaths, 0);
}

TEST_F(FWFileManagerHashTest, ADelegateThatImplementsNothingIsNotAsked) {
    const std::string file = madeSparse("a", kFiftyMebibytes + 1);
    EXPECT_EQ(FWFileManager::sha1HashForFile(file, ChecksumDelegate{}),
              FWFileManager::sha1HashForFile(file));
}

TEST_F(FWFileManagerHashTest, AnAnswerThatIsFalseEndsTheHashingWithoutAMessage) {
    makeFilesEndless();
    const Asked asked;
    EXPECT_EQ(FWFileManager::md5HashForFile(made("a", ""), asked.answering(false)), "");
    EXPECT_EQ(FWFileManager::sha1HashForFile(path("a"), asked.answering(false)), "");
    EXPECT_EQ(FWFileManager::sha512HashForFile(path("a"), asked.answering(false)), "");
    EXPECT_GE(asked.times(), 3);
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWFileManagerHashTest, AnEmptyAnswerEndsTheHashing) {
    makeFilesEndless();
    EXPECT_EQ(FWFileManager::sha1HashForFile(made("a", ""), Asked().answering(std::nullopt)), "");
}

TEST_F(FWFileManagerHashTest, ADelegateThatThrowsEndsTheHashing) {
    makeFilesEndless();
    const auto calls = std::make_shared<std::atomic<int>>(0);
    ChecksumDelegate delegate;
    delegate.checksumShouldContinue = [calls](const std::string&) -> std::optional<bool> {
        ++*calls;
        throw std::runtime_error("no answer");
    };
    EXPECT_EQ(FWFileManager::sha1HashForFile(made("a", ""), delegate), "");
    finishBackground();
    EXPECT_EQ(systemLogged().front(), "Exception in a delegate: no answer");
    EXPECT_EQ(systemLogged().size(), static_cast<std::size_t>(*calls));
}

TEST_F(FWFileManagerHashTest, AnAnswerAfterTheLastChunkChangesNothing) {
    const std::string file = madeSparse("a", kFiftyMebibytes);
    const std::string expected = FWFileManager::sha1HashForFile(file);
    // The question of the last chunk is answered while the file's end is being read.
    const Asked asked;
    ChecksumDelegate delegate = asked.answering(false);
    const auto isReadOn = std::make_shared<std::atomic<bool>>(false);
    delegate.checksumShouldContinue = [inner = delegate.checksumShouldContinue,
                                       isReadOn](const std::string& path) {
        waitUntil([&] { return isReadOn->load(); });
        return inner(path);
    };
    std::uint64_t total = 0;
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t count) -> ssize_t {
                      if (total == kFiftyMebibytes) {
                          *isReadOn = true;
                          finishBackground();
                      }
                      const ssize_t read = ::read(descriptor, bytes, count);
                      total += static_cast<std::uint64_t>(read);
                      return read;
                  },
                  .write = {},
                  .seek = {}});
    EXPECT_EQ(FWFileManager::sha1HashForFile(file, delegate), expected);
    EXPECT_EQ(*asked.count, 1);
}

} // namespace
} // namespace fw
