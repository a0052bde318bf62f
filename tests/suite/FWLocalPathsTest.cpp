#include "support/FWLocalPaths.h"

#include "platform/folders/folderServices.h"
#include "platform/folders/userFolders.h"
#include "tests/support/TestHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <set>
#include <thread>
#include <vector>

namespace fw {
namespace {

using test::ScopedEnvironment;
using Domain = FolderDomainMask;
using Kind = FolderKind;

class LocalPaths : public testing::Test {
protected:
    /// From now on a search of anything finds these.
    static void find(unsigned user, const std::vector<std::string>& folders) {
        setFolderServices({.realUserId = [user] { return user; },
                           .search =
                               [folders](Kind, Domain) {
                                   return folders;
                               }});
    }
    static void beSuperuser() {
        setFolderServices({.realUserId = [] { return 0U; }, .search = {}});
    }
    static std::string userLibrary() {
        return FWLocalPaths::pathForDirectory(Kind::kLibrary, Domain::kUser);
    }

    test::TestHome home;
};

using LocalPathsForDirectory = LocalPaths;

TEST_F(LocalPathsForDirectory, AreTheFirstThatTheSearchFinds) {
    EXPECT_EQ(FWLocalPaths::pathForDirectory(Kind::kLibrary, Domain::kSystem | Domain::kLocal),
              "/Library");
    find(1'000, {"/first", "/second"});
    EXPECT_EQ(userLibrary(), "/first");
}

TEST_F(LocalPathsForDirectory, AreEmptyWhenTheSearchFindsNone) {
    EXPECT_EQ(FWLocalPaths::pathForDirectory(Kind::kDocuments, Domain::kLocal), "");
    find(0, {});
    EXPECT_EQ(userLibrary(), "");
}

TEST_F(LocalPathsForDirectory, OfTheSuperuserUnderVarRootLieInItsHome) {
    beSuperuser();
    EXPECT_EQ(userLibrary(), home.file("Library"));
    EXPECT_EQ(FWLocalPaths::logDirectory(true), home.file("Library/Logs"));
}

TEST_F(LocalPathsForDirectory, OfTheSuperuserUnderPrivateVarRootKeepTheLastLetterOfThePrefix) {
    find(0, {"/private/var/root/Library"});
    EXPECT_EQ(userLibrary(), home.file("t/Library"));
    find(0, {"/private/var/root"});
    EXPECT_EQ(userLibrary(), home.file("t"));
}

TEST_F(LocalPathsForDirectory, OfTheSuperuserLoseBothPrefixesOneAfterTheOther) {
    find(0, {"/var/root/private/var/root/Library"});
    EXPECT_EQ(userLibrary(), home.file("t/Library"));
    find(0, {"/private/var/root/var/root/Library"});
    EXPECT_EQ(userLibrary(), home.file("t/var/root/Library"));
}

TEST_F(LocalPathsForDirectory, OfTheSuperuserElsewhereAreMovedIntoItsHomeWhole) {
    find(0, {"/elsewhere/Library"});
    EXPECT_EQ(userLibrary(), home.file("elsewhere/Library"));
    find(0, {"/var/root"});
    EXPECT_EQ(userLibrary(), home.path());
    find(0, {"/var/rootless"});
    EXPECT_EQ(userLibrary(), home.file("less")) << "the prefix is text, not a component";
}

TEST_F(LocalPathsForDirectory, OfTheSuperuserInOtherDomainsStayAsFound) {
    find(0, {"/var/root/Library"});
    EXPECT_EQ(FWLocalPaths::pathForDirectory(Kind::kLibrary, Domain::kLocal), "/var/root/Library");
    EXPECT_EQ(FWLocalPaths::pathForDirectory(Kind::kLibrary, Domain::kUser | Domain::kLocal),
              "/var/root/Library");
}

TEST_F(LocalPathsForDirectory, OfOtherUsersUnderVarRootStayAsFound) {
    find(1'000, {"/var/root/Library"});
    EXPECT_EQ(userLibrary(), "/var/root/Library");
}

TEST_F(LocalPaths, OfTheUser) {
    EXPECT_EQ(FWLocalPaths::applicationDirectory(true), home.file("Applications"));
    EXPECT_EQ(FWLocalPaths::adminApplicationDirectory(true), home.file("Applications/Utilities"));
    EXPECT_EQ(FWLocalPaths::documentDirectory(true), home.file("Documents"));
    EXPECT_EQ(FWLocalPaths::libraryDirectory(true), home.file("Library"));
    EXPECT_EQ(FWLocalPaths::prefsDirectory(true), home.file("Library/Preferences"));
    EXPECT_EQ(FWLocalPaths::cacheDirectory(true), home.file("Library/Caches"));
    EXPECT_EQ(FWLocalPaths::appSupportDirectory(true), home.file("Library/Application Support"));
    EXPECT_EQ(FWLocalPaths::logDirectory(true), home.file("Library/Logs"));
    EXPECT_EQ(FWLocalPaths::movieDirectory(), home.file("Movies"));
    EXPECT_EQ(FWLocalPaths::desktopDirectory(), home.file("Desktop"));
    EXPECT_EQ(FWLocalPaths::userDirectory(), home.path());
    EXPECT_EQ(FWLocalPaths::trashDirectory(), home.file(".Trash"));
}

TEST_F(LocalPaths, OfTheMachine) {
    EXPECT_EQ(FWLocalPaths::applicationDirectory(false), "/Applications");
    EXPECT_EQ(FWLocalPaths::adminApplicationDirectory(false), "/Applications/Utilities");
    EXPECT_EQ(FWLocalPaths::documentDirectory(false), "");
    EXPECT_EQ(FWLocalPaths::libraryDirectory(false), "/Library");
    EXPECT_EQ(FWLocalPaths::prefsDirectory(false), "/Library/Preferences");
    EXPECT_EQ(FWLocalPaths::cacheDirectory(false), "/Library/Caches");
    EXPECT_EQ(FWLocalPaths::appSupportDirectory(false), "/Library/Application Support");
    EXPECT_EQ(FWLocalPaths::logDirectory(false), "/Library/Logs");
    EXPECT_EQ(FWLocalPaths::systemLibraryDirectory(), "/usr/lib");
    EXPECT_EQ(FWLocalPaths::localDocumentationDirectory(), "/Library/Documentation");
}

TEST_F(LocalPaths, InAnUnknownFolderAreUnknown) {
    const ScopedEnvironment noHome("HOME", std::nullopt);
    EXPECT_EQ(FWLocalPaths::userDirectory(), "");
    EXPECT_EQ(FWLocalPaths::libraryDirectory(true), "");
    EXPECT_EQ(FWLocalPaths::prefsDirectory(true), "");
    EXPECT_EQ(FWLocalPaths::logDirectory(true), "");
    EXPECT_EQ(FWLocalPaths::trashDirectory(), "");
    EXPECT_EQ(FWLocalPaths::darwinCacheDirectory(), "");
}

TEST_F(LocalPaths, TheUserNameIsTheLoginName) {
    const ScopedEnvironment name("LOGNAME", "somebody");
    EXPECT_EQ(FWLocalPaths::username(), "somebody");
    beSuperuser();
    EXPECT_EQ(FWLocalPaths::username(), loginName());
}

TEST_F(LocalPaths, TheCacheFolderIsReadIntoABufferOf1024Bytes) {
    ScopedEnvironment variable("XDG_CACHE_HOME", "/caches/\xC3\xA9");
    EXPECT_EQ(FWLocalPaths::darwinCacheDirectory(), "/caches/\xC3\xA9");
    std::string path(1'023, 'c');
    path.front() = '/';
    variable.set(path);
    EXPECT_EQ(FWLocalPaths::darwinCacheDirectory(), path);
    path += 'c';
    variable.set(path);
    EXPECT_EQ(FWLocalPaths::darwinCacheDirectory(), "");
}

TEST_F(LocalPaths, ATemporaryFileIsAUuidAndEightCharactersInTheTemporaryFolderAndNotMade) {
    const ScopedEnvironment variable("TMPDIR", home.path() + "/");
    EXPECT_EQ(FWLocalPaths::tempDirectory(), home.path() + "/");
    const std::string file = FWLocalPaths::tempFile();
    ASSERT_EQ(file.size(), home.path().size() + 1 + 36 + 8);
    EXPECT_THAT(file, testing::StartsWith(home.path() + "/"));
    EXPECT_THAT(file.substr(home.path().size() + 1),
                testing::MatchesRegex("[0-9A-F-]{36}[a-z0-9]{8}"));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_NE(FWLocalPaths::tempFile(), file);
}

TEST(LocalPathsUuid, IsOfVersion4InCapitals) {
    for (int i = 0; i < 200; ++i) {
        EXPECT_THAT(FWLocalPaths::uuid(),
                    testing::MatchesRegex(
                        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    }
}

TEST(LocalPathsUuid, IsFreshAtEachCallOfEachThread) {
    constexpr int kCalls = 1'000;
    std::vector<std::string> first;
    std::vector<std::string> second;
    const auto collect = [](std::vector<std::string>& into) {
        for (int i = 0; i < kCalls; ++i) {
            into.push_back(FWLocalPaths::uuid());
        }
    };
    {
        const std::jthread other([&] { collect(second); });
        collect(first);
    }
    std::set<std::string> all(first.begin(), first.end());
    all.insert(second.begin(), second.end());
    EXPECT_EQ(all.size(), 2U * kCalls);
}

/// All seeds that a call between two readings of the clocks can have used.
class PossibleSeeds {
public:
    PossibleSeeds() : fromTime_(std::time(nullptr)), fromClock_(std::clock()) {}

    /// Whether after one of them the generator behaves so.
    template <typename Claim>
    bool holdForOne(Claim claim) const {
        const std::clock_t toClock = std::clock();
        const std::time_t toTime = std::time(nullptr);
        for (std::time_t time = fromTime_; time <= toTime; ++time) {
            for (std::clock_t clock = fromClock_; clock <= toClock; ++clock) {
                std::srand(static_cast<unsigned>(time * clock));
                if (claim()) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    std::time_t fromTime_;
    std::clock_t fromClock_;
};

std::string lettersOfTheGenerator(std::size_t length) {
    const std::string alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string text;
    while (text.size() < length) {
        text += alphabet[static_cast<std::size_t>(std::rand() % 36)];
    }
    return text;
}

TEST(LocalPathsRandomString, HasTheLengthAndTheAlphabetAskedFor) {
    for (const unsigned length : {1U, 8U, 1'000U}) {
        const std::string text = FWLocalPaths::randomString(length);
        EXPECT_EQ(text.size(), length);
        EXPECT_EQ(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789"),
                  std::string::npos);
    }
    const std::string all = FWLocalPaths::randomString(100'000);
    EXPECT_EQ(std::set<char>(all.begin(), all.end()).size(), 36U);
}

TEST(LocalPathsRandomString, IsSeededWithTheTimeTimesTheProcessorTimeAtEachCall) {
    for (int call = 0; call < 3; ++call) {
        const PossibleSeeds seeds;
        const std::string text = FWLocalPaths::randomString(40);
        EXPECT_TRUE(seeds.holdForOne([&] { return lettersOfTheGenerator(40) == text; }));
    }
}

TEST(LocalPathsRandomString, OfLengthZeroIsEmptyAndSeedsAllTheSame) {
    std::srand(1);
    const std::string ofSeedOne = lettersOfTheGenerator(40);
    std::srand(1);
    const PossibleSeeds seeds;
    EXPECT_EQ(FWLocalPaths::randomString(0), "");
    const std::string next = lettersOfTheGenerator(40);
    EXPECT_NE(next, ofSeedOne);
    EXPECT_TRUE(seeds.holdForOne([&] { return lettersOfTheGenerator(40) == next; }));
}

TEST(LocalPathsSlash, IsAddedWhereItIsMissing) {
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash("/a"), "/a/");
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash("/a/"), "/a/");
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash("/a//"), "/a//");
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash("/"), "/");
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash("a"), "a/");
}

TEST(LocalPathsSlash, IsNotAddedToAnEmptyPath) {
    EXPECT_EQ(FWLocalPaths::ensureTrailingSlash(""), "");
}

TEST(LocalPathsSlash, IsStrippedOnce) {
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("/a/"), "/a");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("/a//"), "/a/");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("//"), "/");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("/a"), "/a");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("\xC3\xA9"), "\xC3\xA9");
}

TEST(LocalPathsSlash, IsNotStrippedFromOneCharacter) {
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("/"), "/");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash("a"), "a");
    EXPECT_EQ(FWLocalPaths::stripTrailingSlash(""), "");
}

