#include "tests/suite/AuthorizationTest.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/WithoutPrivileges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <sys/stat.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

// Starting and ending

using FWAuthorizationStart = AuthorizationTest;

TEST_F(FWAuthorizationStart, AsksTheUserForTheRight) {
    EXPECT_FALSE(authorization_.isAuthorized());
    EXPECT_TRUE(authorization_.authStart());
    EXPECT_TRUE(authorization_.isAuthorized());
    EXPECT_NE(authorization_.authRef(), nullptr);
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request"));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, DoesNotAskWhoIsAuthorized) {
    authorize();
    EXPECT_TRUE(authorization_.authStart());
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationStart, WithoutAGuiIsNotPossible) {
    authorization_.setHasGUI(false);
    EXPECT_FALSE(authorization_.authStart());
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to authorize"));
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationStart, FailsWithoutAWordWhereNoAuthorizationCanBeMade) {
    elevation_.creationError = ENOENT;
    EXPECT_FALSE(authorization_.authStart());
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_THAT(elevation_.calls, ElementsAre("create"));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, FreesAnAuthorizationThatIsNotGivenTheRight) {
    elevation_.givesRight = false;
    EXPECT_FALSE(authorization_.authStart());
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_FALSE(authorization_.isAuthorized());
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request", "free"));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, WithUserAndPasswordHandsOnBothAsTheyAre) {
    EXPECT_TRUE(authorization_.authStartWithUser("ann\xC3\xA4", " p w\xFF"));
    EXPECT_TRUE(authorization_.isAuthorized());
    EXPECT_THAT(elevation_.calls, ElementsAre("create ann\xC3\xA4  p w\xFF", "request"));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, WithUserAndPasswordNeedsNoGui) {
    authorization_.setHasGUI(false);
    EXPECT_TRUE(authorization_.authStartWithUser("anna", ""));
    EXPECT_THAT(elevation_.calls, ElementsAre("create anna ", "request"));
}

TEST_F(FWAuthorizationStart, WithoutAUserOrAPasswordIsRefusedWithoutAWord) {
    EXPECT_FALSE(authorization_.authStartWithUser(std::nullopt, "password"));
    EXPECT_FALSE(authorization_.authStartWithUser("anna", std::nullopt));
    EXPECT_THAT(elevation_.calls, IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, WithUserAndPasswordTellsWhyNoneCanBeMade) {
    elevation_.creationError = 12;
    EXPECT_FALSE(authorization_.authStartWithUser("anna", "password"));
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to create authRef - error 12"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, AWrongPasswordIsToldToBothLogs) {
    elevation_.givesRight = false;
    EXPECT_FALSE(authorization_.authStartWithUser("anna", "secret"));
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_THAT(elevation_.calls, ElementsAre("create anna secret", "request", "free"));
    const auto message = ElementsAre("Authorization failed. Invalid username or password");
    EXPECT_THAT(systemLogged(), message);
    EXPECT_THAT(logged(), message);
}

TEST_F(FWAuthorizationStart, WithUserAndPasswordEndsTheRightBefore) {
    authorize();
    EXPECT_TRUE(authorization_.authStartWithUser("anna", "secret"));
    EXPECT_THAT(elevation_.calls, ElementsAre("free", "create anna secret", "request"));
}

TEST_F(FWAuthorizationStart, EndsOnce) {
    authorization_.authStart();
    authorization_.authEnd();
    authorization_.authEnd();
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_FALSE(authorization_.isAuthorized());
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request", "free"));
}

TEST_F(FWAuthorizationStart, ForTheSuperuserIsDoneAlready) {
    const ScopedUser superuser(ScopedUser::kSuperuser);
    authorization_.setHasGUI(false);
    EXPECT_TRUE(authorization_.isAuthorized());
    EXPECT_TRUE(authorization_.authStart());
    EXPECT_TRUE(authorization_.authStartWithUser("anna", "secret"));
    EXPECT_TRUE(authorization_.authStartWithUser(std::nullopt, std::nullopt));
    EXPECT_EQ(authorization_.authRef(), nullptr);
    EXPECT_THAT(elevation_.calls, IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationStart, TheSuperuserLetsGoOfAnAuthorizationWithoutFreeingIt) {
    authorize();
    const std::weak_ptr<Authorization> authorization = authorization_.authRef();
    const ScopedUser superuser(ScopedUser::kSuperuser);
    {
        const AuthorizationRef last = authorization_.authRef();
        authorization_.authEnd();
        EXPECT_EQ(authorization_.authRef(), nullptr);
        EXPECT_FALSE(authorization.expired());
    }
    EXPECT_TRUE(authorization.expired());
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationStart, RightsCanBeHadByAskingOrByTheSuperuser) {
    EXPECT_TRUE(authorization_.canAuthorize());
    authorization_.setHasGUI(false);
    EXPECT_FALSE(authorization_.hasGUI());
    EXPECT_FALSE(authorization_.canAuthorize());
    const ScopedUser superuser(ScopedUser::kSuperuser);
    EXPECT_TRUE(authorization_.canAuthorize());
}

// Tools

using FWAuthorizationExec = AuthorizationTest;

TEST_F(FWAuthorizationExec, RunsAToolWithItsArgumentsAsTheyAre) {
    authorize();
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {"a b", "", "\"q\"", "\xFF\n", "-x"}), 0);
    EXPECT_THAT(runs(), ElementsAre("/bin/sh [a b] [] [\"q\"] [\xFF\n] [-x]"));
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationExec, DropsTheOutputUnlessItWaits) {
    authorize();
    elevation_.output = {"piece", "\0", "last"};
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}), 0);
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}, Async::kYes), 0);
    EXPECT_THAT(runs(), ElementsAre("/bin/sh", "/bin/sh"));
}

