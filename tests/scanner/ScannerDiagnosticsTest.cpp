#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentServer.h"
#include "platform/plist/PropertyListFile.h"
#include "tests/scanner/ScannerHomeTest.h"
#include "tests/support/FileText.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <thread>
#include <utility>

namespace fw {
namespace {

using test::readText;
using test::ScannerOutcome;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Lines = std::vector<std::string>;

namespace fs = std::filesystem;

/// What runs of the scanner leave in the user's home.
class ScannerDiagnosticsTest : public test::ScannerHomeTest {
protected:
    ScannerDiagnosticsTest() { makeMovie(); }

    std::string log(int generation = 1) const {
        return folder.file("Library/Logs/Fernwick/OxbowGlint." + std::to_string(generation) +
                           ".log");
    }
    std::string allLogs() const {
        std::string text;
        for (int generation = 1; generation <= 5; ++generation) {
            text += fs::exists(log(generation)) ? readText(log(generation)) : "";
        }
        return text;
    }
    std::string markerFile() const {
        return folder.file("Library/Preferences/com.fernwick.Oxbow.Glint.plist");
    }
    /// The marker, or nothing.
    std::optional<PropertyListDate> marker(const std::string& key) const {
        const auto markers = readPropertyList(markerFile());
        if (!markers || !markers.value().contains(key)) {
            return std::nullopt;
        }
        return *markers.value().at(key).get<PropertyListDate>();
    }
    void expectCleanEnd() const {
        ASSERT_TRUE(marker("launch") && marker("exit"));
        EXPECT_LE(*marker("launch"), *marker("exit"));
    }
    /// Whole seconds cannot be told apart: the last run becomes ten seconds older.
    void makeLastRunOlder() const {
        auto markers = readPropertyList(markerFile()).value();
        for (const char* key : {"launch", "exit"}) {
            if (const auto date = marker(key)) {
                markers[key].content = *date - std::chrono::seconds(10);
            }
        }
        ASSERT_EQ(writePropertyList(markerFile(), markers), std::nullopt);
    }
    Lines reports() const {
        Lines names;
        for (const auto& entry :
             fs::directory_iterator(folder.file("Library/Logs/DiagnosticReports"))) {
            names.push_back(entry.path().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    void switchOff(const std::string& key) const {
        fs::create_directories(folder.file("Library/Preferences"));
        std::ofstream(folder.file("Library/Preferences/com.fernwick.global.plist"))
            << "<plist version=\"1.0\"><dict><key>" << key << "</key><true/></dict></plist>";
    }
    /// Stands in the bundle's place and writes down what it is asked to open.
    void makeBugReporter() const {
        const std::string path = folder.file("Resources/Bug Reporter.app");
        fs::create_directories(folder.file("Resources"));
        std::ofstream(path) << "#!/bin/sh\necho \"$@\" >'" << folder.file("opened.new") << "'\nmv '"
                            << folder.file("opened.new") << "' '" << openedFile() << "'\n";
        fs::permissions(path, fs::perms(0755));
    }
    /// Gives up after a minute; what the test expects then fails.
    static void waitUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
    std::string openedFile() const { return folder.file("opened"); }
    std::string opened() const {
        waitUntil([&] { return fs::exists(openedFile()); });
        return fs::exists(openedFile()) ? readText(openedFile()) : "";
    }

    ScannerOutcome scan() const { return run(fullArguments()); }
    /// Runs a command with a limit, as prlimit's option says it.
    ScannerOutcome runWithLimit(const std::string& limit, Lines command) {
        command.insert(command.begin(), {limit, "--"});
        const std::string scanner = std::exchange(program, "/usr/bin/prlimit");
        ScannerOutcome outcome = run(command);
        program = scanner;
        return outcome;
    }
    /// The scanner with its arguments.
    Lines command(const std::string& moviePath) const {
        Lines all = fullArguments();
        all[0] = moviePath;
        all.insert(all.begin(), program);
        return all;
    }
    /// A scan that dies of a fault.
    void crash() const {
        // A parent that never answers holds the scan back.
        const auto parent = ParentServer::publish(connectionNameForMovie(movie), {});
        ASSERT_TRUE(parent);
        const auto child = start(fullArguments());
        waitUntil([&] { return marker("launch") && fs::exists(log()); });
        child->signal(SIGSEGV);
        EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(KilledBySignal{SIGSEGV}));
    }
};

TEST_F(ScannerDiagnosticsTest, AScanLeavesALogAndBothMarkers) {
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_THAT(readText(log()),
                AllOf(HasSubstr(" - Log started: "), EndsWith(" - Running in 64-bit mode\n")));
    expectCleanEnd();
    EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(ScannerDiagnosticsTest, EachScanMovesTheLogsOfThoseBefore) {
    for (int i = 0; i < 7; ++i) {
        scan();
    }
    EXPECT_TRUE(fs::exists(log(5)));
    EXPECT_FALSE(fs::exists(log(6)));
}

TEST_F(ScannerDiagnosticsTest, AWrongNumberOfArgumentsLeavesNeitherLogNorMarkers) {
    run({movie});
    EXPECT_FALSE(fs::exists(log()));
    EXPECT_FALSE(fs::exists(markerFile()));
}

TEST_F(ScannerDiagnosticsTest, AMissingAndAnUnreadableMovieEndCleanlyWithALog) {
    std::ofstream(folder.file("text.mov")) << "This is no movie.";
    for (const char* name : {"missing.mov", "text.mov"}) {
        Lines arguments = fullArguments();
        arguments[0] = folder.file(name);
        EXPECT_THAT(run(arguments).output, StartsWith("ERR:Unable to "));
        EXPECT_THAT(readText(log()), HasSubstr("Log started: "));
        expectCleanEnd();
        fs::remove(markerFile());
    }
}

TEST_F(ScannerDiagnosticsTest, AMissingArgumentLeavesACrashReportAndNoCleanEnd) {
    Lines arguments = fullArguments();
    for (const std::size_t count : {12U, 11U}) {
        arguments.resize(count);
        EXPECT_EQ(run(arguments), (ScannerOutcome{KilledBySignal{SIGABRT}, ""}));
        EXPECT_TRUE(marker("launch"));
        EXPECT_FALSE(marker("exit"));
    }
    EXPECT_EQ(run({movie, "-timing"}).end, ChildEnd(KilledBySignal{SIGABRT}));
    EXPECT_FALSE(marker("exit"));
    EXPECT_THAT(reports(), SizeIs(3));
    EXPECT_THAT(readText(log()), HasSubstr(" - vector::_M_range_check")) << "the reason is logged";
}

TEST_F(ScannerDiagnosticsTest, TheRunAfterACrashFindsTheReportLogsItAndHandsItOn) {
    makeBugReporter();
    crash();
    EXPECT_FALSE(marker("exit"));
    ASSERT_THAT(reports(), SizeIs(1));
    makeLastRunOlder();
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_EQ(opened(), reports()[0] + "\n");
    EXPECT_THAT(allLogs(), HasSubstr(" - Application crashed on last launch\n"));
    expectCleanEnd();

    fs::remove(openedFile());
    makeLastRunOlder();
    scan();
    EXPECT_FALSE(fs::exists(openedFile())) << "the last run ended cleanly";
}

TEST_F(ScannerDiagnosticsTest, WithoutABugReporterACrashIsLoggedAndNothingFails) {
    crash();
    makeLastRunOlder();
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_THAT(allLogs(), HasSubstr("Application crashed on last launch"));
}

TEST_F(ScannerDiagnosticsTest, ACrashReporterThatIsSwitchedOffOpensNothing) {
    makeBugReporter();
    switchOff("disable-crash-reporter");
    crash();
    makeLastRunOlder();
    EXPECT_EQ(scan().end, ChildEnd(ExitedWithStatus{0}));
    EXPECT_THAT(allLogs(), AllOf(HasSubstr(" - Application crashed on last launch\n"),
                                 HasSubstr(" - Crash reporter disabled\n")));
    EXPECT_FALSE(fs::exists(openedFile()));
}

TEST_F(ScannerDiagnosticsTest, ALogThatIsSwitchedOffIsNotWritten) {
    switchOff("disable-logging");
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""})) << "and not a word about it";
    EXPECT_FALSE(fs::exists(log()));
    expectCleanEnd();
}

TEST_F(ScannerDiagnosticsTest, AHomeThatCannotBeWrittenDoesNotKeepItFromScanning) {
    fs::create_directories(folder.file("closed"));
    ::setenv("HOME", folder.file("closed").c_str(), 1);
    fs::permissions(folder.file("closed"), fs::perms(0500));
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_TRUE(fs::is_empty(folder.file("closed")));
    fs::permissions(folder.file("closed"), fs::perms(0700));
}

TEST_F(ScannerDiagnosticsTest, ALimitOfAFilesSizeDoesNotKeepItFromScanning) {
    EXPECT_EQ(runWithLimit("--fsize=0", command(movie)), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_TRUE(fs::is_empty(folder.file("Library/Preferences"))) << "nothing is left of a marker";
    EXPECT_EQ(readText(log()), "");
    const std::string missing = "ERR:Unable to locate file. The macOS sandbox may be preventing "
                                "access.\n";
    EXPECT_EQ(runWithLimit("--fsize=0", command(folder.file("missing"))),
              (ScannerOutcome{ExitedWithStatus{1}, missing}));
}

TEST_F(ScannerDiagnosticsTest, ResultsThatALimitOfAFilesSizeCutsOffDoNotEndTheScan) {
    Lines shell = {"/bin/sh", "-c", "exec \"$0\" \"$@\" >'" + folder.file("output") + "'"};
    const Lines scanner = command(folder.file("missing"));
    shell.insert(shell.end(), scanner.begin(), scanner.end());
    EXPECT_EQ(runWithLimit("--fsize=0", shell), (ScannerOutcome{ExitedWithStatus{1}, ""}));
}

TEST_F(ScannerDiagnosticsTest, WithoutAThreadForTheLogTheRunGoesOn) {
    // The leak checker of a sanitized scanner would need a process of its own.
    const test::ScopedEnvironment sanitizer("ASAN_OPTIONS", "detect_leaks=0");
    EXPECT_THAT(runWithLimit("--nproc=1", command(folder.file("missing"))),
                (ScannerOutcome{ExitedWithStatus{1}, "ERR:Unable to locate file. The macOS sandbox "
                                                     "may be preventing access.\n"}));
    expectCleanEnd();
}

TEST_F(ScannerDiagnosticsTest, DamagedMarkersCountAsNone) {
    fs::create_directories(fs::path(markerFile()).parent_path());
    std::ofstream(markerFile()) << "<plist><array/></plist>";
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    expectCleanEnd();
}

TEST_F(ScannerDiagnosticsTest, PreferencesOfAHundredMegabytesCountAsNone) {
    constexpr std::uintmax_t kHundredMegabytes = 100'000'000;
    switchOff("disable-logging");
    for (const std::string& path :
         {markerFile(), folder.file("Library/Preferences/com.fernwick.global.plist")}) {
        std::ofstream(path, std::ios::app) << ' ';
        fs::resize_file(path, kHundredMegabytes);
    }
    EXPECT_EQ(scan(), (ScannerOutcome{ExitedWithStatus{0}, ""}));
    EXPECT_TRUE(fs::exists(log()));
    expectCleanEnd();
}

TEST_F(ScannerDiagnosticsTest, ScansAtOnceAllEndCleanlyAndKeepWholeLogs) {
    std::vector<std::unique_ptr<ChildProcess>> scans;
    for (int i = 0; i < 4; ++i) {
        scans.push_back(start(fullArguments()));
    }
    for (const auto& child : scans) {
        EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
    }
    expectCleanEnd();
    const std::string logs = allLogs();
    std::size_t headers = 0;
    for (std::size_t at = 0; (at = logs.find("Running in 64-bit mode\n", at)) != std::string::npos;
         ++at) {
        ++headers;
    }
    EXPECT_EQ(headers, 4U);
}

} // namespace
} // namespace fw
