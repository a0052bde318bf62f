#include "tests/support/OwnRootTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

using testing::HasSubstr;

/// What the superuser's scanner leaves in the home of a user, on a copy of the machine.
class SuperuserScanTest : public test::OwnRootTest {
protected:
    /// In a home of nobody's. `scan` runs the scanner with a movie that is missing.
    std::string outputOf(const std::string& script) const {
        const auto outcome = root.run(
            "export HOME=/tmp/Users/nobody\n"
            "MARKERS=$HOME/Library/Preferences/com.fernwick.Oxbow.Glint.plist\n"
            "mkdir -p $HOME\n"
            "chown nobody:nogroup $HOME\n"
            "asNobody() { setpriv --reuid=nobody --regid=nogroup --clear-groups \"$@\"; }\n"
            "scan() {\n"
            "    \"$@\" $PROGRAMS/OxbowGlint /missing 0 1 0 1 16 235 8 0 4 5 0 1.78 |\n"
            "        grep '^ERR:Unable to locate file' >/dev/null\n"
            "}\n" +
                script,
            {OXBOW_GLINT_PATH});
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        return outcome.output;
    }
};

TEST_F(SuperuserScanTest, WhatItMakesInAUsersHomeBelongsToThem) {
    EXPECT_EQ(outputOf("scan\n"
                       "cd $HOME\n"
                       "find Library -printf '%u:%g %m %p\\n' | sort -k 3\n"),
              "nobody:nogroup 700 Library\n"
              "nobody:nogroup 700 Library/Logs\n"
              "nobody:nogroup 700 Library/Logs/DiagnosticReports\n"
              "nobody:nogroup 700 Library/Logs/Fernwick\n"
              "nobody:nogroup 700 Library/Preferences\n"
              "nobody:nogroup 600 Library/Preferences/com.fernwick.Oxbow.Glint.plist\n");
}

TEST_F(SuperuserScanTest, TheUsersNextScanHasItsLogAndMarkers) {
    EXPECT_EQ(outputOf("scan\n"
                       "rm $MARKERS\n"
                       "scan asNobody\n"
                       "grep -c . $HOME/Library/Logs/Fernwick/OxbowGlint.1.log\n"
                       "grep -c '<date>' $MARKERS\n"),
              "5\n2\n");
}

TEST_F(SuperuserScanTest, AUsersLinkGivesNoFileOfRootsAway) {
    EXPECT_EQ(outputOf("asNobody mkdir -p $HOME/Library/Preferences\n"
                       "echo secret >/tmp/secret\n"
                       "chmod 600 /tmp/secret\n"
                       "asNobody ln -s /tmp/secret $MARKERS\n"
                       "scan\n"
                       "stat -c '%U %a' /tmp/secret\n"
                       "cat /tmp/secret\n"
                       "readlink $MARKERS\n"),
              "root 600\nsecret\n/tmp/secret\n");
}

TEST_F(SuperuserScanTest, AUsersLinkToAFolderMakesNothingInFoldersOfRoots) {
    EXPECT_EQ(outputOf("asNobody mkdir $HOME/Library\n"
                       "mkdir /tmp/roots\n"
                       "asNobody ln -s /tmp/roots $HOME/Library/Preferences\n"
                       "asNobody ln -s /tmp/roots $HOME/Library/Logs\n"
                       "scan\n"
                       "ls -A /tmp/roots\n"),
              "");
}

TEST_F(SuperuserScanTest, ALinkReadsNothingOfRootsToTheUser) {
    const std::string output =
        outputOf("asNobody mkdir -p $HOME/Library/Preferences\n"
                 "echo '<plist><dict><key>secret</key><true/></dict></plist>' >$MARKERS\n"
                 "chmod 600 $MARKERS\n"
                 "scan\n"
                 "stat -c %U $MARKERS\n"
                 "grep -c secret $MARKERS || true\n");
    EXPECT_EQ(output, "nobody\n0\n");
}

TEST_F(SuperuserScanTest, AMarkerFileInRootsOwnFolderIsGivenToTheUser) {
    EXPECT_THAT(outputOf("chown root:root $HOME\n"
                         "scan\n"
                         "stat -c '%U %a' $MARKERS\n"),
                HasSubstr("nobody 600\n"));
}

} // namespace
} // namespace fw