class SystemDirectory : public LocalPaths {
protected:
    static bool isSystem(std::string_view path) {
        return FWLocalPaths::isPathSystemDirectory(path);
    }
    static bool isExactly(std::string_view path) {
        return FWLocalPaths::isPathSystemDirectory(path, ExactMatch::kYes);
    }
};

TEST_F(SystemDirectory, IsTheRoot) {
    EXPECT_TRUE(isSystem("/"));
    EXPECT_TRUE(isExactly("/"));
}

TEST_F(SystemDirectory, IsEachStandardFolder) {
    for (const std::string& path :
         {home.file("Applications"), home.file("Applications/Utilities"), home.file("Documents"),
          home.file("Library"), home.file("Library/Preferences"), home.file("Library/Caches"),
          home.file("Library/Application Support"), home.file("Desktop"), home.path()}) {
        EXPECT_TRUE(isExactly(path)) << path;
        EXPECT_TRUE(isSystem(path)) << path;
    }
    for (const char* path :
         {"/Applications", "/Applications/Utilities", "/Library", "/Library/Preferences",
          "/Library/Caches", "/Library/Application Support", "/usr/lib", "/Library/Documentation",
          "/Users/Shared", "/usr", "/var", "/bin", "/sbin", "/System"}) {
        EXPECT_TRUE(isExactly(path)) << path;
        EXPECT_TRUE(isSystem(path)) << path;
    }
}

