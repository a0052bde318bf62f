#include "support/CrashReports.h"

#include "base/Version.h"
#include "platform/process/ChildProcess.h"
#include "tests/support/FileText.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/plainCrashes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

namespace fw {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr std::chrono::seconds kLong{60};

/// A tool that dies of an exception, in a home of the test's own.
class CrashReportsTest : public testing::Test {
protected:
    CrashReportsTest() {
        fs::copy_file(test::reachable(CRASH_REPORTS_PROBE), probe);
        test::letChildrenCrashPlainly();
    }

    std::optional<ChildEnd> endOf(const std::string& log) const {
        ChildProcessOptions options;
        options.path = probe;
        options.arguments = {log};
        options.standardOutput = ChildStream::kNull;
        options.standardError = ChildStream::kNull;
        auto child = ChildProcess::start(options);
        return child ? child.value()->wait(kLong) : std::nullopt;
    }

    std::string onlyReport() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::directory_iterator(reports)) {
            found.push_back(entry.path());
        }
        if (found.size() != 1) {
            ADD_FAILURE() << found.size() << " reports";
            return {};
        }
        EXPECT_THAT(found[0].filename().string(),
                    testing::MatchesRegex("Probe_[-0-9]{17}_[0-9]+\\.crash"));
        return test::readText(found[0].string());
    }

    mode_t modeOf(const std::string& path) const {
        struct stat facts {};
        EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
        return facts.st_mode & 07777U;
    }

    test::TemporaryFolder folder;
    test::ScopedEnvironment home{"HOME", folder.file("home")};
    std::string probe = folder.file("probe");
    std::string logs = folder.file("home/Library/Logs");
    std::string reports = logs + "/DiagnosticReports";
};

TEST_F(CrashReportsTest, AToolsCrashIsReportedInTheUsersFolderWithTheSuitesVersion) {
    EXPECT_EQ(endOf("none"), ChildEnd(KilledBySignal{SIGABRT}));
    const std::string report = onlyReport();
    EXPECT_THAT(report, testing::StartsWith(
                            "Application: Probe\nVersion: " + std::string(projectVersion()) +
                            "\nExecutable: " + probe + "\nTime: "));
    EXPECT_THAT(report, HasSubstr("\nReason: fw::PlatformException: The disk is gone.\n"));
    EXPECT_THAT(report, HasSubstr("\nArguments: 2\n[0] " + probe + "\n[1] none\n"));
}

TEST_F(CrashReportsTest, FoldersThatAreMissingAreMadeForTheUserAlone) {
    endOf("none");
    for (const std::string& made :
         {folder.file("home"), folder.file("home/Library"), logs, reports}) {
        EXPECT_EQ(modeOf(made), S_IRWXU) << made;
    }
}

TEST_F(CrashReportsTest, AFolderThatIsThereStaysAsItIs) {
    fs::create_directories(reports);
    fs::permissions(reports, fs::perms::owner_all | fs::perms::group_all);
    endOf("none");
    EXPECT_EQ(modeOf(reports), 0770U);
    onlyReport();
}

TEST_F(CrashReportsTest, WhereNoFolderCanBeMadeTheToolRunsAndDiesAsItWould) {
    test::writeText(folder.file("home"), "a file");
    EXPECT_EQ(endOf("none"), ChildEnd(KilledBySignal{SIGABRT}));
    EXPECT_EQ(test::readText(folder.file("home")), "a file");
}

TEST_F(CrashReportsTest, TheLogAndTheReportBothTellTheReasonWhicheverCameFirst) {
    for (const std::string log : {"before", "after"}) {
        SCOPED_TRACE(log);
        fs::remove_all(folder.file("home"));
        EXPECT_EQ(endOf(log), ChildEnd(KilledBySignal{SIGABRT}));
        EXPECT_THAT(onlyReport(),
                    HasSubstr("\nReason: fw::PlatformException: The disk is gone.\n"));
        std::string lines;
        for (const auto& entry : fs::recursive_directory_iterator(logs)) {
            if (entry.is_regular_file() && entry.path().extension() != ".crash") {
                lines += test::readText(entry.path().string());
            }
        }
        EXPECT_THAT(lines, HasSubstr(" - The disk is gone.\n"));
    }
}

} // namespace
} // namespace fw