TEST_F(FWAuthorizationExec, WaitsForTheEndOfTheStreamWhenItIsNotAsynchronous) {
    authorize();
    elevation_.output = {"one", std::string("\0", 1), "three"};
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {"x"}, Async::kNo), 0);
    EXPECT_THAT(runs(), ElementsAre("/bin/sh [x] taken"));
    EXPECT_EQ(elevation_.unreadPieces, 0);
}

TEST_F(FWAuthorizationExec, AMissingToolIsMinusTwoBeforeAnythingIsAsked) {
    EXPECT_EQ(authorization_.authExecTask(path("missing"), {}), -2);
    EXPECT_EQ(authorization_.authExecTask(path("missing"), {}, Async::kNo), -2);
    const std::string message =
        "Unable to execute task: path " + path("missing") + " doesn't exist";
    EXPECT_THAT(systemLogged(), ElementsAre(message, message));
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationExec, WithoutAGuiItIsMinusOne) {
    authorization_.setHasGUI(false);
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}), -1);
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to authorize"));
    EXPECT_THAT(runs(), IsEmpty());
}

TEST_F(FWAuthorizationExec, ARefusalIsMinusOne) {
    elevation_.givesRight = false;
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}), -1);
    EXPECT_THAT(runs(), IsEmpty());
}

TEST_F(FWAuthorizationExec, AsksForTheRightWhenItIsNeededAndKeepsIt) {
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {"1"}), 0);
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {"2"}), 0);
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request"));
    EXPECT_THAT(runs(), ElementsAre("/bin/sh [1]", "/bin/sh [2]"));
    EXPECT_TRUE(authorization_.isAuthorized());
}

TEST_F(FWAuthorizationExec, GivesTheErrorOfAToolThatWasNotStarted) {
    authorize();
    elevation_.runError = EACCES;
    elevation_.output = {"never read"};
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}), EACCES);
    EXPECT_EQ(authorization_.authExecTask("/bin/sh", {}, Async::kNo), EACCES);
    EXPECT_TRUE(authorization_.isAuthorized());
}

TEST_F(FWAuthorizationExec, FindsAToolWhereTheMachineHasIt) {
    authorize();
    setStandInTools({{"/suite/tool", "/bin/sh"}, {"/bin/rm", path("missing")}});
    EXPECT_EQ(authorization_.authExecTask("/suite/tool", {}), 0);
    EXPECT_THAT(runs(), ElementsAre("/bin/sh"));
    EXPECT_EQ(authorization_.authExecTask("/bin/rm", {}), -2);
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to execute task: path /bin/rm doesn't exist"));
}

