#include "platform/files/AtomicFile.h"

#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WithoutPrivileges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

namespace fw {
namespace {

using test::readText;
using test::TemporaryFolder;
using test::writeText;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

mode_t modeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

/// Writes beyond `size` bytes fail while it lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small = {size, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_ = {};
};

TEST(AtomicFile, ANewFileHoldsTheBytesAndIsItsOwnersAlone) {
    const TemporaryFolder folder;
    const std::string bytes("a\0b\n", 4);
    EXPECT_EQ(writeFileAtomically(folder.file("new"), bytes), std::nullopt);
    EXPECT_EQ(readText(folder.file("new")), bytes);
    EXPECT_EQ(modeOf(folder.file("new")), 0600U);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("new"));
}

TEST(AtomicFile, ANewFileGetsTheGivenModeWhateverTheUmask) {
    const TemporaryFolder folder;
    const mode_t before = ::umask(0777);
    const auto error = writeFileAtomically(folder.file("new"), "x", 0644);
    ::umask(before);
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(modeOf(folder.file("new")), 0644U);
}

TEST(AtomicFile, AnExistingFileIsReplacedAndKeepsItsMode) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "a much longer text than the new one");
    ::chmod(folder.file("old").c_str(), 0640);
    EXPECT_EQ(writeFileAtomically(folder.file("old"), "new", 0600), std::nullopt);
    EXPECT_EQ(readText(folder.file("old")), "new");
    EXPECT_EQ(modeOf(folder.file("old")), 0640U);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("old"));
}

TEST(AtomicFile, EmptyBytesMakeAnEmptyFile) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "old");
    EXPECT_EQ(writeFileAtomically(folder.file("old"), ""), std::nullopt);
    EXPECT_EQ(std::filesystem::file_size(folder.file("old")), 0U);
}

TEST(AtomicFile, MegabytesAreWrittenWhole) {
    const TemporaryFolder folder;
    std::string bytes(9'000'001, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7 >> 3);
    }
    EXPECT_EQ(writeFileAtomically(folder.file("large"), bytes), std::nullopt);
    EXPECT_TRUE(readText(folder.file("large")) == bytes);
}

TEST(AtomicFile, WhoHasTheOldFileOpenKeepsReadingIt) {
    const TemporaryFolder folder;
    writeText(folder.file("file"), "old text");
    std::ifstream reader(folder.file("file"));
    EXPECT_EQ(writeFileAtomically(folder.file("file"), "new"), std::nullopt);
    std::string text;
    std::getline(reader, text);
    EXPECT_EQ(text, "old text");
}

TEST(AtomicFile, AFileThatMayNotBeWrittenIsReplacedAllTheSame) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "old");
    ::chmod(folder.file("old").c_str(), 0400);
    EXPECT_EQ(writeFileAtomically(folder.file("old"), "new"), std::nullopt);
    EXPECT_EQ(readText(folder.file("old")), "new");
    EXPECT_EQ(modeOf(folder.file("old")), 0400U);
}

TEST(AtomicFile, TheOwnerIsKeptWhenThisProcessMayGiveFilesAway) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "Only root gives files away.";
    }
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    writeText(path, "old");
    ASSERT_EQ(::chown(path.c_str(), 1234, 5678), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04750), 0);
    EXPECT_EQ(writeFileAtomically(path, "new"), std::nullopt);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 5678U);
    EXPECT_EQ(status.st_mode & 07777, 04750U);
}

TEST(AtomicFile, WhoMayNotGiveFilesAwayOwnsTheNewOneWithoutItsSetIdBits) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "Only root can make another's file first.";
    }
    const TemporaryFolder folder;
    const std::string path = folder.file("file");
    writeText(path, "old");
    ASSERT_EQ(::chmod(path.c_str(), 06755), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    {
        const test::WithoutPrivileges nobody;
        ASSERT_TRUE(nobody.worked());
        EXPECT_EQ(writeFileAtomically(path, "new"), std::nullopt);
    }
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534U);
    EXPECT_EQ(status.st_mode & 07777, 0755U);
}

TEST(AtomicFile, ALinkStaysAndWhatItPointsToIsReplaced) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "inside");
    writeText(folder.file("inside/real"), "old");
    std::filesystem::create_symlink("inside/real", folder.path() / "relative");
    std::filesystem::create_symlink(folder.path() / "relative", folder.path() / "absolute");
    EXPECT_EQ(writeFileAtomically(folder.file("absolute"), "new"), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "absolute"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "relative"));
    EXPECT_EQ(readText(folder.file("inside/real")), "new");
    EXPECT_THAT(namesIn(folder.path() / "inside"), ElementsAre("real"));
}

TEST(AtomicFile, ALinkToNothingGetsItsFile) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("missing", folder.path() / "link");
    EXPECT_EQ(writeFileAtomically(folder.file("link"), "new"), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link"));
    EXPECT_EQ(readText(folder.file("missing")), "new");
}

