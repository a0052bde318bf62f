#include "platform/connection/RuntimeFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace fw {
namespace {

std::vector<std::string> pathsWithRuntimeDirectory(const char* value) {
    if (value == nullptr) {
        ::unsetenv("XDG_RUNTIME_DIR");
    } else {
        ::setenv("XDG_RUNTIME_DIR", value, 1);
    }
    std::vector<std::string> paths;
    for (const RuntimeFolder& folder : standardRuntimeFolders()) {
        paths.push_back(folder.path);
    }
    ::unsetenv("XDG_RUNTIME_DIR");
    return paths;
}

TEST(RuntimeFolder, EnvironmentThenRunUserThenTemporaryFolder) {
    const std::string user = std::to_string(::geteuid());
    EXPECT_EQ(pathsWithRuntimeDirectory("/somewhere"),
              (std::vector<std::string>{"/somewhere", "/run/user/" + user, "/tmp/oxbow-" + user}));
    EXPECT_EQ(pathsWithRuntimeDirectory(nullptr),
              (std::vector<std::string>{"/run/user/" + user, "/tmp/oxbow-" + user}));
}

TEST(RuntimeFolder, ARelativeOrEmptyEnvironmentIsPassedOver) {
    EXPECT_EQ(pathsWithRuntimeDirectory("relative").size(), 2U);
    EXPECT_EQ(pathsWithRuntimeDirectory("").size(), 2U);
}

TEST(RuntimeFolder, ATrailingSlashDoesNotHideALink) {
    EXPECT_EQ(pathsWithRuntimeDirectory("/somewhere//").front(), "/somewhere");
}

TEST(RuntimeFolder, OnlyTheOneInTheTemporaryFolderIsMadeByUs) {
    const auto folders = standardRuntimeFolders();
    EXPECT_TRUE(folders.back().isMadeByUs);
    for (std::size_t i = 0; i + 1 < folders.size(); ++i) {
        EXPECT_FALSE(folders[i].isMadeByUs);
    }
}

TEST(PrivateFolder, IsOursWithMode0700) {
    test::TemporaryFolder folder;
    EXPECT_TRUE(isPrivateFolder(folder.path()));
}

TEST(PrivateFolder, IsNotOneThatOthersMayEnter) {
    test::TemporaryFolder folder;
    for (const mode_t mode : {0710U, 0701U, 0755U, 0770U, 0777U, 0500U}) {
        ASSERT_EQ(::chmod(folder.path().c_str(), mode), 0);
        EXPECT_FALSE(isPrivateFolder(folder.path())) << std::oct << mode;
    }
    ::chmod(folder.path().c_str(), 0700);
}

TEST(PrivateFolder, IsNotALinkToOne) {
    test::TemporaryFolder folder;
    const std::string target = folder.file("target");
    ASSERT_EQ(::mkdir(target.c_str(), 0700), 0);
    ASSERT_EQ(::symlink(target.c_str(), folder.file("link").c_str()), 0);
    EXPECT_TRUE(isPrivateFolder(target));
    EXPECT_FALSE(isPrivateFolder(folder.file("link")));
}

TEST(PrivateFolder, IsNeitherAFileNorMissing) {
    test::TemporaryFolder folder;
    std::FILE* file = std::fopen(folder.file("file").c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    ::chmod(folder.file("file").c_str(), 0700);
    EXPECT_FALSE(isPrivateFolder(folder.file("file")));
    EXPECT_FALSE(isPrivateFolder(folder.file("missing")));
}

TEST(PrivateFolder, IsNotSomebodyElses) {
    test::TemporaryFolder folder;
    const std::string other = folder.file("other");
    ASSERT_EQ(::mkdir(other.c_str(), 0700), 0);
    if (::geteuid() == 0) {
        constexpr uid_t kNobody = 65534;
        ASSERT_EQ(::chown(other.c_str(), kNobody, kNobody), 0);
        EXPECT_FALSE(isPrivateFolder(other));
    } else {
        EXPECT_FALSE(isPrivateFolder("/root"));
    }
}

} // namespace
} // namespace fw