// Refusals

class FWAuthorizationRefusals : public AuthorizationTest {
protected:
    void SetUp() override {
        AuthorizationTest::SetUp();
        authorize();
    }

    struct Operation {
        const char* message; ///< What stands before and after the path.
        std::function<bool(const std::string&)> run;
    };
    std::vector<Operation> operations() {
        FWAuthorization& all = authorization_;
        return {{"delete path ",
                 [&](const auto& path) {
                     return all.authRemoveFile(path);
                 }},
                {"trash path ",
                 [&](const auto& path) {
                     return all.authTrashFile(path);
                 }},
                {"trash folder contents of path ",
                 [&](const auto& path) {
                     return all.authTrashFolderContents(path);
                 }},
                {"move contents of path ",
                 [&](const auto& folder) {
                     return all.authMoveFolderContents(folder, path("destination"));
                 }},
                {"move path ", [&](const auto& source) {
                     return all.authMoveFile(source, path("moved"));
                 }}};
    }
    /// That this operation says so and does nothing.
    void expectRefusal(const Operation& operation, const std::string& path) {
        const std::size_t before = systemLogged().size();
        EXPECT_FALSE(operation.run(path)) << operation.message << path;
        const Texts lines = systemLogged();
        ASSERT_EQ(lines.size(), before + 1) << operation.message << path;
        EXPECT_EQ(lines.back(), std::string("Unable to ") + operation.message + path +
                                    " because it is a system directory.");
        ASSERT_THAT(runs(), IsEmpty()) << operation.message << path;
        ASSERT_THAT(recorded(), IsEmpty());
    }
};

TEST_F(FWAuthorizationRefusals, OfSystemDirectoriesByEverySpelling) {
    for (const std::string& path : refusedDirectories()) {
        for (const Operation& operation : operations()) {
            expectRefusal(operation, path);
        }
    }
}

TEST_F(FWAuthorizationRefusals, OfRelativePathsToSystemDirectories) {
    const fs::path before = fs::current_path();
    fs::current_path("/usr");
    for (const char* path : {"..", "../etc", ".", "./", "../usr"}) {
        for (const Operation& operation : operations()) {
            expectRefusal(operation, path);
        }
    }
    fs::current_path(before);
}

TEST_F(FWAuthorizationRefusals, OfSystemDirectoriesBehindLinks) {
    fs::create_symlink("/", path("top"));
    fs::create_symlink("/etc", path("link"));
    for (const std::string& way : {path("top/etc"), path("top/home/"), path("link/"),
                                   path("link/."), path("link/../etc"), path("top/.")}) {
        for (const Operation& operation : operations()) {
            expectRefusal(operation, way);
        }
    }
}

TEST_F(FWAuthorizationRefusals, OfTheContentsOfALinkToASystemDirectoryButNotOfTheLink) {
    fs::create_symlink("/etc", path("link"));
    expectRefusal(operations()[2], path("link"));
    expectRefusal(operations()[3], path("link"));
    EXPECT_TRUE(authorization_.authRemoveFile(path("link")));
    EXPECT_TRUE(authorization_.authMoveFile(path("link"), path("moved")));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/rm", {"-Rdf", path("link")}),
                                    call("/bin/mv", {"-f", path("link"), path("moved")})));
}

TEST_F(FWAuthorizationRefusals, OfALinkToASystemDirectoryWithASlashBehindIt) {
    for (const char* name : {"Documents", "Library", "Desktop"}) {
        fs::create_directories(home() + "/" + name);
        fs::create_directory_symlink(home() + "/" + name, path(name));
        for (const char* end : {"/", "//", "/."}) {
            for (const Operation& operation : operations()) {
                expectRefusal(operation, path(name) + end);
            }
        }
        EXPECT_TRUE(authorization_.authRemoveFile(path(name))) << "the link itself";
        elevation_.runs.clear();
    }
}

