#include "tests/support/OwnRootTest.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using namespace test;

/// A disk of 256 KiB at /tmp/small, and a file of a megabyte that cannot be packed any smaller.
constexpr const char* kSmallDisk = "mkdir /tmp/small /tmp/in\n"
                                   "mount -t tmpfs -o size=256k tmpfs /tmp/small\n"
                                   "head -c 1000000 /dev/urandom > /tmp/in/a\n";

class FullDiskTest : public OwnRootTest {
protected:
    /// What a script prints that leaves its status in $STATUS, and the names on the small disk.
    std::string printed(const std::string& script) const {
        const OwnRoot::Outcome outcome = root.run(
            kSmallDisk + script + "echo \"status $STATUS\"\nls -A /tmp/small\n", {FW_TOOL_DITTO});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        return outcome.output;
    }
};

TEST_F(FullDiskTest, AnArchiveThatDoesNotFitIsNotThere) {
    EXPECT_EQ(printed("STATUS=0\n$PROGRAMS/ditto -ck /tmp/in /tmp/small/a.zip || STATUS=$?\n"),
              "ditto: /tmp/in/a: Write error: No space left on device\nstatus 1\n");
}

TEST_F(FullDiskTest, AnArchiveThatDoesNotFitLeavesTheOldOne) {
    EXPECT_EQ(printed("echo old > /tmp/small/a.zip\nSTATUS=0\n"
                      "$PROGRAMS/ditto -ck /tmp/in /tmp/small/a.zip || STATUS=$?\n"
                      "cat /tmp/small/a.zip\n"),
              "ditto: /tmp/in/a: Write error: No space left on device\nold\nstatus 1\na.zip\n");
}

TEST_F(FullDiskTest, AFolderThatDoesNotFitIsNotThere) {
    EXPECT_EQ(printed("STATUS=0\n$PROGRAMS/ditto -ck /tmp/in /tmp/a.zip\n"
                      "$PROGRAMS/ditto -xk /tmp/a.zip /tmp/small/out || STATUS=$?\n"),
              "ditto: /tmp/small/out/a: Write failed: No space left on device\nstatus 1\n");
}

} // namespace
} // namespace fw
