#include "tests/support/OwnRootTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace fw {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// Makes the accounts on the copy of the machine, in place of any of those names that the machine
/// has. `probe USER INSTRUCTION...` runs the probe for a user without a terminal, `terminal USER
/// PASSWORD COMMAND...` a shell command on one.
constexpr const char* kAccounts = R"(
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
for user in anna berta plain limited free; do
    userdel --force --remove $user >/dev/null 2>&1 || true
    useradd --create-home --shell /bin/sh $user
done
for user in anna berta; do gpasswd --add $user sudo >/dev/null; done
echo 'limited ALL=(root) /bin/ls' >/etc/sudoers.d/limited
echo 'free ALL=(ALL) NOPASSWD: ALL' >/etc/sudoers.d/free
printf '%s\n' anna:annas berta:bertas plain:plains limited:limiteds free:frees root:roots | chpasswd
mkdir -p /data
mount -t tmpfs -o mode=755 tmpfs /data
as() {
    user=$1
    shift
    setsid -w timeout 60 setpriv --reuid=$user --regid=$user --init-groups \
        env -i "HOME=/home/$user" PATH=/usr/bin "PROBE=$PROGRAMS/authorization_probe" \
        ${ASKPASS:+"SUDO_ASKPASS=$ASKPASS"} "$@" </dev/null
}
probe() {
    user=$1
    shift
    as $user "$PROGRAMS/authorization_probe" "$@"
}
terminal() {
    user=$1 password=$2
    shift 2
    as $user "$PROGRAMS/terminal_probe" "$password" /bin/sh -c "$*"
}
# Tools that are not waited for come to their end within moments.
wait_for() {
    for i in $(seq 500); do
        if "$@"; then return; fi
        sleep 0.02
    done
    echo "never came true: $*"
    exit 1
}
)";

class AuthorizationAccounts : public test::OwnRootTest {
protected:
    std::string outputOf(const std::string& script) const {
        const auto outcome =
            root.run(kAccounts + script, {FW_AUTHORIZATION_PROBE, FW_TERMINAL_PROBE});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        std::string output = outcome.output;
        // A terminal ends its lines with both.
        output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
        return output;
    }
};

constexpr const char* kRefusal =
    "authorization_probe: Authorization failed. Invalid username or password\n";

// With a password

TEST_F(AuthorizationAccounts, AnAdministratorHasTheRightUntilTheEnd) {
    EXPECT_EQ(outputOf("probe anna ticket with=anna:annas authorized ticket \\\n"
                       "    run='id -u >/data/user' end authorized ticket missing\n"
                       "cat /data/user\n"),
              "ticket 0\nwith 1\nauthorized 1\nticket 1\nrun 0\nend 1\nauthorized 0\nticket 0\n"
              "authorization_probe: Unable to execute task: path /nonexistent/tool doesn't exist\n"
              "missing -2\n0\n");
}

TEST_F(AuthorizationAccounts, AWrongPasswordIsRefused) {
    EXPECT_EQ(
        outputOf("probe anna no-gui with=anna:wrong authorized ticket run='id -u >/data/user'\n"
                 "ls /data\n"),
        std::string("no-gui 1\n") + kRefusal +
            "with 0\nauthorized 0\nticket 0\n"
            "authorization_probe: Unable to authorize\nrun -1\n");
}

TEST_F(AuthorizationAccounts, AWrongPasswordEndsATicketThatIsThere) {
    EXPECT_EQ(outputOf("probe anna with=anna:annas ticket with=anna:wrong authorized ticket"),
              std::string("with 1\nticket 1\n") + kRefusal + "with 0\nauthorized 0\nticket 0\n");
}

TEST_F(AuthorizationAccounts, WithoutRightsTheRightPasswordIsRefused) {
    EXPECT_EQ(outputOf("probe plain with=plain:plains authorized ticket\n"
                       "grep -c 'Authorization failed. Invalid username or password' \\\n"
                       "    /home/plain/Library/Logs/Fernwick/Probe.1.log\n"),
              std::string(kRefusal) + "with 0\nauthorized 0\nticket 0\n1\n");
}

TEST_F(AuthorizationAccounts, WhoMayRunSomeToolsOnlyIsNoAdministrator) {
    EXPECT_EQ(outputOf("probe limited with=limited:limiteds authorized ticket"),
              std::string(kRefusal) + "with 0\nauthorized 0\nticket 0\n");
}