TEST_F(FWAuthorizationRefusals, OfTheUsersFoldersUnderTheirRealNameWhenTheHomeIsALink) {
    fs::create_directories(path("real home"));
    fs::create_directory_symlink("real home", path("home"));
    const ScopedEnvironment linked("HOME", path("home"));
    for (const char* name : {"", "/Documents", "/Library", "/Desktop"}) {
        fs::create_directories(path("real home") + name);
        for (const Operation& operation : operations()) {
            expectRefusal(operation, path("real home") + name);
        }
    }
}

TEST_F(FWAuthorizationRefusals, OfEverythingBelowProcWhoeverLooks) {
    fs::permissions(path(""), fs::perms(0755));
    fs::create_symlink("/proc/1/root", path("root"));
    fs::create_symlink("root", path("relative"));
    const Texts ways = {"/proc/1",
                        "/proc/1/root/etc",
                        "/proc/1/root/",
                        "/proc/self/root/usr/../x",
                        "/proc/1/cwd/missing",
                        "/proc/missing",
                        "/usr/../proc/1/root/x",
                        path("root/etc"),
                        path("root/x"),
                        path("relative/x/y"),
                        path("relative/")};
    for (const std::string& way : ways) {
        const WithoutPrivileges user;
        ASSERT_TRUE(user.worked());
        for (const Operation& operation : operations()) {
            expectRefusal(operation, way);
        }
    }
}

TEST_F(FWAuthorizationRefusals, OfSystemDirectoriesBehindAFolderThatIsMissing) {
    fs::create_symlink("/usr", path("usr"));
    for (const std::string& way :
         {path("usr/missing/../lib/.."), path("usr/missing/.."), std::string("/missing/../etc")}) {
        for (const Operation& operation : operations()) {
            expectRefusal(operation, way);
        }
    }
}

TEST_F(FWAuthorizationRefusals, LeaveWhatLiesWhereOneMayNotLook) {
    fs::permissions(path(""), fs::perms(0755));
    fs::create_directories(path("closed/folder"));
    made("closed/folder/file", "x");
    fs::create_symlink(path("closed/folder"), path("way"));
    fs::create_symlink(path("loop"), path("loop"));
    fs::permissions(path("closed"), fs::perms::owner_all);
    for (const char* name : {"closed", "closed/folder", "closed/folder/", "closed/folder/file",
                             "way/file", "loop", "loop/x"}) {
        elevation_.runs.clear();
        const WithoutPrivileges user;
        ASSERT_TRUE(user.worked());
        EXPECT_TRUE(authorization_.authRemoveFile(path(name))) << name;
        EXPECT_THAT(runs(), ElementsAre(call("/bin/rm", {"-Rdf", path(name)})));
    }
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationRefusals, OfOtherNamesOfTopFolders) {
    if (!fs::equivalent("/bin", "/usr/bin")) {
        GTEST_SKIP() << "Here /bin is no other name of /usr/bin.";
    }
    for (const char* folder : {"/usr/bin", "/usr/lib", "/usr/sbin/"}) {
        for (const Operation& operation : operations()) {
            expectRefusal(operation, folder);
        }
    }
}

TEST_F(FWAuthorizationRefusals, LeaveEverythingElse) {
    // Nothing runs, and no file can have a name as long as this one.
    const std::string never(300, 'x');
    Texts paths = {path("missing"), path("x/../y.mov"), home() + "/x.mov", home() + "/Movies"};
    for (const char* start :
         {"/", "/etc", "/etc/", "/etc2/../", "/boot/x/", "/homes", "/home/", "/lib/", "/usr",
          "/usr/", "/Library/", "/Users/", "/tmp/", "/procs", "/proc", "/sys", "/sys/"}) {
        paths.push_back(start + never);
    }
    for (const std::string& path : paths) {
        elevation_.runs.clear();
        EXPECT_TRUE(authorization_.authRemoveFile(path)) << path;
        EXPECT_THAT(runs(), ElementsAre(call("/bin/rm", {"-Rdf", path})));
    }
    EXPECT_THAT(systemLogged(), IsEmpty());
}

