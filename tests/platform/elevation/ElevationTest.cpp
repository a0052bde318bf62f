#include "platform/elevation/Elevation.h"

#include "platform/process/ChildProcess.h"
#include "tests/platform/elevation/FakeSudo.h"
#include "tests/support/FileText.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>
#include <vector>

namespace fw {
namespace {

using namespace test;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kPassword = FakeSudo::kPassword;
constexpr const char* kMark = "FERNWICK_AUTHORIZED";
constexpr const char* kHasTicket = "sudo [-n] [-v]";
constexpr const char* kMayRun = "sudo [-n] [-l] [--] [/bin/sh]";
constexpr const char* kIsRight = "sudo [-S] [-k] [-p] [] [-v]";
constexpr const char* kEnd = "sudo [-k]";

/// Empty where the user has no account, as in some containers.
std::string ownName() {
    const passwd* const account = ::getpwuid(::getuid());
    return account == nullptr ? std::string() : account->pw_name;
}

/// Of somebody else who has an account.
std::string otherName() {
    return ::getuid() == 0 ? "nobody" : "root";
}

class Elevation : public testing::Test {
protected:
    /// An authorization that asks the user, who answers.
    AuthorizationRef granted() {
        sudo_.answerPrompts();
        auto authorization = created(createAuthorization());
        EXPECT_TRUE(authorization->requestAdministratorRight());
        sudo_.calls();
        return authorization;
    }
    static AuthorizationRef created(Result<AuthorizationRef> authorization) {
        EXPECT_TRUE(authorization);
        return authorization ? std::move(authorization).value() : nullptr;
    }
    /// The error of a run, or 0.
    static std::int64_t errorOfRun(const AuthorizationRef& authorization) {
        const auto stream = authorization->run("/bin/true", {}, ToolOutput::kDropped);
        return stream ? 0 : stream.error().code;
    }
    static std::string outputOfRun(const AuthorizationRef& authorization, const std::string& script,
                                   std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"-c", script});
        auto stream = authorization->run("/bin/sh", arguments, ToolOutput::kTaken);
        EXPECT_TRUE(stream);
        std::string whole;
        for (std::string piece = stream.value()->read(); !piece.empty();
             piece = stream.value()->read()) {
            whole += piece;
        }
        return whole;
    }
    /// What a child of this process finds in the mark's place.
    static std::string markOfChildren() {
        ChildProcessOptions options;
        options.path = "/bin/sh";
        options.arguments = {"-c", "printf '%s' \"${FERNWICK_AUTHORIZED-none}\""};
        options.standardOutput = ChildStream::kPipe;
        const auto child = ChildProcess::start(options);
        EXPECT_TRUE(child);
        return child.value()->availableOutput();
    }

    const ScopedEnvironment unmarked_{kMark, std::nullopt};
    FakeSudo sudo_;
};

/// What needs an account of the user who runs the test.
class ElevationOfUser : public Elevation {
protected:
    void SetUp() override {
        if (ownName().empty()) {
            GTEST_SKIP() << "The user of this process has no account.";
        }
    }
};

// Handed down

TEST_F(Elevation, WithoutTheMarkNobodyLooksForATicket) {
    sudo_.giveTicket();
    EXPECT_EQ(adoptedAuthorization(), nullptr);
    EXPECT_THAT(sudo_.calls(), IsEmpty());
}

TEST_F(Elevation, TheMarkAloneGivesNoRight) {
    const ScopedEnvironment marked(kMark, "1");
    EXPECT_EQ(adoptedAuthorization(), nullptr);
    EXPECT_THAT(sudo_.calls(), ElementsAre(kHasTicket));
    sudo_.giveTicket();
    sudo_.withholdRight();
    EXPECT_EQ(adoptedAuthorization(), nullptr);
    EXPECT_THAT(sudo_.calls(), ElementsAre(kHasTicket, kMayRun));
}