TEST_F(AuthorizationAccounts, ThePasswordOfAUserWhoNeedsNoneIsNotLookedAt) {
    EXPECT_EQ(outputOf("probe free with=free:wrong run='id -u >/data/user' end\n"
                       "probe plain with=free:wrong authorized\n"
                       "cat /data/user\n"),
              std::string("with 1\nrun 0\nend 1\n") + kRefusal + "with 0\nauthorized 0\n0\n");
}

TEST_F(AuthorizationAccounts, AKilledProcessLeavesItsRightBehind) {
    EXPECT_THAT(
        outputOf("terminal anna annas '$PROBE with=anna:annas kill; $PROBE ticket authorized'\n"),
        AllOf(StartsWith("with 1\n"), EndsWith("ticket 1\nauthorized 0\n")));
}

TEST_F(AuthorizationAccounts, AnotherAdministratorsRightLastsUntilTheEnd) {
    EXPECT_EQ(
        outputOf("probe plain no-gui with=anna:annas authorized ticket \\\n"
                 "    run='id -u >/data/user; sleep 0.5; : >/data/done' exists=/data/done \\\n"
                 "    child='no-gui|authorized' end authorized run='id >/data/late'\n"
                 "cat /data/user\n"
                 "ls /data\n"),
        "no-gui 1\nwith 1\nauthorized 1\nticket 0\nrun 0\nexists 1\n"
        "no-gui 1\nauthorized 0\nchild 1\nend 1\nauthorized 0\n"
        "authorization_probe: Unable to authorize\nrun -1\n0\ndone\nuser\n");
}

TEST_F(AuthorizationAccounts, AnAdministratorMayUseAnothers) {
    EXPECT_EQ(outputOf("probe anna with=berta:bertas ticket run='id -u >/data/user'\n"
                       "cat /data/user\n"),
              "with 1\nticket 0\nrun 0\n0\n");
}

TEST_F(AuthorizationAccounts, AnotherWhoIsNoAdministratorIsRefused) {
    EXPECT_EQ(
        outputOf("probe anna with=plain:plains authorized with=limited:limiteds authorized \\\n"
                 "    with=berta:annas authorized with=nobody-at-all:x authorized ticket"),
        std::string(kRefusal) + "with 0\nauthorized 0\n" + kRefusal + "with 0\nauthorized 0\n" +
            kRefusal + "with 0\nauthorized 0\n" + kRefusal + "with 0\nauthorized 0\nticket 0\n");
}

TEST_F(AuthorizationAccounts, WhereNoTicketsAreKeptOnlyAnotherAdministratorHasTheRight) {
    EXPECT_EQ(outputOf("echo 'Defaults timestamp_timeout=0' >/etc/sudoers.d/tickets\n"
                       "probe anna with=anna:annas authorized ticket\n"
                       "probe plain with=anna:annas run='id -u >/data/user'\n"
                       "cat /data/user\n"),
              std::string(kRefusal) + "with 0\nauthorized 0\nticket 0\nwith 1\nrun 0\n0\n");
}

TEST_F(AuthorizationAccounts, AnExpiredTicketIsAnErrorOfTheTool) {
    EXPECT_EQ(outputOf("probe anna with=anna:annas forget run='id >/data/user'\n"
                       "ls /data\n"),
              "with 1\nforget 1\nrun 13\n");
}

// By asking

TEST_F(AuthorizationAccounts, ThePasswordIsAskedForOnTheTerminal) {
    EXPECT_THAT(outputOf("terminal anna annas '$PROBE start authorized start \\\n"
                         "    run=\"id -u >/data/user\" end authorized ticket'\n"
                         "cat /data/user\n"),
                AllOf(StartsWith("[sudo] password for anna: "),
                      EndsWith("start 1\nauthorized 1\nstart 1\nrun 0\nend 1\nauthorized 0\n"
                               "ticket 0\n0\n")));
}

TEST_F(AuthorizationAccounts, AWrongPasswordOnTheTerminalIsRefused) {
    EXPECT_THAT(
        outputOf("terminal anna wrong '$PROBE start authorized ticket'\n"),
        AllOf(HasSubstr("Sorry, try again."), EndsWith("start 0\nauthorized 0\nticket 0\n")));
}