// Files

using FWAuthorizationFiles = AuthorizationTest;

TEST_F(FWAuthorizationFiles, AreRemovedWithAllThatIsInThem) {
    EXPECT_TRUE(authorization_.authRemoveFile(path("folder/")));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/rm", {"-Rdf", path("folder/")})));
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request"));
}

TEST_F(FWAuthorizationFiles, AreNotRemovedWithoutTheRight) {
    elevation_.givesRight = false;
    EXPECT_FALSE(authorization_.authRemoveFile(made("file", "x")));
    EXPECT_THAT(runs(), IsEmpty());
    elevation_.givesRight = true;
    elevation_.runError = EACCES;
    EXPECT_FALSE(authorization_.authRemoveFile(path("file")));
}

TEST_F(FWAuthorizationFiles, AreMovedAndCopied) {
    const std::string source = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authMoveFile(source, path("b.mov")));
    EXPECT_TRUE(authorization_.authCopyFile(source, path("c.mov")));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/mv", {"-f", source, path("b.mov")}),
                                    call("/bin/cp", {"-f", "-p", "-R", source, path("c.mov")})));
    EXPECT_THAT(systemLogged(), IsEmpty());
}

TEST_F(FWAuthorizationFiles, AreNotMovedOrCopiedWithoutTheRight) {
    elevation_.givesRight = false;
    const std::string source = made("a.mov", "x");
    EXPECT_FALSE(authorization_.authMoveFile(source, path("b.mov")));
    EXPECT_FALSE(authorization_.authCopyFile(source, path("c.mov")));
    EXPECT_FALSE(authorization_.authCreateDir(path("folder")));
    EXPECT_THAT(runs(), IsEmpty());
}

TEST_F(FWAuthorizationFiles, ANullPathIsToldInTheOperationsWords) {
    const std::string file = made("file", "x");
    EXPECT_FALSE(authorization_.authMoveFile(std::nullopt, path("x")));
    EXPECT_FALSE(authorization_.authMoveFile(file, std::nullopt));
    EXPECT_FALSE(authorization_.authMoveFile(std::nullopt, std::nullopt));
    EXPECT_FALSE(authorization_.authCopyFile(std::nullopt, path("x")));
    EXPECT_FALSE(authorization_.authCopyFile(file, std::nullopt));
    EXPECT_THAT(systemLogged(), ElementsAre("Error in authMoveFile: old path is null",
                                            "Error in authMoveFile: new path is null",
                                            "Error in authMoveFile: old path is null",
                                            "Error in authCopyFile: old path is null",
                                            "Error in authCopyFile: new path is null"));
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationFiles, AMissingSourceIsRefusedWithoutAWord) {
    EXPECT_FALSE(authorization_.authMoveFile(path("missing"), path("x")));
    EXPECT_FALSE(authorization_.authCopyFile(path("missing"), path("x")));
    EXPECT_FALSE(authorization_.authMoveFile("", path("x")));
    fs::create_symlink(path("missing"), path("dangling"));
    EXPECT_FALSE(authorization_.authMoveFile(path("dangling"), path("x")));
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_THAT(elevation_.calls, IsEmpty());
}

TEST_F(FWAuthorizationFiles, AreCopiedFromSystemDirectoriesToo) {
    EXPECT_TRUE(authorization_.authCopyFile("/etc", path("copy")));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/cp", {"-f", "-p", "-R", "/etc", path("copy")})));
}

TEST_F(FWAuthorizationFiles, AFolderIsMadeWithItsParentsAndGivenAMoment) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(authorization_.authCreateDir(path("a/b")));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(500));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/mkdir", {"-p", path("a/b")})));
}