TEST_F(Elevation, AParentsTicketIsUsedAndLeftToTheParent) {
    const ScopedEnvironment marked(kMark, "1");
    sudo_.giveTicket();
    auto authorization = adoptedAuthorization();
    ASSERT_NE(authorization, nullptr);
    EXPECT_EQ(outputOfRun(authorization, "echo ran"), "ran\n");
    authorization->free();
    EXPECT_EQ(errorOfRun(authorization), EACCES);
    authorization.reset();
    EXPECT_TRUE(sudo_.hasTicket());
    EXPECT_THAT(sudo_.calls(),
                ElementsAre(kHasTicket, kMayRun, "sudo [-n] [-b] [--] [/bin/sh] [-c] [echo ran]"));
}

TEST_F(ElevationOfUser, WhoFindsTheMarkEndsNoTicket) {
    const ScopedEnvironment marked(kMark, "1");
    sudo_.giveTicket();
    const auto mistaken = created(createAuthorization(ownName(), "wrong"));
    EXPECT_FALSE(mistaken->requestAdministratorRight());
    EXPECT_EQ(errorOfRun(mistaken), EACCES);
    auto withPassword = created(createAuthorization(ownName(), kPassword));
    EXPECT_TRUE(withPassword->requestAdministratorRight());
    withPassword->free();
    EXPECT_EQ(errorOfRun(withPassword), EACCES);
    sudo_.answerPrompts();
    EXPECT_TRUE(created(createAuthorization())->requestAdministratorRight());
    sudo_.withholdRight();
    EXPECT_FALSE(created(createAuthorization())->requestAdministratorRight());
    EXPECT_TRUE(sudo_.hasTicket());
    EXPECT_THAT(sudo_.calls(), Not(Contains(kEnd)));
    EXPECT_EQ(markOfChildren(), "1") << "the parent's, which has not ended";
}

// Asking the user

TEST_F(Elevation, AsksOnTheTerminalOrByTheHelperProgram) {
    sudo_.answerPrompts();
    const auto authorization = created(createAuthorization());
    EXPECT_THAT(sudo_.calls(), IsEmpty()) << "making it asks nothing";
    EXPECT_TRUE(authorization->requestAdministratorRight());
    EXPECT_THAT(sudo_.calls(), ElementsAre(AnyOf("sudo [-v]", "sudo [-A] [-v]"), kMayRun));
}

TEST_F(Elevation, AUserWhoGivesNoPasswordHasNoRight) {
    const auto authorization = created(createAuthorization());
    EXPECT_FALSE(authorization->requestAdministratorRight());
    EXPECT_EQ(sudo_.calls().size(), 1U);
    EXPECT_EQ(markOfChildren(), "none");
    EXPECT_EQ(errorOfRun(authorization), EACCES);
    authorization->free();
    EXPECT_THAT(sudo_.calls(), IsEmpty()) << "there is nothing to end";
}

TEST_F(Elevation, ATicketWithoutTheWholeRightIsEndedAtOnce) {
    sudo_.answerPrompts();
    sudo_.withholdRight();
    const auto authorization = created(createAuthorization());
    EXPECT_FALSE(authorization->requestAdministratorRight());
    EXPECT_FALSE(sudo_.hasTicket());
    EXPECT_EQ(markOfChildren(), "none");
    EXPECT_EQ(errorOfRun(authorization), EACCES);
}

TEST_F(Elevation, ChildrenAreToldAsLongAsTheRightIsThere) {
    EXPECT_EQ(markOfChildren(), "none");
    const auto authorization = granted();
    EXPECT_EQ(markOfChildren(), "1");
    EXPECT_EQ(std::getenv(kMark), nullptr) << "our own environment stays";
    authorization->free();
    EXPECT_EQ(markOfChildren(), "none");
}

