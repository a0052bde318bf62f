#include "tests/support/OwnRootTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace fw {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// The log of a real superuser, on a copy of the machine; the machine's own Library, where it has
/// one, is not there.
class SuperuserLogTest : public test::OwnRootTest {
protected:
    std::string outputOf(const std::string& script) const {
        const auto outcome =
            root.run("rm -rf /Library\nexport HOME=/tmp/home\n" + script, {FW_LOG_PROBE});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        return outcome.output;
    }
};

TEST_F(SuperuserLogTest, StandsInTheMachinesFolder) {
    EXPECT_THAT(outputOf("mkdir -p /Library/Logs/Fernwick\n"
                         "$PROGRAMS/log_probe user=real create=Probe append=text\n"
                         "ls /tmp/home/Library/Logs/Fernwick\n"
                         "cat /Library/Logs/Fernwick/Probe.1.log"),
                AllOf(HasSubstr("Log started: "), EndsWith(" - text\n"), StartsWith("20")))
        << "the user's folder is made, and stays empty";
}

TEST_F(SuperuserLogTest, IsEmptiedByTheNextOneWhileTheUsersLogsAreRotated) {
    EXPECT_EQ(outputOf("mkdir -p /Library/Logs/Fernwick /tmp/home/Library/Logs/Fernwick\n"
                       "echo old >/Library/Logs/Fernwick/Probe.1.log\n"
                       "echo users >/tmp/home/Library/Logs/Fernwick/Probe.1.log\n"
                       "$PROGRAMS/log_probe user=real create=Probe\n"
                       "grep -c . /Library/Logs/Fernwick/Probe.1.log\n"
                       "ls /Library/Logs/Fernwick /tmp/home/Library/Logs/Fernwick\n"
                       "cat /tmp/home/Library/Logs/Fernwick/Probe.2.log"),
              "5\n/Library/Logs/Fernwick:\nProbe.1.log\n\n"
              "/tmp/home/Library/Logs/Fernwick:\nProbe.2.log\nusers\n");
}

TEST_F(SuperuserLogTest, NeedsTheMachinesFolder) {
    EXPECT_THAT(outputOf("$PROGRAMS/log_probe user=real create=Probe\n"
                         "ls -d /Library /tmp/home/Library/Logs/Fernwick || true"),
                AllOf(StartsWith("Unable to create log file /Library/Logs/Fernwick/Probe.1.log - "
                                 "No such file or directory\n"),
                      EndsWith("/tmp/home/Library/Logs/Fernwick\n")));
}

TEST_F(SuperuserLogTest, LosesOnlyTheLinesThatFindAFullDisk) {
    const std::string output =
        outputOf("mkdir -p /Library/Logs/Fernwick\n"
                 "mount -t tmpfs -o size=64k tmpfs /Library/Logs/Fernwick\n"
                 "$PROGRAMS/log_probe user=real create=Probe threads=1:1000 finish\n"
                 "echo end\n"
                 "grep -c 'thread 0 line [0-9]* xxxx' /Library/Logs/Fernwick/Probe.1.log");
    EXPECT_THAT(output, StartsWith("Exception writing to log: No space left on device\n"));
    EXPECT_GT(std::stoi(output.substr(output.find("end\n") + 4)), 400);
}

} // namespace
} // namespace fw