TEST_F(FWAuthorizationFiles, ANameThatLooksLikeAnOptionIsNone) {
    const fs::path before = fs::current_path();
    fs::current_path(fs::path(path("x")).parent_path());
    made("-rf", "x");
    EXPECT_TRUE(authorization_.authRemoveFile("-rf"));
    EXPECT_TRUE(authorization_.authMoveFile("-rf", "-t"));
    EXPECT_TRUE(authorization_.authCopyFile("-rf", "-t"));
    EXPECT_TRUE(authorization_.authCreateDir("-m"));
    fs::current_path(before);
    EXPECT_THAT(runs(), ElementsAre(call("/bin/rm", {"-Rdf", "./-rf"}),
                                    call("/bin/mv", {"-f", "./-rf", "./-t"}),
                                    call("/bin/cp", {"-f", "-p", "-R", "./-rf", "./-t"}),
                                    call("/bin/mkdir", {"-p", "./-m"})));
}

TEST_F(FWAuthorizationFiles, TakeNamesThatAreNoText) {
    const std::string source = made("\xFF\xC3.mov", "x");
    EXPECT_TRUE(authorization_.authMoveFile(source, path("\xFE")));
    EXPECT_TRUE(authorization_.authTrashFile(source));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/mv", {"-f", source, path("\xFE")}),
                                    call("/bin/mv", {"-f", source, trash() + "/\xFF\xC3.mov"})));
}

// The Trash

class FWAuthorizationTrash : public AuthorizationTest {
protected:
    ~FWAuthorizationTrash() override { fs::remove_all(trash()); }

    void SetUp() override {
        AuthorizationTest::SetUp();
        authorize();
        fs::remove_all(trash());
    }

    static std::string inTrash(const std::string& name) { return trash() + "/" + name; }
    static void putIntoTrash(const std::string& name) {
        fs::create_directories(trash());
        writeText(inTrash(name), "was here before");
    }
    /// The last name that something was to be moved to.
    std::string destination() const {
        const std::string before = inTrash("");
        const std::string& run = elevation_.runs.back();
        const std::size_t start = run.rfind(before) + before.size();
        return run.substr(start, run.size() - 1 - start);
    }
    /// std::time() runs up to a tick behind the clock that names are made from.
    static std::time_t now() {
        return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    }
    /// The local time in a name, as seconds of the clock.
    static std::time_t timeIn(const std::string& name) {
        std::tm local = {};
        ::strptime(name.substr(name.find('_') + 1, 14).c_str(), "%Y%m%d%H%M%S", &local);
        local.tm_isdst = -1;
        return std::mktime(&local);
    }
};

TEST_F(FWAuthorizationTrash, TakesAnItemUnderItsName) {
    const std::string item = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authTrashFile(item));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/mv", {"-f", item, inTrash("a.mov")})));
}

