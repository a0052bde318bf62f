#include "platform/files/ByteFile.h"

#include "platform/FileDescriptor.h"
#include "platform/files/writeAll.h"
#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
namespace fs = std::filesystem;

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

class ByteFileTest : public testing::Test {
protected:
    ~ByteFileTest() override { setFileCalls({}); }

    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string made(const std::string& name, std::string_view text) const {
        writeText(path(name), text);
        return path(name);
    }
    static std::string readFrom(ByteFile& file, std::size_t most) {
        std::string text(most, '\0');
        text.resize(file.read(std::as_writable_bytes(std::span(text))));
        return text;
    }

private:
    TemporaryFolder folder_;
};

TEST_F(ByteFileTest, ReadsAFileInPiecesAndThenMeetsItsEnd) {
    Result<ByteFile> file = ByteFile::openForReading(made("a", "abcdef"));
    ASSERT_TRUE(file);
    EXPECT_EQ(file.value().sizeAtOpening(), 6U);
    EXPECT_EQ(readFrom(file.value(), 4), "abcd");
    EXPECT_FALSE(file.value().isAtEnd());
    EXPECT_EQ(readFrom(file.value(), 4), "ef");
    EXPECT_TRUE(file.value().isAtEnd());
    EXPECT_FALSE(file.value().hasFailed());
}

TEST_F(ByteFileTest, KnowsOfTheEndOnlyWhenAReadHasMetIt) {
    Result<ByteFile> file = ByteFile::openForReading(made("a", "abcd"));
    EXPECT_EQ(readFrom(file.value(), 4), "abcd");
    EXPECT_FALSE(file.value().isAtEnd());
    EXPECT_EQ(readFrom(file.value(), 4), "");
    EXPECT_TRUE(file.value().isAtEnd());
}

TEST_F(ByteFileTest, ASecondReaderSeesAtOnceWhatIsWritten) {
    Result<ByteFile> file = ByteFile::openForUpdating(path("new"));
    ASSERT_TRUE(file);
    EXPECT_EQ(file.value().write(bytesOf("text")), 4U);
    EXPECT_EQ(readText(path("new")), "text");
    EXPECT_EQ(file.value().position(), 4U);
    EXPECT_TRUE(file.value().setPosition(1));
    EXPECT_EQ(readFrom(file.value(), 9), "ext");
}

TEST_F(ByteFileTest, OpeningForUpdatingCutsNothingOff) {
    Result<ByteFile> file = ByteFile::openForUpdating(made("a", "text"));
    EXPECT_EQ(readText(path("a")), "text");
    EXPECT_TRUE(file.value().truncate());
    EXPECT_EQ(readText(path("a")), "");
}

TEST_F(ByteFileTest, ANewFileHasAnOrdinaryMode) {
    const mode_t before = ::umask(027);
    EXPECT_TRUE(ByteFile::openForUpdating(path("new")));
    ::umask(before);
    EXPECT_EQ(fs::status(path("new")).permissions(), fs::perms(0640));
}

TEST_F(ByteFileTest, OpensRegularFilesOnly) {
    fs::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", path("device"));
    for (const std::string& name : {path("fifo"), path("device")}) {
        EXPECT_EQ(ByteFile::openForReading(name).error().code, EINVAL) << name;
        EXPECT_EQ(ByteFile::openForUpdating(name).error().code, EINVAL) << name;
    }
    EXPECT_EQ(ByteFile::openForReading(path("folder")).error().code, EISDIR);
    EXPECT_EQ(ByteFile::openForUpdating(path("folder")).error().code, EISDIR);
}

