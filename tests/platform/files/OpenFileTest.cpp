#include "platform/files/openFile.h"

#include "platform/files/ImmutableFlag.h"
#include "platform/files/copyItem.h"
#include "tests/support/FileText.h"
#include "tests/support/LeasedFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutPrivileges.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fw {
namespace {

using namespace test;
namespace fs = std::filesystem;

class OpenFileTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string made(const std::string& name, std::string_view text) const {
        writeText(path(name), text);
        return path(name);
    }

private:
    TemporaryFolder folder_;
};

TEST_F(OpenFileTest, WaitsForTheEndOfALease) {
    for (const int flags : {O_RDONLY, O_RDWR, O_RDWR | O_CREAT, O_RDONLY | O_NOFOLLOW}) {
        LeasedFile lease(made("a", "text"));
        if (!lease.isHeld()) {
            GTEST_SKIP() << kNoLeases;
        }
        EXPECT_TRUE(openFile(AT_FDCWD, path("a"), flags, 0600)) << flags;
        EXPECT_TRUE(lease.wasGivenUp());
        EXPECT_EQ(readText(path("a")), "text");
    }
}

TEST_F(OpenFileTest, EmptiesAFileWhoseLeaseHasEnded) {
    LeasedFile lease(made("a", "text"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    EXPECT_TRUE(openFile(AT_FDCWD, path("a"), O_WRONLY | O_TRUNC));
    EXPECT_EQ(readText(path("a")), "");
}

TEST_F(OpenFileTest, FindsALeasedFileInItsFolder) {
    LeasedFile lease(made("a", "text"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    const FileDescriptor folder(
        ::open(fs::path(path("a")).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_TRUE(openFile(folder.get(), "a", O_RDONLY | O_NOFOLLOW));
}

TEST_F(OpenFileTest, DoesNotWaitForTheOtherEndOfAPipe) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_TRUE(openFile(AT_FDCWD, path("fifo"), O_RDONLY));
    EXPECT_FALSE(openFile(AT_FDCWD, path("fifo"), O_WRONLY));
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(OpenFileTest, LeavesTheReasonWhyItCouldNotOpen) {
    EXPECT_FALSE(openFile(AT_FDCWD, path("none"), O_RDONLY));
    EXPECT_EQ(errno, ENOENT);
    fs::create_symlink(path("none"), path("link"));
    EXPECT_FALSE(openFile(AT_FDCWD, path("link"), O_RDONLY | O_NOFOLLOW));
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(OpenFileTest, ANewFileHasTheModeThatIsGiven) {
    EXPECT_TRUE(openFile(AT_FDCWD, path("new"), O_RDWR | O_CREAT, 0400));
    EXPECT_EQ(fs::status(path("new")).permissions(), fs::perms(0400));
}

TEST_F(OpenFileTest, CopiesOfAFileWaitForTheEndOfItsLease) {
    LeasedFile lease(made("a", "text"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    EXPECT_EQ(copyItem(path("a"), path("b")), std::nullopt);
    EXPECT_TRUE(lease.wasGivenUp());
    EXPECT_EQ(readText(path("b")), "text");
}

TEST_F(OpenFileTest, ALeaseDoesNotHinderTheImmutableFlag) {
    LeasedFile lease(made("a", "text"));
    if (!lease.isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    fs::permissions(fs::path(path("a")).parent_path(), fs::perms(0755));
    fs::permissions(path("a"), fs::perms(0644));
    std::optional<Error> failure;
    {
        const WithoutPrivileges user; // The flag is refused, but only once the file is open.
        failure = setImmutable(path("a"), true);
    }
    ASSERT_TRUE(failure);
    EXPECT_NE(failure->code, EWOULDBLOCK);
    EXPECT_TRUE(lease.wasGivenUp());
}

} // namespace
} // namespace fw
