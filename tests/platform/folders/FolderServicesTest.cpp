#include "platform/folders/folderServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>

namespace fw {
namespace {

using testing::ElementsAre;

class FolderServicesSeam : public testing::Test {
protected:
    FolderServicesSeam() : before_(setFolderServices({})) {}
    ~FolderServicesSeam() override { setFolderServices(before_); }

private:
    FolderServices before_;
};

TEST_F(FolderServicesSeam, WithoutOthersTheMachineAnswers) {
    EXPECT_EQ(realUserId(), ::getuid());
    EXPECT_EQ(isSuperuser(), ::getuid() == 0);
    EXPECT_THAT(searchFolders(FolderKind::kLibrary, FolderDomainMask::kLocal),
                ElementsAre("/Library"));
}

TEST_F(FolderServicesSeam, OthersAnswerInItsPlace) {
    setFolderServices({.realUserId = [] { return 7U; },
                       .search =
                           [](FolderKind kind, FolderDomainMask domains) {
                               EXPECT_EQ(kind, FolderKind::kMovies);
                               EXPECT_EQ(domains, FolderDomainMask::kUser);
                               return std::vector<std::string>{"/a", "/b"};
                           }});
    EXPECT_EQ(realUserId(), 7U);
    EXPECT_FALSE(isSuperuser());
    EXPECT_THAT(searchFolders(FolderKind::kMovies, FolderDomainMask::kUser),
                ElementsAre("/a", "/b"));
}

TEST_F(FolderServicesSeam, UserZeroIsTheSuperuser) {
    setFolderServices({.realUserId = [] { return 0U; }, .search = {}});
    EXPECT_TRUE(isSuperuser());
}

TEST_F(FolderServicesSeam, SettingGivesThoseBefore) {
    setFolderServices({.realUserId = [] { return 7U; }, .search = {}});
    const FolderServices before = setFolderServices({});
    ASSERT_TRUE(before.realUserId);
    EXPECT_EQ(before.realUserId(), 7U);
    EXPECT_FALSE(before.search);
}

TEST_F(FolderServicesSeam, CanBeSetWhileOthersAsk) {
    setFolderServices({.realUserId = [] { return 1U; }, .search = {}});
    std::jthread asking([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            const unsigned user = realUserId();
            EXPECT_TRUE(user >= 1 && user <= 1'000) << user;
        }
    });
    for (unsigned user = 2; user <= 1'000; ++user) {
        setFolderServices({.realUserId = [user] { return user; }, .search = {}});
    }
}

} // namespace
} // namespace fw
