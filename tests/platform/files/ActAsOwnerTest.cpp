#include "platform/files/actAsOwner.h"

#include "platform/files/AtomicFile.h"
#include "platform/files/Folders.h"
#include "tests/support/FileText.h"
#include "tests/support/TemporaryFolder.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

namespace fw {
namespace {

using test::readText;
using test::writeText;

constexpr uid_t kUser = 1234;
constexpr gid_t kGroup = 5678;

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

/// A user's home beside things of root's.
class ActAsOwner : public testing::Test {
protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "Only root acts for others.";
        }
        ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
        ASSERT_EQ(::mkdir(home.c_str(), 0700), 0);
        giveToUser(home);
        writeText(folder.file("secret"), "secret");
        ASSERT_EQ(::chmod(folder.file("secret").c_str(), 0600), 0);
    }
    static void giveToUser(const std::string& path) {
        ASSERT_EQ(::lchown(path.c_str(), kUser, kGroup), 0) << path;
    }
    void makeUsersLink(const std::string& target, const std::string& path) const {
        std::filesystem::create_symlink(target, path);
        giveToUser(path);
    }
    static Actor write(const std::string& path) {
        return actAsOwner(path, [&] { static_cast<void>(writeFileAtomically(path, "new")); });
    }

    test::TemporaryFolder folder;
    std::string home = folder.file("home");
};

TEST_F(ActAsOwner, WhatIsMadeInAUsersFolderBelongsToThem) {
    EXPECT_EQ(write(home + "/file"), Actor::kOwner);
    EXPECT_EQ(statusOf(home + "/file").st_uid, kUser);
    EXPECT_EQ(statusOf(home + "/file").st_gid, kGroup);
}

TEST_F(ActAsOwner, WhereAllIsTheSuperusersTheActionIsDoneAsItIs) {
    for (const char* name : {"secret", "new", "a"}) {
        EXPECT_EQ(write(folder.file(name)), Actor::kSelf);
        EXPECT_EQ(statusOf(folder.file(name)).st_uid, 0U);
    }
    EXPECT_EQ(actAsOwner(folder.file("missing/file"), [] {}), Actor::kSelf);
    EXPECT_EQ(actAsOwner("", [] {}), Actor::kSelf);
}

TEST_F(ActAsOwner, AUsersFileInAFolderOfRootsLeadsNowhere) {
    giveToUser(folder.file("secret"));
    EXPECT_EQ(write(folder.file("secret")), Actor::kSelf);
    EXPECT_EQ(statusOf(folder.file("secret")).st_uid, kUser);
}

TEST_F(ActAsOwner, AUsersLinkDoesNotReachWhatTheyMayNotWrite) {
    makeUsersLink(folder.file("secret"), home + "/link");
    makeUsersLink(folder.path(), home + "/folder");
    makeUsersLink(folder.file("secret"), folder.file("link"));
    for (const std::string& path : {home + "/link", home + "/folder/secret", folder.file("link")}) {
        EXPECT_EQ(write(path), Actor::kOwner) << path;
        EXPECT_EQ(readText(folder.file("secret")), "secret") << path;
    }
    EXPECT_EQ(statusOf(folder.file("secret")).st_uid, 0U);
}

TEST_F(ActAsOwner, ALinkOfRootsLeadsToTheUserWhoseFolderItMeans) {
    for (const std::string& target : {home, std::string("home"), home + "/", home + "/missing"}) {
        const std::string link = folder.file("link");
        std::filesystem::create_symlink(target, link);
        EXPECT_EQ(actAsOwner(link + "/Library", [] {}), Actor::kOwner) << target;
        EXPECT_EQ(actAsOwner(link, [] {}), Actor::kOwner) << target;
        std::filesystem::remove(link);
    }
    std::filesystem::create_symlink(home, folder.file("relocated"));
    EXPECT_EQ(makePrivateFolder(folder.file("relocated/Library/Logs")), std::nullopt);
    EXPECT_EQ(statusOf(home + "/Library").st_uid, kUser);
    EXPECT_EQ(statusOf(home + "/Library/Logs").st_uid, kUser);
}

TEST_F(ActAsOwner, WhoeverOwnsAnythingBehindLinksOfRootsDecides) {
    ASSERT_EQ(::mkdir(folder.file("roots").c_str(), 0755), 0);
    makeUsersLink(folder.path(), home + "/back");
    std::filesystem::create_symlink("../second", folder.file("roots/first"));
    std::filesystem::create_symlink("home/back/roots", folder.file("second"));
    EXPECT_EQ(write(folder.file("roots/first/file")), Actor::kOwner);
    EXPECT_FALSE(std::filesystem::exists(folder.file("roots/file")))
        << "the user's link leads where they may not write";
}

TEST_F(ActAsOwner, LinksOfRootsAmongRootsThingsChangeNothing) {
    std::filesystem::create_symlink("secret", folder.file("file"));
    std::filesystem::create_symlink(".", folder.file("here"));
    std::filesystem::create_symlink("missing", folder.file("nowhere"));
    for (const char* path : {"file", "here/here/../here/new", "nowhere", "nowhere/file"}) {
        EXPECT_EQ(actAsOwner(folder.file(path), [] {}), Actor::kSelf) << path;
    }
}