TEST_F(AuthorizationAccounts, WithoutRightsNobodyIsAuthorizedOnTheTerminal) {
    EXPECT_THAT(outputOf("terminal plain plains '$PROBE start authorized ticket'\n"
                         "terminal limited limiteds '$PROBE start authorized ticket'\n"),
                ContainsRegex("start 0\nauthorized 0\nticket 0\n(.|\n)*"
                              "start 0\nauthorized 0\nticket 0\n$"));
}

TEST_F(AuthorizationAccounts, WithoutATerminalTheHelperProgramAsks) {
    EXPECT_EQ(outputOf("printf '#!/bin/sh\\necho annas\\n' >/tmp/askpass\n"
                       "chmod 755 /tmp/askpass\n"
                       "ASKPASS=/tmp/askpass probe anna start run='id -u >/data/user' end ticket\n"
                       "cat /data/user\n"),
              "start 1\nrun 0\nend 1\nticket 0\n0\n");
}

TEST_F(AuthorizationAccounts, WithoutATerminalAndAHelperProgramNobodyCanBeAsked) {
    EXPECT_THAT(
        outputOf("probe anna start authorized run='id -u >/data/user'\n"
                 "ls /data\n"),
        AllOf(HasSubstr("askpass"), HasSubstr("start 0\nauthorized 0\n"), EndsWith("run -1\n")));
}

TEST_F(AuthorizationAccounts, InTheBackgroundOfATerminalNobodyIsAsked) {
    EXPECT_THAT(outputOf("terminal anna annas 'set -m; $PROBE start authorized & wait'\n"),
                AllOf(Not(HasSubstr("password for")), HasSubstr("start 0\nauthorized 0\n")));
}

TEST_F(AuthorizationAccounts, TheUserIsAskedAgainWhenTheTicketHasExpired) {
    EXPECT_THAT(outputOf("terminal anna annas '$PROBE start forget run=\"id -u >/data/user\" end'\n"
                         "cat /data/user\n"),
                ContainsRegex("start 1\nforget 1\n\\[sudo\\] password for anna: \n"
                              "run 0\nend 1\n0\n$"));
}

// Handing down

TEST_F(AuthorizationAccounts, AChildAdoptsTheRightAndLeavesItToItsParent) {
    EXPECT_EQ(
        outputOf("terminal anna annas '$PROBE with=anna:annas \\\n"
                 "    \"child=no-gui|authorized|run=id -u >/data/user|end|authorized|ticket\" \\\n"
                 "    ticket authorized \"run=id -u >>/data/user\" end ticket'\n"
                 "cat /data/user\n"),
        "with 1\n"
        "no-gui 1\nauthorized 1\nrun 0\nend 1\nauthorized 0\nticket 1\nchild 1\n"
        "ticket 1\nauthorized 1\nrun 0\nend 1\nticket 0\n0\n0\n");
}

TEST_F(AuthorizationAccounts, AChildsEndIsNoEndOfTheParentsRight) {
    EXPECT_EQ(
        outputOf("terminal anna annas '$PROBE with=anna:annas \"child=authorized\" ticket'\n"),
        "with 1\nauthorized 1\nchild 1\nticket 1\n");
}

TEST_F(AuthorizationAccounts, AChildThatAuthorizesItselfDoesNotEndTheParentsRight) {
    EXPECT_EQ(
        outputOf("terminal anna annas '$PROBE with=anna:annas \\\n"
                 "    \"child=with=anna:annas|end|with=anna:wrong|authorized|start|end\" \\\n"
                 "    ticket \"child=with=anna:annas|child=end\" \"run=id -u >/data/user\" \\\n"
                 "    end ticket'\n"
                 "cat /data/user\n"),
        "with 1\n"
        "with 1\nend 1\nwith 0\nauthorized 0\nstart 1\nend 1\nchild 1\n"
        "ticket 1\n"
        "with 1\nend 1\nchild 1\nchild 1\n"
        "run 0\nend 1\nticket 0\n0\n");
}

TEST_F(AuthorizationAccounts, WithoutATerminalNothingIsHandedDown) {
    EXPECT_EQ(outputOf("probe anna with=anna:annas 'child=no-gui|ticket|authorized' ticket"),
              "with 1\nno-gui 1\nticket 0\nauthorized 0\nchild 1\nticket 1\n");
}