TEST_F(Elevation, TheTicketEndsOnceWithTheAuthorization) {
    auto authorization = granted();
    authorization->free();
    authorization->free();
    EXPECT_FALSE(sudo_.hasTicket());
    EXPECT_EQ(errorOfRun(authorization), EACCES);
    authorization.reset();
    EXPECT_THAT(sudo_.calls(), ElementsAre(kEnd));
}

TEST_F(Elevation, TheTicketEndsWithTheLastUserOfTheAuthorization) {
    granted().reset();
    EXPECT_FALSE(sudo_.hasTicket());
    EXPECT_THAT(sudo_.calls(), ElementsAre(kEnd));
    EXPECT_EQ(markOfChildren(), "none");
}

TEST_F(Elevation, WhoCanAskAsksAgainWhenTheTicketHasExpired) {
    const auto authorization = granted();
    sudo_.takeTicket();
    EXPECT_EQ(errorOfRun(authorization), 0);
    const auto calls = sudo_.calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0], kHasTicket);
    EXPECT_THAT(calls[1], HasSubstr("[-v]"));
    EXPECT_EQ(calls[2], "sudo [-n] [-b] [--] [/bin/true]");
}

// With a password

TEST_F(ElevationOfUser, ThePasswordOfTheUserGetsATicketAndIsForgotten) {
    sudo_.giveTicket(); // One that is there already must not stand for the password.
    const auto authorization = created(createAuthorization(ownName(), kPassword));
    EXPECT_THAT(sudo_.calls(), IsEmpty());
    EXPECT_TRUE(authorization->requestAdministratorRight());
    EXPECT_THAT(sudo_.calls(), ElementsAre(kIsRight, kHasTicket, kMayRun));
    EXPECT_EQ(markOfChildren(), "1");
    EXPECT_EQ(errorOfRun(authorization), 0);
    EXPECT_THAT(sudo_.calls(), ElementsAre("sudo [-n] [-b] [--] [/bin/true]"));

    EXPECT_FALSE(authorization->requestAdministratorRight()) << "there is no password any more";
    EXPECT_THAT(sudo_.calls(), ElementsAre(kEnd));
    EXPECT_EQ(markOfChildren(), "none");
}

TEST_F(ElevationOfUser, ThePasswordOfTheUserGetsATicketWhereThereIsNone) {
    const auto authorization = created(createAuthorization(ownName(), kPassword));
    EXPECT_TRUE(authorization->requestAdministratorRight());
    EXPECT_TRUE(sudo_.hasTicket());
    EXPECT_THAT(sudo_.calls(),
                ElementsAre(kIsRight, kHasTicket, "sudo [-S] [-p] [] [-v]", kMayRun));
}

TEST_F(ElevationOfUser, AnExpiredTicketOfAPasswordIsAnError) {
    const auto authorization = created(createAuthorization(ownName(), kPassword));
    EXPECT_TRUE(authorization->requestAdministratorRight());
    sudo_.takeTicket();
    EXPECT_EQ(errorOfRun(authorization), EACCES);
}

TEST_F(ElevationOfUser, AWrongPasswordIsRefused) {
    sudo_.giveTicket();
    for (const std::string& password :
         {std::string("wrong"), std::string(), kPassword + " ", kPassword.substr(1)}) {
        const auto authorization = created(createAuthorization(ownName(), password));
        EXPECT_FALSE(authorization->requestAdministratorRight()) << password;
        EXPECT_EQ(errorOfRun(authorization), EACCES);
    }
    EXPECT_TRUE(sudo_.hasTicket()) << "it was not got here";
    EXPECT_EQ(markOfChildren(), "none");
}

