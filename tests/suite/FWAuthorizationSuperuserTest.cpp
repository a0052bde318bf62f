// The instance of this program is made for the superuser, whoever runs it.
#include "tests/suite/AuthorizationTest.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

class BySuperuser {
protected:
    const ScopedUser superuser_{ScopedUser::kSuperuser};
};

class FWAuthorizationSuperuser : private BySuperuser, public AuthorizationTest {
protected:
    ~FWAuthorizationSuperuser() override { EXPECT_THAT(elevation_.calls, IsEmpty()); }

    void SetUp() override {
        AuthorizationTest::SetUp();
        authorization_.setHasGUI(false);
    }

    /// A tool that does not end before something is written into the pipe "go".
    std::string waitingTool() const {
        ::mkfifo(path("go").c_str(), 0600);
        made("waiting", "#!/bin/sh\nread -r line <\"${0%/*}/go\"\necho \"$@\" >\"${0%/*}/done\"\n");
        fs::permissions(path("waiting"), fs::perms::owner_all);
        return path("waiting");
    }
    void letItEnd() const { std::ofstream(path("go")) << "on\n"; }
};

TEST_F(FWAuthorizationSuperuser, RunsAnAsynchronousToolWithoutWaiting) {
    EXPECT_EQ(authorization_.authExecTask(waitingTool(), {"a b"}), 0);
    EXPECT_FALSE(exists("done"));
    letItEnd();
    finishTools();
    EXPECT_EQ(contents("done"), "a b\n");
    EXPECT_THAT(runs(), IsEmpty());
}

TEST_F(FWAuthorizationSuperuser, WaitsForATool) {
    made("tool", "#!/bin/sh\nsleep 0.1\necho done >\"${0%/*}/done\"\nexit 3\n");
    fs::permissions(path("tool"), fs::perms::owner_all);
    EXPECT_EQ(authorization_.authExecTask(path("tool"), {}, Async::kNo), 0)
        << "its status is not looked at";
    EXPECT_TRUE(exists("done"));
}

TEST_F(FWAuthorizationSuperuser, AMissingToolIsMinusTwo) {
    EXPECT_EQ(authorization_.authExecTask(path("missing"), {}), -2);
    EXPECT_THAT(systemLogged(),
                ElementsAre("Unable to execute task: path " + path("missing") + " doesn't exist"));
}

TEST_F(FWAuthorizationSuperuser, MovesCopiesAndMakesFoldersAsSoonAsTheToolHasBeenStarted) {
    const std::string source = made("a.mov", "x");
    setStandInTools({{"/bin/mv", waitingTool()}});
    EXPECT_TRUE(authorization_.authMoveFile(source, path("b.mov")));
    EXPECT_FALSE(exists("done"));
    letItEnd();
    finishTools();
    EXPECT_EQ(contents("done"), "-f " + source + " " + path("b.mov") + "\n");

    setStandInTools({{"/bin/cp", path("waiting")}});
    EXPECT_TRUE(authorization_.authCopyFile(source, path("b.mov")));
    letItEnd();
    finishTools();
    EXPECT_EQ(contents("done"), "-f -p -R " + source + " " + path("b.mov") + "\n");

    setStandInTools({{"/bin/mkdir", path("waiting")}});
    EXPECT_TRUE(authorization_.authCreateDir(path("x/y")));
    letItEnd();
    finishTools();
    EXPECT_EQ(contents("done"), "-p " + path("x/y") + "\n");
}

TEST_F(FWAuthorizationSuperuser, CountsAToolThatCannotRunAsStarted) {
    setStandInTools({{"/bin/mv", path("missing")}, {"/bin/mkdir", path("missing")}});
    testing::internal::CaptureStdout();
    EXPECT_TRUE(authorization_.authMoveFile(made("a", "x"), path("b")));
    EXPECT_TRUE(authorization_.authCreateDir(path("c")));
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(logged(), ElementsAre("Error: /bin/mv is not executable",
                                      "Error: /bin/mkdir is not executable"));
    EXPECT_TRUE(exists("a"));
}

TEST_F(FWAuthorizationSuperuser, RemovesThroughTheTaskRunner) {
    EXPECT_TRUE(authorization_.authRemoveFile(path("file")));
    EXPECT_THAT(recorded(), ElementsAre(call("/bin/rm", {"-Rdf", path("file")})));
}

TEST_F(FWAuthorizationSuperuser, IsRefusedSystemDirectoriesLikeEveryoneElse) {
    for (const std::string& folder : refusedDirectories()) {
        EXPECT_FALSE(authorization_.authRemoveFile(folder)) << folder;
        EXPECT_FALSE(authorization_.authTrashFile(folder, DeleteOnRootAccount::kYes)) << folder;
        EXPECT_FALSE(authorization_.authTrashFolderContents(folder, DeleteOnRootAccount::kYes))
            << folder;
        EXPECT_FALSE(authorization_.authMoveFile(folder, path("x"))) << folder;
        EXPECT_FALSE(authorization_.authMoveFolderContents(folder, path("x"))) << folder;
    }
    EXPECT_EQ(systemLogged().size(), 5 * refusedDirectories().size());
    EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(FWAuthorizationSuperuser, TrashesIntoItsOwnTrash) {
    const std::string item = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authTrashFile(item));
    EXPECT_THAT(recorded(), ElementsAre(call("/bin/mv", {"-f", item, trash() + "/a.mov"})));
    fs::remove_all(trash());
}