TEST_F(SystemDirectory, IsNotEveryFolderThatThereIs) {
    for (const std::string& path :
         {home.file("Movies"), home.file("Library/Logs"), home.file(".Trash"),
          home.file("Documents/x"), std::string("/Library/Logs"), std::string("/tmp"),
          std::string("/Users"), std::string("/VAR"), std::string("/usrx"), std::string()}) {
        EXPECT_FALSE(isSystem(path)) << path;
        EXPECT_FALSE(isExactly(path)) << path;
    }
}

TEST_F(SystemDirectory, IsNothingOfTwoCharacters) {
    setFolderServices({.realUserId = {}, .search = [](Kind, Domain) {
                           return std::vector<std::string>{"/a", "/\xC3\xA9"};
                       }});
    EXPECT_FALSE(isSystem("/a"));
    setFolderServices({.realUserId = {}, .search = [](Kind, Domain) {
                           return std::vector<std::string>{"/\xC3\xA9"};
                       }});
    EXPECT_FALSE(isSystem("/\xC3\xA9")) << "two characters, three bytes";
}

TEST_F(SystemDirectory, IsEverythingBelowThoseOfTheSystem) {
    for (const char* path : {"/usr/share", "/usr/sharedlocal/x", "/usr/local", "/var/log",
                             "/bin/sh", "/sbin/x", "/private/var/db", "/System/Library"}) {
        EXPECT_TRUE(isSystem(path)) << path;
        EXPECT_FALSE(isExactly(path)) << path;
    }
}