TEST_F(Elevation, AnAdministratorsPasswordIsGivenTwiceToEachCall) {
    const auto authorization = created(createAuthorization(otherName(), kPassword));
    EXPECT_TRUE(authorization->requestAdministratorRight());
    const std::string start = "su [-s] [/bin/sh] [-c] [exec \"$@\"] [--] [" + otherName() +
                              "] [sh] [" + sudo_.file("sudo") + "] [-S] [-k] [-p] [] ";
    EXPECT_THAT(sudo_.calls(), ElementsAre(start + "[-l] [--] [/bin/sh]",
                                           "sudo [-S] [-k] [-p] [] [-l] [--] [/bin/sh]"));
    EXPECT_EQ(outputOfRun(authorization, "echo \"$0\" \"$1\"", {"a b", "\"c"}), "a b \"c\n");
    EXPECT_FALSE(sudo_.hasTicket());
    EXPECT_EQ(markOfChildren(), "none") << "they could do nothing with it";
    authorization->free();
    sudo_.calls();
    EXPECT_EQ(errorOfRun(authorization), EACCES);
    EXPECT_FALSE(authorization->requestAdministratorRight());
    EXPECT_THAT(sudo_.calls(), IsEmpty()) << "there is no password any more";
}

TEST_F(ElevationOfUser, WithoutAPipeForThePasswordNothingIsAsked) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "The sanitizer needs a pipe itself to look at an object's type.";
#endif
    const auto users = created(createAuthorization(ownName(), kPassword));
    const auto administrators = created(createAuthorization(otherName(), kPassword));
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool isGranted =
        users->requestAdministratorRight() || administrators->requestAdministratorRight();
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(isGranted);
    EXPECT_THAT(sudo_.calls(), IsEmpty());
}

TEST_F(Elevation, AnAdministratorWithoutTheRightOrThePasswordIsRefused) {
    const auto mistaken = created(createAuthorization(otherName(), "wrong"));
    EXPECT_FALSE(mistaken->requestAdministratorRight());
    EXPECT_EQ(errorOfRun(mistaken), EACCES);
    sudo_.withholdRight();
    const auto ordinary = created(createAuthorization(otherName(), kPassword));
    EXPECT_FALSE(ordinary->requestAdministratorRight());
    EXPECT_EQ(errorOfRun(ordinary), EACCES);
}

TEST_F(ElevationOfUser, ThePasswordIsSeenNowhere) {
    writeText(sudo_.file("environments"), "");
    for (const std::string& user : {ownName(), otherName()}) {
        const auto authorization = created(createAuthorization(user, kPassword));
        EXPECT_TRUE(authorization->requestAdministratorRight());
        EXPECT_EQ(errorOfRun(authorization), 0);
    }
    EXPECT_THAT(sudo_.everythingSeen(), HasSubstr("[-S]"));
    EXPECT_THAT(sudo_.everythingSeen(), HasSubstr("PATH="));
    EXPECT_THAT(sudo_.everythingSeen(), Not(HasSubstr(kPassword)));
}

TEST_F(ElevationOfUser, NobodyHasAnAccountOrAPasswordThatCannotBe) {
    const std::string zero("\0", 1);
    for (const std::string& user : {std::string(), std::string("no such account"), std::string("-"),
                                    "x\n" + ownName(), ownName() + zero, ownName() + zero + "x"}) {
        const auto authorization = created(createAuthorization(user, kPassword));
        EXPECT_FALSE(authorization->requestAdministratorRight()) << user;
    }
    for (const std::string& user : {ownName(), otherName()}) {
        const std::vector<std::string> passwords = {kPassword + "\n",
                                                    kPassword + "\n" + kPassword,
                                                    "\n",
                                                    std::string(512, 'x'),
                                                    kPassword + zero,
                                                    zero};
        for (const std::string& password : passwords) {
            const auto authorization = created(createAuthorization(user, password));
            EXPECT_FALSE(authorization->requestAdministratorRight()) << password;
        }
    }
    EXPECT_THAT(sudo_.calls(), IsEmpty());
}

// Tools