TEST_F(FWAuthorizationSuperuser, MakesNoTrashInTheHomeOfAnotherUser) {
    constexpr uid_t kOther = 65534;
    const std::string item = made("a.mov", "x");
    fs::create_directories(path("home"));
    if (::chown(path("home").c_str(), kOther, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "Only root can give a folder away.";
    }
    const ScopedEnvironment theirs("HOME", path("home"));
    EXPECT_TRUE(authorization_.authTrashFile(item));
    EXPECT_THAT(recorded(), ElementsAre(call("/bin/mv", {"-f", item, trash() + "/a.mov"})));
    EXPECT_FALSE(fs::exists(trash())) << "it would be root's";
}

TEST_F(FWAuthorizationSuperuser, RemovesTheDestinationAndNotTheItemWhenItDeletes) {
    const std::string item = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authTrashFile(item, DeleteOnRootAccount::kYes));
    EXPECT_THAT(recorded(), ElementsAre(call("/bin/rm", {"-Rdf", trash() + "/a.mov"})));
    EXPECT_FALSE(fs::exists(trash())) << "nothing is made for that";
}

TEST_F(FWAuthorizationSuperuser, RemovesWhatHasNoNameYetWhenTheTrashHoldsTheItemsName) {
    fs::create_directories(trash());
    writeText(trash() + "/a.mov", "was here before");
    EXPECT_TRUE(authorization_.authTrashFile(made("a.mov", "x"), DeleteOnRootAccount::kYes));
    EXPECT_THAT(recorded(), ElementsAre(MatchesRegex(
                                "/bin/rm \\[-Rdf\\] \\[.*/\\.Trash/a_[0-9]{14}\\.mov\\]")));
    fs::remove_all(trash());
}

TEST_F(FWAuthorizationSuperuser, RemovesTheContentsOfAFolderWhenItDeletes) {
    fs::create_directories(path("folder/sub"));
    made("folder/file", "x");
    EXPECT_TRUE(authorization_.authTrashFolderContents(path("folder"), DeleteOnRootAccount::kYes));
    EXPECT_THAT(recorded(),
                UnorderedElementsAre(call("/bin/rm", {"-R", "-f", path("folder/sub")}),
                                     call("/bin/rm", {"-R", "-f", path("folder/file")})));
}

TEST_F(FWAuthorizationSuperuser, TrashesTheContentsOfAFolderOtherwise) {
    fs::create_directories(path("folder"));
    made("folder/file", "x");
    EXPECT_TRUE(authorization_.authTrashFolderContents(path("folder")));
    EXPECT_THAT(recorded(),
                ElementsAre(call("/bin/mv", {"-f", path("folder/file"), trash() + "/file"})));
    fs::remove_all(trash());
}

TEST_F(FWAuthorizationSuperuser, SparesASystemDirectoryAmongTheContents) {
    fs::create_directories(path("folder/home"));
    made("folder/file", "x");
    const ScopedEnvironment homeInside("HOME", path("folder/home"));
    EXPECT_FALSE(authorization_.authTrashFolderContents(path("folder"), DeleteOnRootAccount::kYes));
    EXPECT_THAT(recorded(), ElementsAre(call("/bin/rm", {"-R", "-f", path("folder/file")})));
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to delete path " + path("folder/home") +
                                            " because it is a system directory."));
}

TEST_F(FWAuthorizationSuperuser, FailsWhenAToolIsMissing) {
    fs::create_directories(path("folder"));
    made("folder/file", "x");
    setStandInTools({{"/bin/rm", path("missing")}});
    EXPECT_FALSE(authorization_.authRemoveFile(path("folder/file")));
    EXPECT_FALSE(authorization_.authTrashFolderContents(path("folder"), DeleteOnRootAccount::kYes));
    const std::string message = "Unable to execute task: path /bin/rm doesn't exist";
    EXPECT_THAT(systemLogged(), ElementsAre(message, message));
}

TEST_F(FWAuthorizationSuperuser, RealToolsDoWhatTheOperationsSay) {
    setStandInTools({}); // In the folder of this test only.
    EXPECT_TRUE(authorization_.authCreateDir(path("a/b")));
    finishTools();
    ASSERT_TRUE(exists("a/b"));
    made("a/b/one", "1");
    fs::create_symlink("one", path("a/b/link"));
    EXPECT_TRUE(authorization_.authCopyFile(path("a"), path("copy")));
    finishTools();
    EXPECT_EQ(contents("copy/b/one"), "1");
    EXPECT_EQ(fs::read_symlink(path("copy/b/link")), "one");
    fs::create_directories(path("other"));
    EXPECT_TRUE(authorization_.authMoveFolderContents(path("copy"), path("other")));
    finishTools();
    EXPECT_EQ(contents("other/b/one"), "1");
    EXPECT_FALSE(exists("copy/b"));
    EXPECT_TRUE(authorization_.authRemoveFile(path("a")));
    finishTools();
    EXPECT_FALSE(exists("a"));
    EXPECT_TRUE(exists("other"));
}

} // namespace
} // namespace fw
