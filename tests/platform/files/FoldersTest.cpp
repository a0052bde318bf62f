#include "platform/files/Folders.h"

#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <filesystem>
#include <vector>

namespace fw {
namespace {

using test::TemporaryFolder;

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST(MakeFolder, MissingParentsAreMadeWithTheSameMode) {
    const TemporaryFolder folder;
    EXPECT_EQ(makeFolder(folder.file("a/b/c"), 0700), std::nullopt);
    EXPECT_EQ(modeOf(folder.file("a")), 0700U);
    EXPECT_EQ(modeOf(folder.file("a/b")), 0700U);
    EXPECT_EQ(modeOf(folder.file("a/b/c")), 0700U);
}

TEST(MakeFolder, TheUmaskChangesNothing) {
    const TemporaryFolder folder;
    const mode_t before = ::umask(0777);
    const auto none = makeFolder(folder.file("a/b"), 0755);
    ::umask(0);
    const auto all = makeFolder(folder.file("c/d"), 0700);
    ::umask(before);
    EXPECT_EQ(none, std::nullopt);
    EXPECT_EQ(all, std::nullopt);
    EXPECT_EQ(modeOf(folder.file("a/b")), 0755U);
    EXPECT_EQ(modeOf(folder.file("c/d")), 0700U);
}

TEST(MakeFolder, AFolderOfAUserFollowsTheUmask) {
    const TemporaryFolder folder;
    const mode_t before = ::umask(026);
    const auto failure = makeFolder(folder.file("a/b"));
    ::umask(before);
    EXPECT_EQ(failure, std::nullopt);
    EXPECT_EQ(modeOf(folder.file("a")), 0751U);
    EXPECT_EQ(modeOf(folder.file("a/b")), 0751U);
}

TEST(ParentFolder, IsTheFolderThatAPathLiesIn) {
    const std::vector<std::pair<std::string, std::string>> parents = {
        {"/a/b", "/a"}, {"/a/b//", "/a"}, {"/a//b", "/a"}, {"/a", "/"},       {"//a", "/"},
        {"/", "/"},     {"//", "/"},      {"a/b", "a"},    {"a", "."},        {"a/", "."},
        {"", "."},      {".", "."},       {"a/..", "a"},   {"\xFF/x", "\xFF"}};
    for (const auto& [path, parent] : parents) {
        EXPECT_EQ(parentFolder(path), parent) << path;
    }
}

TEST(MakeFolder, AFolderThatIsThereStaysAsItIs) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "a");
    ::chmod(folder.file("a").c_str(), 0751);
    EXPECT_EQ(makeFolder(folder.file("a"), 0700), std::nullopt);
    EXPECT_EQ(makeFolder(folder.file("a/b"), 0700), std::nullopt);
    EXPECT_EQ(modeOf(folder.file("a")), 0751U);
    EXPECT_EQ(makeFolder("/", 0700), std::nullopt);
    EXPECT_EQ(makeFolder(".", 0700), std::nullopt);
}

TEST(MakeFolder, ALinkToAFolderIsAFolder) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "real");
    std::filesystem::create_directory_symlink("real", folder.path() / "link");
    EXPECT_EQ(makeFolder(folder.file("link"), 0700), std::nullopt);
    EXPECT_EQ(makeFolder(folder.file("link/a"), 0700), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "real/a"));
}

TEST(MakeFolder, SlashesMayBeDoubledAndTrailing) {
    const TemporaryFolder folder;
    EXPECT_EQ(makeFolder(folder.file("a//b///c//"), 0700), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "a/b/c"));
}

TEST(MakeFolder, AFileInTheWayIsAnError) {
    const TemporaryFolder folder;
    test::writeText(folder.file("file"), "");
    EXPECT_EQ(makeFolder(folder.file("file"), 0700), (Error{"POSIX", ENOTDIR, "Not a directory"}));
    EXPECT_EQ(makeFolder(folder.file("file/a/b"), 0700).value().code, ENOTDIR);
}

TEST(MakeFolder, ALinkToNothingIsAnError) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("missing", folder.path() / "link");
    EXPECT_EQ(makeFolder(folder.file("link"), 0700).value().code, ENOTDIR);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "missing"));
}

TEST(MakeFolder, NoPermissionIsAnError) {
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0555);
    {
        const test::WithoutPrivileges nobody;
        EXPECT_EQ(makeFolder(folder.file("a/b"), 0700).value().code, EACCES);
    }
    ::chmod(folder.path().c_str(), 0755);
}

TEST(MakeFolder, EmptyPathsAndPathsWithAZeroByteNameNothing) {
    const TemporaryFolder folder;
    EXPECT_EQ(makeFolder("", 0700).value().code, ENOENT);
    std::string path = folder.file("short");
    path += std::string("\0long", 5);
    EXPECT_EQ(makeFolder(path, 0700).value().code, EINVAL);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(MakeFolder, ManyProcessesMayMakeTheSameFolders) {
    const TemporaryFolder folder;
    std::vector<pid_t> children;
    for (int i = 0; i < 4; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            int failures = 0;
            for (int k = 0; k < 50; ++k) {
                failures += makeFolder(folder.file(std::to_string(k) + "/a/b/c"), 0700) ? 1 : 0;
            }
            ::_exit(failures);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
}

} // namespace
} // namespace fw