TEST(AtomicFile, LinksInACircleAreAnError) {
    const TemporaryFolder folder;
    std::filesystem::create_symlink("b", folder.path() / "a");
    std::filesystem::create_symlink("a", folder.path() / "b");
    const auto error = writeFileAtomically(folder.file("a"), "new");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, ELOOP);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("a", "b"));
}

TEST(AtomicFile, OnlyRegularFilesAreReplaced) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "folder");
    ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
    const auto ofFolder = writeFileAtomically(folder.file("folder"), "x");
    ASSERT_TRUE(ofFolder);
    EXPECT_EQ(ofFolder->code, EISDIR);
    const auto ofPipe = writeFileAtomically(folder.file("pipe"), "x");
    ASSERT_TRUE(ofPipe);
    EXPECT_EQ(ofPipe->code, EINVAL);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("folder", "pipe"));
    EXPECT_THAT(namesIn(folder.path() / "folder"), IsEmpty());
}

TEST(AtomicFile, AMissingFolderIsAnErrorInTheSystemsWords) {
    const TemporaryFolder folder;
    const auto error = writeFileAtomically(folder.file("missing/file"), "x");
    EXPECT_EQ(error, (Error{"POSIX", ENOENT, "No such file or directory"}));
}

TEST(AtomicFile, AFolderWithoutPermissionIsAnErrorAndTheOldFileStays) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "old");
    ::chmod(folder.path().c_str(), 0555);
    {
        const test::WithoutPrivileges nobody;
        const auto error = writeFileAtomically(folder.file("old"), "new");
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, EACCES);
    }
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(readText(folder.file("old")), "old");
}

TEST(AtomicFile, EmptyPathsAndPathsWithAZeroByteNameNothing) {
    const TemporaryFolder folder;
    EXPECT_EQ(writeFileAtomically("", "x").value().code, ENOENT);
    std::string path = folder.file("short");
    path += std::string("\0long", 5);
    EXPECT_EQ(writeFileAtomically(path, "x").value().code, EINVAL);
    EXPECT_EQ(writeFileAtomically(folder.file("missing/"), "x").value().code, ENOENT);
    EXPECT_THAT(namesIn(folder.path()), IsEmpty());
}

TEST(AtomicFile, ANameOfTheGreatestLengthCanBeWritten) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    EXPECT_EQ(writeFileAtomically(folder.file(name), "x"), std::nullopt);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre(name));
}

TEST(AtomicFile, ANameThatIsNotUtf8CanBeWritten) {
    const TemporaryFolder folder;
    const std::string name("\xFF \n\xC3", 4);
    EXPECT_EQ(writeFileAtomically(folder.file(name), "x"), std::nullopt);
    EXPECT_EQ(readText(folder.file(name)), "x");
}

TEST(AtomicFile, AWriteThatFailsInTheMiddleLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "old");
    std::optional<Error> error;
    {
        const FileSizeLimit limit(1000);
        error = writeFileAtomically(folder.file("old"), std::string(100'000, 'n'));
    }
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, EFBIG);
    EXPECT_EQ(readText(folder.file("old")), "old");
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("old"));
}

TEST(AtomicFile, TheLimitOfAFilesSizeLeavesItsSignalToTheProgram) {
    const TemporaryFolder folder;
    sigset_t waiting;
    {
        const FileSizeLimit limit(1000);
        ASSERT_TRUE(writeFileAtomically(folder.file("new"), std::string(100'000, 'n')));
        ::sigpending(&waiting);
    }
    EXPECT_EQ(::sigismember(&waiting, SIGXFSZ), 0);
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(::sigismember(&blocked, SIGXFSZ), 0);
    struct sigaction action {};
    ::sigaction(SIGXFSZ, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST(AtomicFile, AProcessThatDiesInTheMiddleLeavesTheOldFileWhole) {
    const TemporaryFolder folder;
    writeText(folder.file("old"), "old");
    // As large as it takes for the child to die before it is written and flushed.
    const std::string bytes(200'000'000, 'n');
    const std::string path = folder.file("old");
    const pid_t child = ::fork();
    if (child == 0) {
        static_cast<void>(writeFileAtomically(path, bytes));
        ::_exit(0);
    }
    while (namesIn(folder.path()).size() < 2) {
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(readText(path), "old");
}

TEST(AtomicFile, ManyWritersLeaveTheTextOfOneOfThem) {
    const TemporaryFolder folder;
    const std::string path = folder.file("shared");
    std::vector<pid_t> children;
    for (char letter = 'a'; letter < 'e'; ++letter) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (int i = 0; i < 50; ++i) {
                if (writeFileAtomically(path, std::string(5000, letter))) {
                    ::_exit(1);
                }
            }
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    const std::string text = readText(path);
    ASSERT_EQ(text.size(), 5000U);
    EXPECT_EQ(text, std::string(5000, text[0]));
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("shared"));
}

} // namespace
} // namespace fw