TEST_F(ActAsOwner, LinksAreFollowedAsFarAsTheSystemFollowsThem) {
    constexpr int kMostLinks = 40;
    std::string last = home;
    for (int i = 0; i < kMostLinks; ++i) {
        const std::string next = folder.file("link" + std::to_string(i));
        std::filesystem::create_symlink(last, next);
        last = next;
    }
    EXPECT_EQ(write(last + "/file"), Actor::kOwner);
    EXPECT_EQ(statusOf(home + "/file").st_uid, kUser);
    std::filesystem::create_symlink("b", folder.file("a"));
    std::filesystem::create_symlink("a", folder.file("b"));
    EXPECT_EQ(write(folder.file("a/file")), Actor::kSelf) << "nothing can be made there";
}

TEST_F(ActAsOwner, TheFirstOtherUserOnTheWayDecides) {
    ASSERT_EQ(::mkdir((home + "/roots").c_str(), 0700), 0);
    EXPECT_EQ(write(home + "/roots/file"), Actor::kOwner);
    EXPECT_FALSE(std::filesystem::exists(home + "/roots/file"));
}

TEST_F(ActAsOwner, TheRightsComeBack) {
    EXPECT_THROW(actAsOwner(home, [] { throw std::runtime_error("in the action"); }),
                 std::runtime_error);
    actAsOwner(home, [&] {
        EXPECT_EQ(write(home + "/inner"), Actor::kOwner);
        writeText(home + "/outer", "");
    });
    EXPECT_EQ(statusOf(home + "/outer").st_uid, kUser) << "the inner one takes back only its own";
    EXPECT_EQ(::setfsuid(static_cast<uid_t>(-1)), 0);
    EXPECT_EQ(::setfsgid(static_cast<gid_t>(-1)), static_cast<int>(::getegid()));
    EXPECT_EQ(write(folder.file("mine")), Actor::kSelf);
    EXPECT_EQ(statusOf(folder.file("mine")).st_uid, 0U);
}

TEST_F(ActAsOwner, OtherGroupsOfRootsAreLaidDownAndComeBackToo) {
    const std::vector<gid_t> groups = {kGroup + 1};
    std::vector<gid_t> before(static_cast<std::size_t>(::getgroups(0, nullptr)));
    ASSERT_GE(::getgroups(static_cast<int>(before.size()), before.data()), 0);
    ASSERT_EQ(::setgroups(groups.size(), groups.data()), 0);
    int during = -1;
    actAsOwner(home, [&] { during = ::getgroups(0, nullptr); });
    const int after = ::getgroups(0, nullptr);
    ASSERT_EQ(::setgroups(before.size(), before.data()), 0);
    EXPECT_EQ(during, 0);
    EXPECT_EQ(after, 1);
}

/// Whether this process may leave a core dump.
int dumpability() {
    return ::prctl(PR_GET_DUMPABLE);
}

TEST_F(ActAsOwner, AfterwardsTheProcessMayLeaveACoreDumpAsBefore) {
    ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
    actAsOwner(home, [&] { actAsOwner(home, [] {}); });
    EXPECT_EQ(dumpability(), 1);
    ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 0), 0);
    actAsOwner(home, [] {});
    const int after = dumpability();
    ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
    EXPECT_EQ(after, 0);
}

TEST_F(ActAsOwner, ThereIsNoCoreDumpOfRootsForTheUserWhileAnyThreadActsForThem) {
    ASSERT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
    std::promise<void> isActing;
    std::promise<void> mayEnd;
    std::jthread other([&] {
        actAsOwner(home, [&] {
            isActing.set_value();
            mayEnd.get_future().wait();
        });
    });
    isActing.get_future().wait();
    const int acting = dumpability();
    actAsOwner(home, [] {});
    EXPECT_EQ(dumpability(), acting) << "as the system has it for changed rights";
    mayEnd.set_value();
    other.join();
    EXPECT_EQ(dumpability(), 1);
}

TEST_F(ActAsOwner, OtherThreadsKeepTheirRights) {
    std::promise<void> isActing;
    std::jthread other([&] {
        isActing.get_future().wait();
        writeText(folder.file("other"), "");
    });
    actAsOwner(home, [&] {
        isActing.set_value();
        other.join();
    });
    EXPECT_EQ(statusOf(folder.file("other")).st_uid, 0U);
}

TEST_F(ActAsOwner, PrivateFoldersBelongToTheUserWhoseFolderTheyAreIn) {
    EXPECT_EQ(makePrivateFolder(home + "/Library/Logs"), std::nullopt);
    for (const char* name : {"/Library", "/Library/Logs"}) {
        EXPECT_EQ(statusOf(home + name).st_uid, kUser);
        EXPECT_EQ(statusOf(home + name).st_gid, kGroup);
        EXPECT_EQ(statusOf(home + name).st_mode & 07777, 0700U);
    }
    EXPECT_EQ(makePrivateFolder(folder.file("mine")), std::nullopt);
    EXPECT_EQ(statusOf(folder.file("mine")).st_uid, 0U);
    makeUsersLink(folder.path(), home + "/folder");
    EXPECT_EQ(makePrivateFolder(home + "/folder/new").value().code, EACCES);
}

} // namespace
} // namespace fw