TEST_F(ByteFileTest, WhatIsNoRegularFileIsNotEvenOpened) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), path("fifo").c_str(), IN_OPEN), 0);
    EXPECT_EQ(ByteFile::openForReading(path("fifo")).error().code, EINVAL);
    EXPECT_EQ(ByteFile::openForUpdating(path("fifo")).error().code, EINVAL);
    std::array<char, 4096> events;
    EXPECT_EQ(::read(watch.get(), events.data(), events.size()), -1);
    EXPECT_EQ(errno, EAGAIN);
    const FileDescriptor opened(::open(path("fifo").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_GT(::read(watch.get(), events.data(), events.size()), 0) << "openings are seen";
}

TEST_F(ByteFileTest, SaysWhyAFileCannotBeOpened) {
    EXPECT_EQ(ByteFile::openForReading(path("none")).error().code, ENOENT);
    EXPECT_EQ(ByteFile::openForReading("").error().code, ENOENT);
    EXPECT_EQ(ByteFile::openForUpdating(path("none/file")).error().code, ENOENT);
    EXPECT_EQ(ByteFile::openForUpdating(path(std::string(256, 'n'))).error().code, ENAMETOOLONG);
    fs::create_symlink(path("loop"), path("loop"));
    EXPECT_EQ(ByteFile::openForReading(path("loop")).error().code, ELOOP);
}

TEST_F(ByteFileTest, APathWithAZeroByteNamesNoFile) {
    const std::string cut = made("a", "text") + std::string("\0x", 2);
    EXPECT_EQ(ByteFile::openForReading(cut).error().code, EINVAL);
    EXPECT_EQ(ByteFile::openForUpdating(cut).error().code, EINVAL);
    EXPECT_EQ(fileIdentity(cut), std::nullopt);
}

TEST_F(ByteFileTest, TellsOneFileUnderTwoNames) {
    made("a", "");
    made("b", "");
    fs::create_hard_link(path("a"), path("hard"));
    fs::create_symlink(path("a"), path("soft"));
    const auto identity = ByteFile::openForReading(path("a")).value().identity();
    EXPECT_EQ(fileIdentity(path("a")), identity);
    EXPECT_EQ(fileIdentity(path("hard")), identity);
    EXPECT_EQ(fileIdentity(path("soft")), identity);
    EXPECT_NE(fileIdentity(path("b")), identity);
    EXPECT_EQ(fileIdentity(path("none")), std::nullopt);
}

TEST_F(ByteFileTest, AReadThatFailsLeavesItsErrorNumber) {
    setFileCalls({.read = [](int, void*, std::size_t) -> ssize_t {
                      errno = EIO;
                      return -1;
                  },
                  .write = {},
                  .seek = {}});
    Result<ByteFile> file = ByteFile::openForReading(made("a", "text"));
    EXPECT_EQ(readFrom(file.value(), 4), "");
    EXPECT_TRUE(file.value().hasFailed());
    EXPECT_FALSE(file.value().isAtEnd());
    EXPECT_EQ(file.value().errorNumber(), EIO);
}

TEST_F(ByteFileTest, GoesOnAfterInterruptionsAndPartialCalls) {
    int calls = 0;
    const auto isInterrupted = [&calls] {
        errno = EINTR;
        return ++calls % 2 == 0;
    };
    setFileCalls({.read = [&](int descriptor, void* bytes, std::size_t) -> ssize_t {
                      return isInterrupted() ? -1 : ::read(descriptor, bytes, 1);
                  },
                  .write = [&](int descriptor, const void* bytes, std::size_t) -> ssize_t {
                      return isInterrupted() ? -1 : ::write(descriptor, bytes, 1);
                  },
                  .seek = {}});
    Result<ByteFile> file = ByteFile::openForUpdating(path("new"));
    EXPECT_EQ(file.value().write(bytesOf("text")), 4U);
    EXPECT_TRUE(file.value().setPosition(0));
    EXPECT_EQ(readFrom(file.value(), 4), "text");
    EXPECT_FALSE(file.value().hasFailed());
}

TEST_F(ByteFileTest, WritesAsMuchAsThereIsRoomFor) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{5, before.rlim_max};
    Result<ByteFile> file = ByteFile::openForUpdating(path("new"));
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::size_t written = file.value().write(bytesOf("too long"));
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(written, 5U);
    EXPECT_TRUE(file.value().hasFailed());
    EXPECT_EQ(file.value().errorNumber(), EFBIG);
}

TEST_F(ByteFileTest, AFileThatTakesNoBytesIsNotAskedForEver) {
    setFileCalls(
        {.read = {},
         .write = [calls = 0](int descriptor, const void* bytes, std::size_t) mutable -> ssize_t {
             return ++calls == 1 ? ::write(descriptor, bytes, 2) : 0;
         },
         .seek = {}});
    Result<ByteFile> file = ByteFile::openForUpdating(path("new"));
    EXPECT_EQ(file.value().write(bytesOf("text")), 2U);
    EXPECT_TRUE(file.value().hasFailed());
    EXPECT_EQ(file.value().errorNumber(), EIO);
    EXPECT_EQ(readText(path("new")), "te");
}

TEST_F(ByteFileTest, WritingAllToAFileThatTakesNoBytesEndsWithAnError) {
    EXPECT_EQ(writeAll([](int, const void*, std::size_t) { return ssize_t{0}; }, -1, "text", 4),
              EIO);
    EXPECT_EQ(writeAll([](int, const void*, std::size_t) { return ssize_t{0}; }, -1, "", 0), 0);
}

TEST_F(ByteFileTest, WritingTellsHowManyBytesWentBeforeAFailure) {
    int calls = 0;
    const auto write = [&](int, const void*, std::size_t) -> ssize_t {
        ++calls;
        errno = calls == 2 ? EINTR : ENOSPC;
        return calls == 1 || calls == 3 ? 2 : -1;
    };
    const Written written = writePieces(write, -1, "a text", 6);
    EXPECT_EQ(written.bytes, 4U) << "a signal between them is passed over";
    EXPECT_EQ(written.failure, ENOSPC);
}

TEST_F(ByteFileTest, APositionThatCannotBeSetIsTold) {
    Result<ByteFile> file = ByteFile::openForUpdating(path("new"));
    EXPECT_FALSE(file.value().setPosition(UINT64_MAX));
    EXPECT_EQ(file.value().errorNumber(), EINVAL);
    EXPECT_FALSE(file.value().hasFailed());
}

TEST_F(ByteFileTest, FilesKeepTheCallsTheyWereOpenedWith) {
    Result<ByteFile> file = ByteFile::openForReading(made("a", "text"));
    setFileCalls(
        {.read = [](int, void*, std::size_t) -> ssize_t { return 0; }, .write = {}, .seek = {}});
    EXPECT_EQ(readFrom(file.value(), 4), "text");
}

} // namespace
} // namespace fw