TEST_F(FWAuthorizationTrash, IsMadeForItsOwnerAlone) {
    EXPECT_TRUE(authorization_.authTrashFile(made("a.mov", "x")));
    struct stat status {};
    ASSERT_EQ(::stat(trash().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(FWAuthorizationTrash, AddsTheLocalTimeToANameThatIsTaken) {
    putIntoTrash("a.mov");
    const std::time_t before = now();
    EXPECT_TRUE(authorization_.authTrashFile(made("a.mov", "x")));
    EXPECT_THAT(destination(), MatchesRegex("a_[0-9]{14}\\.mov"));
    EXPECT_GE(timeIn(destination()), before);
    EXPECT_LE(timeIn(destination()), now());
}

TEST_F(FWAuthorizationTrash, LeavesAFullStopBehindANameWithoutExtension) {
    putIntoTrash("clip");
    putIntoTrash(".hidden");
    EXPECT_TRUE(authorization_.authTrashFile(made("clip", "x")));
    EXPECT_THAT(destination(), MatchesRegex("clip_[0-9]{14}\\."));
    EXPECT_TRUE(authorization_.authTrashFile(made(".hidden", "x")));
    EXPECT_THAT(destination(), MatchesRegex("\\.hidden_[0-9]{14}\\."));
}

TEST_F(FWAuthorizationTrash, KeepsAllButTheLastExtension) {
    putIntoTrash("a.b.mov");
    EXPECT_TRUE(authorization_.authTrashFile(made("a.b.mov", "x")));
    EXPECT_THAT(destination(), MatchesRegex("a\\.b_[0-9]{14}\\.mov"));
}

TEST_F(FWAuthorizationTrash, GoesToTheNextSecondThatIsFree) {
    putIntoTrash("a.mov");
    const std::string item = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authTrashFile(item));
    const std::string first = destination();
    putIntoTrash(first);
    EXPECT_TRUE(authorization_.authTrashFile(item));
    EXPECT_THAT(destination(), MatchesRegex("a_[0-9]{14}\\.mov"));
    EXPECT_GT(timeIn(destination()), timeIn(first));
    EXPECT_LE(timeIn(destination()), now() + 1);
}

TEST_F(FWAuthorizationTrash, LooksForAFreeNameWhenTheUserHasAnswered) {
    const std::string item = made("a.mov", "x");
    authorization_.setAuthRef(nullptr);
    elevation_.whenRequested = [] {
        putIntoTrash("a.mov");
    };
    EXPECT_TRUE(authorization_.authTrashFile(item));
    EXPECT_THAT(destination(), MatchesRegex("a_[0-9]{14}\\.mov"));
}

TEST_F(FWAuthorizationTrash, CountsALinkThatLeadsNowhereAsTaken) {
    fs::create_directories(trash());
    fs::create_symlink("/nonexistent/target", inTrash("a.mov"));
    EXPECT_TRUE(authorization_.authTrashFile(made("a.mov", "x")));
    EXPECT_THAT(destination(), MatchesRegex("a_[0-9]{14}\\.mov"));
}

TEST_F(FWAuthorizationTrash, IgnoresTheWishToDeleteOfWhoIsNotTheSuperuser) {
    const std::string item = made("a.mov", "x");
    EXPECT_TRUE(authorization_.authTrashFile(item, DeleteOnRootAccount::kYes));
    EXPECT_THAT(runs(), ElementsAre(call("/bin/mv", {"-f", item, inTrash("a.mov")})));
}

TEST_F(FWAuthorizationTrash, AMissingItemIsRefusedWithoutAWord) {
    EXPECT_FALSE(authorization_.authTrashFile(path("missing")));
    EXPECT_FALSE(authorization_.authTrashFile(""));
    EXPECT_THAT(runs(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
    EXPECT_FALSE(fs::exists(trash())) << "nothing is made for that";
}

TEST_F(FWAuthorizationTrash, IsNotMadeForASystemDirectory) {
    EXPECT_FALSE(authorization_.authTrashFile("/usr"));
    EXPECT_FALSE(fs::exists(trash()));
}

TEST_F(FWAuthorizationTrash, IsNotMadeForWhoHasNoRights) {
    const std::string item = made("a.mov", "x");
    authorization_.setAuthRef(nullptr);
    elevation_.givesRight = false;
    elevation_.calls.clear();
    EXPECT_FALSE(authorization_.authTrashFile(item));
    EXPECT_THAT(elevation_.calls, ElementsAre("create", "request", "free")) << "asked for once";
    authorization_.setHasGUI(false);
    EXPECT_FALSE(authorization_.authTrashFile(item));
    EXPECT_THAT(systemLogged(), ElementsAre("Unable to authorize"));
    EXPECT_THAT(runs(), IsEmpty());
    EXPECT_FALSE(fs::exists(trash()));
}

TEST_F(FWAuthorizationTrash, WithoutAHomeThereIsNone) {
    const std::string item = made("a.mov", "x");
    const std::string before = home();
    ::unsetenv("HOME"); // Nor is the user in the account database.
    EXPECT_FALSE(authorization_.authTrashFile(item));
    ::setenv("HOME", before.c_str(), 1);
    EXPECT_THAT(runs(), IsEmpty());
}

TEST_F(FWAuthorizationTrash, IsThatOfWhoMadeTheInstanceWhenTheUserHasBecomeTheSuperuser) {
    setStandInTools({}); // A real move, in folders of this test.
    const std::string item = made("a.mov", "moved");
    const std::string itsHome = home();
    fs::create_directories(trash());
    const ScopedUser superuser(ScopedUser::kSuperuser);
    ::setenv("HOME", path("another home").c_str(), 1);
    EXPECT_TRUE(authorization_.authTrashFile(item, DeleteOnRootAccount::kYes));
    ::setenv("HOME", itsHome.c_str(), 1);
    finishTools();
    EXPECT_EQ(readText(inTrash("a.mov")), "moved");
    EXPECT_FALSE(exists("a.mov"));
    EXPECT_FALSE(exists("another home"));
}

TEST_F(FWAuthorizationTrash, KeepsBothWhenItHoldsOneOfThatNameAlready) {
    setStandInTools({}); // A real move, in folders of this test.
    putIntoTrash("a.mov");
    const std::string item = made("a.mov", "second");
    const ScopedUser superuser(ScopedUser::kSuperuser);
    EXPECT_TRUE(authorization_.authTrashFile(item));
    finishTools();
    EXPECT_FALSE(exists("a.mov"));
    Texts names;
    for (const auto& entry : fs::directory_iterator(trash())) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, UnorderedElementsAre("a.mov", MatchesRegex("a_[0-9]{14}\\.mov")));
    EXPECT_EQ(readText(inTrash("a.mov")), "was here before");
}

// Whole folders

class FWAuthorizationFolders : public FWAuthorizationTrash {
protected:
    void SetUp() override {
        FWAuthorizationTrash::SetUp();
        for (const char* name : {"b", "a", "c"}) {
            fs::create_directories(path("folder"));
            made(std::string("folder/") + name, name);
        }
        fs::create_directories(path("empty"));
    }
    /// The names in the order of the file system.
    Texts names() const {
        Texts names;
        for (const auto& entry : fs::directory_iterator(path("folder"))) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
    Texts moves(const std::string& destination) const {
        Texts moves;
        for (const std::string& name : names()) {
            moves.push_back(
                call("/bin/mv", {"-f", path("folder/" + name), destination + "/" + name}));
        }
        return moves;
    }
};

TEST_F(FWAuthorizationFolders, AreEmptiedIntoTheTrashInListingOrder) {
    EXPECT_TRUE(authorization_.authTrashFolderContents(path("folder")));
    EXPECT_EQ(runs(), moves(trash()));
    elevation_.runs.clear();
    EXPECT_TRUE(authorization_.authTrashFolderContents(path("folder"), DeleteOnRootAccount::kYes));
    EXPECT_EQ(runs(), moves(trash()));
}

TEST_F(FWAuthorizationFolders, AreEmptiedIntoAnother) {
    EXPECT_TRUE(authorization_.authMoveFolderContents(path("folder"), path("other")));
    EXPECT_EQ(runs(), moves(path("other")));
    elevation_.runs.clear();
    EXPECT_TRUE(authorization_.authMoveFolderContents(path("folder") + "/", path("other") + "/"));
    EXPECT_EQ(runs(), moves(path("other")));
}

TEST_F(FWAuthorizationFolders, EveryItemIsTriedWhenOneFails) {
    elevation_.runError = EACCES;
    EXPECT_FALSE(authorization_.authTrashFolderContents(path("folder")));
    EXPECT_EQ(elevation_.runs.size(), 3U);
    EXPECT_FALSE(authorization_.authMoveFolderContents(path("folder"), path("other")));
    EXPECT_EQ(elevation_.runs.size(), 6U);
    elevation_.runs.clear();
    elevation_.runError = 0;
    fs::create_symlink(path("missing"), path("folder/dangling")); // Counts as missing.
    EXPECT_FALSE(authorization_.authMoveFolderContents(path("folder"), path("other")));
    EXPECT_EQ(elevation_.runs.size(), 3U);
}

TEST_F(FWAuthorizationFolders, AnEmptyOrUnreadableFolderIsDone) {
    for (const std::string& folder : {path("empty"), path("missing"), path("folder/a")}) {
        EXPECT_TRUE(authorization_.authTrashFolderContents(folder));
        EXPECT_TRUE(authorization_.authMoveFolderContents(folder, path("other")));
    }
    EXPECT_THAT(runs(), IsEmpty());
    EXPECT_THAT(systemLogged(), IsEmpty());
}

} // namespace
} // namespace fw