TEST_F(AuthorizationAccounts, OnlyAMarkedChildLooksForATicket) {
    EXPECT_EQ(outputOf("terminal anna annas '$PROBE with=anna:annas \\\n"
                       "    \"unmarked=no-gui|ticket|authorized\" end \\\n"
                       "    \"child=no-gui|authorized\"'\n"),
              "with 1\nno-gui 1\nticket 1\nauthorized 0\nunmarked 1\nend 1\n"
              "no-gui 1\nauthorized 0\nchild 1\n");
}

TEST_F(AuthorizationAccounts, TheMarkAloneGivesNothing) {
    EXPECT_EQ(outputOf("as anna env FERNWICK_AUTHORIZED=1 $PROGRAMS/authorization_probe \\\n"
                       "    no-gui authorized\n"
                       "as plain env FERNWICK_AUTHORIZED=1 $PROGRAMS/authorization_probe \\\n"
                       "    no-gui authorized\n"),
              "no-gui 1\nauthorized 0\nno-gui 1\nauthorized 0\n");
}

TEST_F(AuthorizationAccounts, TheRightEndsWithTheProcess) {
    EXPECT_EQ(outputOf("terminal anna annas '$PROBE with=anna:annas ticket; $PROBE ticket'\n"),
              "with 1\nticket 1\nticket 0\n");
}

// Tools

TEST_F(AuthorizationAccounts, AToolIsWaitedForAndItsOutputIsRead) {
    EXPECT_EQ(
        outputOf("probe anna with=anna:annas \\\n"
                 "    run='head -c 300000 /dev/zero; sleep 0.5; echo $? $(id -u) >/data/done' \\\n"
                 "    exists=/data/done\n"
                 "cat /data/done\n"),
        "with 1\nrun 0\nexists 1\n0 0\n");
}

TEST_F(AuthorizationAccounts, AToolFindsNoPasswordAtItsStandardInput) {
    // sudo asks neither root nor "free", and leaves what was meant for it to be read by the tool.
    EXPECT_EQ(outputOf("for pair in anna:annas root:roots free:frees; do\n"
                       "    probe plain with=$pair run='cat >/data/read; echo end >>/data/read'\n"
                       "    cat /data/read\n"
                       "done\n"
                       "probe free with=free:frees run='cat >/data/read; echo end >>/data/read'\n"
                       "cat /data/read\n"),
              "with 1\nrun 0\nend\nwith 1\nrun 0\nend\nwith 1\nrun 0\nend\n"
              "with 1\nrun 0\nend\n");
}

TEST_F(AuthorizationAccounts, AToolThatWasStartedRunsOnWhenTheRightEnds) {
    EXPECT_EQ(
        outputOf(
            "probe anna with=anna:annas \\\n"
            "    async='while [ ! -e /data/go ]; do sleep 0.02; done; head -c 300000 /dev/zero;\n"
            "        echo $? $(id -u) >/data/late' \\\n"
            "    end exists=/data/late ticket\n"
            ": >/data/go\n"
            "wait_for test -s /data/late\n"
            "cat /data/late\n"),
        "with 1\nasync 0\nend 1\nexists 0\nticket 0\n0 0\n");
}

TEST_F(AuthorizationAccounts, OperationsReachWhatBelongsToTheSuperuser) {
    EXPECT_EQ(
        outputOf("mkdir /data/folder\n"
                 "for file in remove trash move copy; do echo $file >/data/folder/$file; done\n"
                 "probe anna with=anna:annas remove=/data/folder/remove \\\n"
                 "    trash=/data/folder/trash 'move=/data/folder/move|/data/moved' \\\n"
                 "    'copy=/data/folder/copy|/data/copied' make=/data/made/deep\n"
                 "wait_for test ! -e /data/folder/remove\n"
                 "wait_for test -s /home/anna/.Trash/trash\n"
                 "wait_for test ! -e /data/folder/move\n"
                 "wait_for test -s /data/copied\n"
                 "wait_for test -d /data/made/deep\n"
                 "cat /home/anna/.Trash/trash /data/moved /data/copied\n"
                 "stat -c '%U %a' /home/anna/.Trash\n"
                 "ls /data/folder\n"),
        "with 1\nremove 1\ntrash 1\nmove 1\ncopy 1\nmake 1\n"
        "trash\nmove\ncopy\nanna 700\ncopy\n");
}

} // namespace
} // namespace fw
