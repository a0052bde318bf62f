#include "platform/folders/userFolders.h"
#include "platform/folders/folderServices.h"
#include "tests/support/TestHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <pwd.h>

namespace fw {
namespace {

using test::ScopedEnvironment;

class UserFolders : public testing::Test {
protected:
    static void beUser(unsigned user) {
        setFolderServices({.realUserId = [user] { return user; }, .search = {}});
    }
    static std::string cacheFolder() {
        std::array<char, 256> buffer = {};
        const std::size_t length = userCacheFolder(buffer.data(), buffer.size());
        return length == 0 ? "none" : std::string(buffer.data(), length - 1);
    }

    test::TestHome home; // Its user is in no account database.
};

TEST_F(UserFolders, HomeIsTheEnvironmentsWhenItIsAbsolute) {
    EXPECT_EQ(homeFolder(), home.path());
}

TEST_F(UserFolders, WithoutOneInTheEnvironmentHomeIsTheAccountDatabases) {
    const passwd* const superuser = ::getpwuid(0);
    ASSERT_NE(superuser, nullptr);
    beUser(0);
    for (const std::optional<std::string>& value :
         {std::optional<std::string>(), {""}, {"relative/home"}}) {
        const ScopedEnvironment variable("HOME", value);
        EXPECT_EQ(homeFolder(), superuser->pw_dir);
    }
}

TEST_F(UserFolders, AUserWhoIsNotInTheDatabaseHasNoHome) {
    const ScopedEnvironment variable("HOME", std::nullopt);
    EXPECT_EQ(homeFolder(), "");
}

TEST_F(UserFolders, TheLoginNameIsTheAccountDatabasesEvenIfTheEnvironmentSaysOtherwise) {
    const ScopedEnvironment variable("LOGNAME", "somebody");
    beUser(0);
    EXPECT_EQ(loginName(), ::getpwuid(0)->pw_name);
}

TEST_F(UserFolders, TheLoginNameOfAUserWhoIsNotInTheDatabaseIsTheEnvironments) {
    ScopedEnvironment variable("LOGNAME", "somebody");
    EXPECT_EQ(loginName(), "somebody");
    variable.set(std::nullopt);
    EXPECT_EQ(loginName(), "");
}

TEST_F(UserFolders, TheTemporaryFolderIsTheEnvironmentsWhenItIsNotEmpty) {
    ScopedEnvironment variable("TMPDIR", "/some/where");
    EXPECT_EQ(temporaryFolder(), "/some/where");
    variable.set("relative");
    EXPECT_EQ(temporaryFolder(), "relative");
    variable.set("");
    EXPECT_EQ(temporaryFolder(), "/tmp");
    variable.set(std::nullopt);
    EXPECT_EQ(temporaryFolder(), "/tmp");
}

TEST_F(UserFolders, TheCacheFolderIsTheEnvironmentsWhenItIsAbsolute) {
    ScopedEnvironment variable("XDG_CACHE_HOME", "/caches/mine");
    EXPECT_EQ(cacheFolder(), "/caches/mine");
    variable.set("caches");
    EXPECT_EQ(cacheFolder(), home.file(".cache"));
    variable.set(std::nullopt);
    EXPECT_EQ(cacheFolder(), home.file(".cache"));
}

TEST_F(UserFolders, AnUnknownHomeHasNoCacheFolder) {
    const ScopedEnvironment variable("HOME", std::nullopt);
    EXPECT_EQ(cacheFolder(), "none");
}

TEST_F(UserFolders, TheLengthOfTheCacheFolderCountsTheNul) {
    const ScopedEnvironment variable("XDG_CACHE_HOME", "/caches");
    std::array<char, 9> buffer = {};
    buffer.fill('x');
    EXPECT_EQ(userCacheFolder(buffer.data(), 8), 8U);
    EXPECT_EQ(std::string(buffer.data(), 9), std::string("/caches\0x", 9));
}

TEST_F(UserFolders, ACacheFolderThatDoesNotFitIsNone) {
    const ScopedEnvironment variable("XDG_CACHE_HOME", "/caches");
    std::array<char, 8> buffer = {};
    buffer.fill('x');
    EXPECT_EQ(userCacheFolder(buffer.data(), 7), 0U);
    EXPECT_EQ(userCacheFolder(nullptr, 0), 0U);
    EXPECT_EQ(std::string(buffer.data(), 8), "xxxxxxxx");
}

} // namespace
} // namespace fw