TEST_F(Elevation, TheStreamIsTheToolsOutputAndEndsWithIt) {
    const auto authorization = granted();
    const std::string output = outputOfRun(
        authorization,
        "head -c 300000 /dev/zero; echo err >&2; sleep 0.2; printf '\\377last'; : >\"$0\"",
        {sudo_.file("done")});
    EXPECT_EQ(output, std::string(300'000, '\0') + "\xFFlast");
    EXPECT_TRUE(std::ifstream(sudo_.file("done")).is_open());
}

TEST_F(Elevation, AToolHasNothingToRead) {
    EXPECT_EQ(outputOfRun(granted(), "cat; echo end"), "end\n");
    const auto administrators = created(createAuthorization(otherName(), kPassword));
    EXPECT_TRUE(administrators->requestAdministratorRight());
    EXPECT_EQ(outputOfRun(administrators, "cat; echo end"), "end\n");
    sudo_.askNobody(); // The second line is left over.
    EXPECT_EQ(outputOfRun(administrators, "cat; echo end"), "end\n");
}

TEST_F(Elevation, ADroppedOutputHoldsNobodyUp) {
    const auto authorization = granted();
    ::mkfifo(sudo_.file("go").c_str(), 0600);
    auto stream =
        authorization->run("/bin/sh",
                           {"-c", "read -r line <\"$0\"; head -c 300000 /dev/zero; echo $? >\"$1\"",
                            sudo_.file("go"), sudo_.file("status")},
                           ToolOutput::kDropped);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream.value()->read(), "") << "at once, although the tool runs";
    writeText(sudo_.file("go"), "on\n");
    std::string status;
    while ((status = readText(sudo_.file("status"))).empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(status, "0\n");
}

TEST_F(Elevation, ANameAloneIsAFileInTheCurrentFolder) {
    const auto authorization = granted();
    EXPECT_TRUE(authorization->run("tool", {"-n", "a=b"}, ToolOutput::kDropped));
    EXPECT_EQ(sudo_.calls().back(), "sudo [-n] [-b] [--] [./tool] [-n] [a=b]");
}

TEST_F(Elevation, AnArgumentWithAZeroByteIsAnError) {
    const auto authorization = granted();
    const auto stream =
        authorization->run("/bin/true", {std::string("/etc\0x", 6)}, ToolOutput::kDropped);
    ASSERT_FALSE(stream);
    EXPECT_EQ(stream.error().code, EINVAL);
}

TEST_F(ElevationOfUser, WithoutSudoNothingCanBeMade) {
    sudo_.uninstall("sudo");
    const auto asking = createAuthorization();
    ASSERT_FALSE(asking);
    EXPECT_EQ(asking.error().code, ENOENT);
    const auto withPassword = createAuthorization(ownName(), kPassword);
    ASSERT_FALSE(withPassword);
    EXPECT_EQ(withPassword.error().code, ENOENT);
    const ScopedEnvironment marked(kMark, "1");
    EXPECT_EQ(adoptedAuthorization(), nullptr);
}

TEST_F(ElevationOfUser, AProgramThatIsGoneSinceIsTheErrorOfTheRun) {
    const auto authorization = created(createAuthorization(ownName(), kPassword));
    EXPECT_TRUE(authorization->requestAdministratorRight());
    sudo_.uninstall("sudo");
    EXPECT_EQ(errorOfRun(authorization), ENOENT);
}

TEST_F(Elevation, IsReplacedAsAWhole) {
    const auto other = granted();
    auto before = setElevationServices({.adopted = [&] { return other; },
                                        .create =
                                            [] {
                                                return Error{"POSIX", 1, ""};
                                            },
                                        .createWithPassword =
                                            [&](std::string_view, std::string_view) {
                                                return Result<AuthorizationRef>(other);
                                            }});
    EXPECT_EQ(adoptedAuthorization(), other);
    EXPECT_FALSE(createAuthorization());
    EXPECT_EQ(createAuthorization("a", "b").value(), other);
    setElevationServices(std::move(before));
    EXPECT_EQ(adoptedAuthorization(), nullptr);
}

} // namespace
} // namespace fw