TEST_F(SystemDirectory, IsNothingBelowUsrLocal) {
    EXPECT_FALSE(isSystem("/usr/local/bin"));
    EXPECT_FALSE(isExactly("/usr/local/bin"));
}

TEST_F(SystemDirectory, LosesTwoCharactersAtATrailingSlash) {
    EXPECT_FALSE(isExactly("/usr/")) << "/us";
    EXPECT_FALSE(isSystem("/usr/"));
    EXPECT_FALSE(isSystem("/Library/"));
    EXPECT_TRUE(isExactly("/usrx/")) << "/usr, by accident";
    EXPECT_TRUE(isExactly("/usr\xC3\xA9/")) << "characters, not bytes";
    EXPECT_TRUE(isExactly("/var//"));
    EXPECT_TRUE(isSystem("/usr/share/")) << "/usr/shar";
    EXPECT_TRUE(isSystem("/usr/local/")) << "/usr/loca";
    EXPECT_FALSE(isSystem("///")) << "/";
}

TEST_F(SystemDirectory, IsNoUnknownFolder) {
    const ScopedEnvironment noHome("HOME", std::nullopt);
    EXPECT_FALSE(isSystem(""));
    EXPECT_FALSE(isSystem("Library"));
}

TEST(BackupVolume, IsOneWithTheDatabaseAmongThePathsComponents) {
    EXPECT_TRUE(FWLocalPaths::isPathOnTimeMachineVolume("/Volumes/Disk/Backups.backupdb"));
    EXPECT_TRUE(FWLocalPaths::isPathOnTimeMachineVolume("/Volumes/Disk/Backups.backupdb/Mac/a"));
    EXPECT_TRUE(FWLocalPaths::isPathOnTimeMachineVolume("/Volumes/Backups.backupdb"));
}

TEST(BackupVolume, IsNoneWithAnotherName) {
    for (const char* path :
         {"/Volumes/Disk/backups.backupdb", "/Volumes/Disk/Backups.backupdb2",
          "/Volumes/Disk/My Backups.backupdb/a", "/Volumes/Disk", "/Volumes/", ""}) {
        EXPECT_FALSE(FWLocalPaths::isPathOnTimeMachineVolume(path)) << path;
    }
}

TEST(BackupVolume, IsNoneOutsideVolumes) {
    EXPECT_FALSE(FWLocalPaths::isPathOnTimeMachineVolume("/Backups.backupdb"));
    EXPECT_FALSE(FWLocalPaths::isPathOnTimeMachineVolume("/mnt/Volumes/Backups.backupdb"));
    EXPECT_FALSE(FWLocalPaths::isPathOnTimeMachineVolume("Volumes/Backups.backupdb"));
}

} // namespace
} // namespace fw
