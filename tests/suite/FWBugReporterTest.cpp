#include "support/FWBugReporter.h"

#include "platform/mainthread/MainThread.h"
#include "platform/plist/PropertyListFile.h"
#include "platform/tools/toolPath.h"
#include "platform/workspace/Workspace.h"
#include "support/FWLog.h"
#include "support/bugreporter/BugReporterApplication.h"
#include "support/bugreporter/BugReporterServices.h"
#include "tests/suite/HeldWatchdogs.h"
#include "tests/support/FileText.h"
#include "tests/support/SystemLogCapture.h"
#include "tests/support/TestHome.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace fw {
namespace {

using namespace std::chrono_literals;
using test::readText;
using test::writeText;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Date = std::chrono::system_clock::time_point;

const Date kNoon = std::chrono::sys_days(std::chrono::year(2024) / 3 / 1) + 12h;

void setModificationDate(const std::string& path, Date date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    timespec time = {};
    time.tv_sec = seconds.time_since_epoch().count();
    time.tv_nsec = std::chrono::nanoseconds(date - seconds).count();
    const timespec times[2] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

/// What the workspace is asked to open.
struct Opened {
    std::string file;
    std::string application; ///< Its path or its identifier.
    bool operator==(const Opened&) const = default;
};

void PrintTo(const Opened& opened, std::ostream* out) {
    *out << opened.file << " with " << opened.application;
}

/// A machine with the user's folders in HOME/Library, the machine's in HOME/Machine, a clock that
/// stands, and a program that lies in HOME/Program.
class BugReporter : public testing::Test {
protected:
    BugReporter()
        : folders_(setFolderServices({.realUserId = [] { return test::TestHome::kUser; },
                                      .search =
                                          [this](FolderKind, FolderDomainMask domain) {
                                              return search(domain);
                                          }})),
          services_(setBugReporterServices({.now = [this] { return now; },
                                            .executable =
                                                [this] {
                                                    return executable;
                                                }})),
          workspace_(setWorkspaceServices(
              {.openFile =
                   [this](const std::string& file, const std::string& application) {
                       openedFiles.push_back({file, application});
                       return doesWorkspaceWork;
                   },
               .openUrls =
                   [this](const std::vector<std::string>& files, const std::string& identifier) {
                       EXPECT_THAT(files, SizeIs(1));
                       openedUrls.push_back({files.at(0), identifier});
                       return doesWorkspaceWork;
                   },
               .sendDesktopEvent = {}})) {
        putChownInPlace("");
        std::filesystem::create_directory(home.file("Program"));
        executable = home.file("Program/OxbowGlint");
        writeText(executable, "");
        FWLog::createNewLog("BugReporterTest", NoPrinting::kYes);
        FWLog::finishWriting();
        machineSearches = 0;
    }
    ~BugReporter() override {
        FWLog::finishWriting();
        setStandInTools(std::move(tools_));
        setWorkspaceServices(std::move(workspace_));
        setBugReporterServices(std::move(services_));
        setFolderServices(std::move(folders_));
    }

    std::vector<std::string> search(FolderDomainMask domain) {
        const bool isUser = domain == FolderDomainMask::kUser;
        machineSearches += isUser ? 0 : 1;
        return {home.file(isUser ? "Library" : "Machine")};
    }

    /// A program in the place of chown that writes down its arguments, a line each, and then does
    /// what `then` says.
    void putChownInPlace(const std::string& then) {
        std::string script = "#!/bin/sh\nprintf '%s\\n' \"$@\" > '";
        script += home.file("chown.arguments");
        script += "'\n";
        script += then;
        std::filesystem::remove(home.file("chown"));
        writeText(home.file("chown"), script);
        ASSERT_EQ(::chmod(home.file("chown").c_str(), 0700), 0);
        StandInTools before = setStandInTools({{"/usr/sbin/chown", home.file("chown")}});
        if (!hasStandIn_) {
            tools_ = std::move(before);
            hasStandIn_ = true;
        }
    }
    /// Empty when it did not run.
    std::string chownArguments() const { return readText(home.file("chown.arguments")); }

    std::string markerFile() const { return home.file("Library/Preferences/marker.plist"); }

    void putMarkers(const PropertyListDictionary& markers) {
        std::filesystem::create_directories(home.file("Library/Preferences"));
        ASSERT_EQ(writePropertyList(markerFile(), markers), std::nullopt);
    }
    /// The last run started at noon and did not end.
    void putUncleanMarkers() { putMarkers({{"launch", {kNoon}}}); }

    PropertyListDictionary markers() const { return markersAt(markerFile()); }
    static PropertyListDictionary markersAt(const std::string& path) {
        auto list = readPropertyList(path);
        EXPECT_TRUE(list) << path;
        return list ? std::move(list).value() : PropertyListDictionary();
    }

    void setPreference(const PropertyListValue& value) {
        const std::string folder = home.file("Library/Preferences");
        std::filesystem::create_directories(folder);
        ASSERT_EQ(writePropertyList(folder + "/com.fernwick.global.plist",
                                    {{"disable-crash-reporter", value}}),
                  std::nullopt);
    }

    /// A crash report in a folder below the home.
    std::string putReport(const std::string& folder, const std::string& name, Date date) {
        std::filesystem::create_directories(home.file(folder));
        const std::string path = home.file(folder) + "/" + name;
        writeText(path, "report");
        setModificationDate(path, date);
        return path;
    }
    std::string putNewReport() {
        return putReport(kUserReports, "OxbowGlint_2024-03-01.crash", kNoon + 5s);
    }

    std::string check() { return FWBugReporter::checkForCrashes("OxbowGlint", markerFile()); }

    static constexpr const char* kUserReports = "Library/Logs/DiagnosticReports";

    std::string logText() const {
        FWLog::finishWriting();
        return readText(home.file("Library/Logs/Fernwick/BugReporterTest.1.log"));
    }
    static auto saysCrashed() { return HasSubstr("Application crashed on last launch\n"); }

    void expectNothingHappened() const {
        EXPECT_THAT(openedFiles, IsEmpty());
        EXPECT_THAT(openedUrls, IsEmpty());
        EXPECT_THAT(systemLogLines.lines, IsEmpty());
        EXPECT_THAT(logText(), Not(HasSubstr("rash")));
    }

    test::TestHome home;
    test::SystemLogCapture systemLogLines;
    Date now = kNoon + 1h;
    std::string executable;
    bool doesWorkspaceWork = true;
    int machineSearches = 0; ///< How often a folder of the machine was asked for.
    std::vector<Opened> openedFiles;
    std::vector<Opened> openedUrls;

private:
    FolderServices folders_;
    BugReporterServices services_;
    WorkspaceServices workspace_;
    StandInTools tools_;
    bool hasStandIn_ = false;
};

// The states of the previous run.

TEST_F(BugReporter, TheFirstStartOfAllFindsNothingAndMakesAFileThatHoldsOnlyLaunch) {
    putNewReport();
    EXPECT_EQ(check(), "");
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers(), (PropertyListDictionary{{"launch", {now}}}));
    EXPECT_EQ(machineSearches, 0) << "no folder is listed";
    expectNothingHappened();
}

TEST_F(BugReporter, AfterACleanEndNoFolderIsListed) {
    putMarkers({{"launch", {kNoon}}, {"exit", {kNoon + 1s}}});
    putNewReport();
    EXPECT_EQ(check(), "");
    EXPECT_EQ(machineSearches, 0);
    expectNothingHappened();
}

TEST_F(BugReporter, AnEndInTheSecondOfTheStartIsClean) {
    putMarkers({{"launch", {kNoon}}, {"exit", {kNoon}}});
    putNewReport();
    EXPECT_EQ(check(), "");
    EXPECT_EQ(machineSearches, 0);
}

TEST_F(BugReporter, AnEndBeforeTheStartIsThatOfAnEarlierRun) {
    putMarkers({{"launch", {kNoon}}, {"exit", {kNoon - 1s}}});
    const std::string report = putNewReport();
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, AMissingEndAndANewReportAreACrash) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, AMissingEndWithoutAReportIsNoCrash) {
    putUncleanMarkers();
    EXPECT_EQ(check(), "");
    EXPECT_GT(machineSearches, 0) << "all folders are asked for";
    expectNothingHappened();
}

TEST_F(BugReporter, AnEndWithoutAStartIsNoRunAtAll) {
    putMarkers({{"exit", {kNoon}}});
    putNewReport();
    EXPECT_EQ(check(), "");
    expectNothingHappened();
}

TEST_F(BugReporter, StartAndStopMakeTheThreeStates) {
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers(), (PropertyListDictionary{{"launch", {now}}}));
    const Date launch = now;
    now += 1min;
    FWBugReporter::stopBugReporter(markerFile());
    EXPECT_EQ(markers(), (PropertyListDictionary{{"launch", {launch}}, {"exit", {now}}}));
    const std::string report = putReport(kUserReports, "OxbowGlint_1", now + 2min);
    EXPECT_EQ(check(), "") << "ended cleanly";
    const Date exit = now;
    now += 1min;
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers(), (PropertyListDictionary{{"launch", {now}}, {"exit", {exit}}}));
    EXPECT_EQ(check(), report) << "did not end";
}

TEST_F(BugReporter, DatesHaveWholeSeconds) {
    now = kNoon + 999ms;
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers().at("launch"), PropertyListValue{kNoon});
}

// Which report counts.

TEST_F(BugReporter, AReportOfTimeOfTheStartOrBeforeIsThatOfAnEarlierRun) {
    putUncleanMarkers();
    putReport(kUserReports, "OxbowGlint_1", kNoon - 1ns);
    EXPECT_EQ(check(), "");
    putReport(kUserReports, "OxbowGlint_1", kNoon);
    EXPECT_EQ(check(), "");
    expectNothingHappened();
    const std::string report = putReport(kUserReports, "OxbowGlint_1", kNoon + 1ns);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, ReportsOfTimesThatTheClockCannotCountHaveTheirOrderToo) {
    putUncleanMarkers();
    const std::string report = putReport(kUserReports, "OxbowGlint_1", kNoon);
    const timespec far = {10'000'000'000, 0}; // In the year 2286.
    const timespec times[2] = {far, far};
    ASSERT_EQ(::utimensat(AT_FDCWD, report.c_str(), times, 0), 0);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, TheCaseOfAReportsNameDoesNotMatter) {
    putUncleanMarkers();
    const std::string report = putReport(kUserReports, "oXBOWglint_1.crash", kNoon + 1s);
    EXPECT_EQ(check(), report);
    EXPECT_EQ(FWBugReporter::checkForCrashes("OXBOWGLINT", markerFile()), report);
}

TEST_F(BugReporter, OnlyTheCaseOfAsciiLettersIsDisregarded) {
    putUncleanMarkers();
    const std::string report = putReport(kUserReports, "R\u00c9GIE_1", kNoon + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes("r\u00c9gie", markerFile()), report);
    EXPECT_EQ(FWBugReporter::checkForCrashes("r\u00e9gie", markerFile()), "");
}

TEST_F(BugReporter, ANameWithoutTheUnderscoreBehindTheApplicationsIsAnothers) {
    putUncleanMarkers();
    for (const char* name : {"OxbowGlint", "OxbowGlint.crash", "OxbowGlint-1", "OxbowGlint2_1",
                             "OxbowGlin_1", "_OxbowGlint_1", "xOxbowGlint_1", " OxbowGlint_1"}) {
        putReport(kUserReports, name, kNoon + 1s);
    }
    EXPECT_EQ(check(), "");
    expectNothingHappened();
    const std::string report = putReport(kUserReports, "OxbowGlint_", kNoon + 1s);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, SignsOfSearchPatternsInTheApplicationsNameMeanThemselves) {
    putUncleanMarkers();
    putReport(kUserReports, "OxbowGlint_1", kNoon + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes("Oxbow*", markerFile()), "");
    EXPECT_EQ(FWBugReporter::checkForCrashes(".*", markerFile()), "");
    const std::string report = putReport(kUserReports, "A'%@ *_1", kNoon + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes("A'%@ *", markerFile()), report);
}

TEST_F(BugReporter, OnlyTheLastMatchingNameOfAFolderIsExamined) {
    putUncleanMarkers();
    putReport(kUserReports, "OxbowGlint_1", kNoon + 1s);
    putReport(kUserReports, "OxbowGlint_2", kNoon - 1s);
    putReport(kUserReports, "Zebra_1", kNoon + 1s);
    EXPECT_EQ(check(), "");
    expectNothingHappened();
}

TEST_F(BugReporter, TheLastNameIsTheLastByItsBytes) {
    putUncleanMarkers();
    for (const char* name : {"OxbowGlint_10", "OxbowGlint_b", "OXBOWGLINT_z", "OxbowGlint_9"}) {
        putReport(kUserReports, name, kNoon + 1s);
    }
    const std::string report = putReport(kUserReports, "oxbowglint_0", kNoon + 1s);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, ANameThatIsNotUtf8IsANameToo) {
    putUncleanMarkers();
    const std::string report = putReport(kUserReports, "OxbowGlint_\xFF\xC3", kNoon + 1s);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, TheFoldersAreSearchedInTheirOrder) {
    putUncleanMarkers();
    std::vector<std::string> reports;
    for (const char* folder : {"Library/Logs/CrashReporter", "Library/Logs/DiagnosticReports",
                               "Machine/Logs/CrashReporter", "Machine/Logs/DiagnosticReports"}) {
        reports.push_back(putReport(folder, "OxbowGlint_1", kNoon + 1s));
    }
    for (const std::string& report : reports) {
        EXPECT_EQ(check(), report);
        std::filesystem::remove(report);
    }
    EXPECT_EQ(check(), "");
}

TEST_F(BugReporter, AFolderWhoseLastReportIsOldIsPassedOver) {
    putUncleanMarkers();
    putReport("Library/Logs/CrashReporter", "OxbowGlint_1", kNoon - 1s);
    const std::string report =
        putReport("Machine/Logs/DiagnosticReports", "OxbowGlint_1", kNoon + 1s);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, FoldersThatAreMissingOrCannotBeListedArePassedOver) {
    putUncleanMarkers();
    std::filesystem::create_directories(home.file("Library/Logs"));
    writeText(home.file("Library/Logs/CrashReporter"), "a file");
    std::filesystem::create_symlink("nowhere", home.file("Library/Logs/DiagnosticReports"));
    const std::string report =
        putReport("Machine/Logs/DiagnosticReports", "OxbowGlint_1", kNoon + 1s);
    EXPECT_EQ(check(), report);
}

TEST_F(BugReporter, WithoutANameTheProgramsFileNameIsTheApplications) {
    putUncleanMarkers();
    executable = home.file("Program/Some Tool");
    putReport(kUserReports, "OxbowGlint_1", kNoon + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes("", markerFile()), "");
    const std::string report = putReport(kUserReports, "Some Tool_1", kNoon + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes("", markerFile()), report);
}

// What is done about a crash.

TEST_F(BugReporter, ACrashIsLoggedAndItsReportGivenToTheApplicationOfTheSuite) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    EXPECT_EQ(check(), report);
    EXPECT_THAT(logText(), saysCrashed());
    EXPECT_THAT(openedUrls, ElementsAre(Opened{report, "com.fernwick.BugReporter"}));
    EXPECT_THAT(openedFiles, IsEmpty());
    EXPECT_THAT(systemLogLines.lines, IsEmpty());
}

TEST_F(BugReporter, TheApplicationIsTakenFromTheFirstPlaceWhereSomethingStands) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    // Only where a folder stands in the place of the program can anything stand below it.
    std::filesystem::remove(executable);
    const std::vector<std::string> places = {
        home.file("Program/Resources/Bug Reporter.app"),
        home.file("Program/OxbowGlint/Bug Reporter.app"),
        home.file("Program/Contents/MacOS/Bug Reporter.app"),
    };
    for (const std::string& place : places) {
        std::filesystem::create_directories(place);
    }
    for (const std::string& place : places) {
        EXPECT_EQ(check(), report);
        EXPECT_THAT(openedFiles, ElementsAre(Opened{report, place}));
        EXPECT_THAT(openedUrls, IsEmpty());
        openedFiles.clear();
        std::filesystem::remove(place);
    }
    EXPECT_EQ(check(), report);
    EXPECT_THAT(openedUrls, SizeIs(1));
}

TEST_F(BugReporter, AFileInThePlaceOfTheApplicationIsTakenToo) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    std::filesystem::create_directory(home.file("Program/Resources"));
    const std::string place = home.file("Program/Resources/Bug Reporter.app");
    writeText(place, "");
    EXPECT_EQ(check(), report);
    EXPECT_THAT(openedFiles, ElementsAre(Opened{report, place}));
}

TEST_F(BugReporter, BesideAnUnknownProgramNoApplicationIsLookedFor) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    executable.clear();
    EXPECT_THAT(bugReporterCandidates(executable), IsEmpty());
    EXPECT_EQ(check(), report);
    EXPECT_THAT(openedUrls, SizeIs(1));
}

TEST_F(BugReporter, AFailureOfTheWorkspaceIsIgnored) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    doesWorkspaceWork = false;
    EXPECT_EQ(check(), report);
    std::filesystem::create_directories(home.file("Program/Resources/Bug Reporter.app"));
    EXPECT_EQ(check(), report);
    EXPECT_THAT(openedFiles, SizeIs(1));
    EXPECT_THAT(openedUrls, SizeIs(1)) << "the first time only: there is no second choice";
}

TEST_F(BugReporter, SwitchedOffACrashIsLoggedAndReturnedAndNothingLaunched) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    std::filesystem::create_directories(home.file("Program/Resources/Bug Reporter.app"));
    setPreference({std::string("1")});
    EXPECT_EQ(check(), report);
    EXPECT_THAT(openedFiles, IsEmpty());
    EXPECT_THAT(openedUrls, IsEmpty());
    EXPECT_THAT(systemLogLines.lines, ElementsAre("Crash reporter disabled"));
    const std::string text = logText();
    EXPECT_THAT(text, AllOf(saysCrashed(), HasSubstr("Crash reporter disabled\n")));
    EXPECT_LT(text.find("Application crashed"), text.find("Crash reporter disabled"));
}

TEST_F(BugReporter, TheSwitchIsATextOneOrEqualToTrue) {
    putUncleanMarkers();
    putNewReport();
    const std::vector<PropertyListValue> on = {{true}, {std::int64_t{1}}, {1.0}};
    for (const PropertyListValue& value : on) {
        setPreference(value);
        check();
    }
    EXPECT_THAT(openedUrls, IsEmpty());
    EXPECT_THAT(systemLogLines.lines, SizeIs(3));
    const std::vector<PropertyListValue> off = {{false}, {std::string("0")}, {std::int64_t{2}}};
    for (const PropertyListValue& value : off) {
        setPreference(value);
        check();
    }
    EXPECT_THAT(openedUrls, SizeIs(3));
    EXPECT_THAT(systemLogLines.lines, SizeIs(3));
}

TEST_F(BugReporter, WithoutACrashTheSwitchSaysNothing) {
    setPreference({true});
    putMarkers({{"launch", {kNoon}}, {"exit", {kNoon}}});
    putNewReport();
    EXPECT_EQ(check(), "");
    expectNothingHappened();
}

// The delegate.

TEST_F(BugReporter, TheDelegateIsToldOnTheMainThreadWithoutWaiting) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    std::vector<std::string> told;
    bool isOnMainThread = false;
    std::thread([&] {
        FWBugReporter::startBugReporter("OxbowGlint", markerFile(),
                                        {.applicationDidCrashWithLog = [&](const std::string& log) {
                                            told.push_back(log);
                                            isOnMainThread = isMainThread();
                                        }});
    }).join();
    EXPECT_THAT(told, IsEmpty()) << "before the main thread finds the time";
    EXPECT_EQ(markers().at("launch"), PropertyListValue{now});
    serviceMainThread();
    EXPECT_THAT(told, ElementsAre(report));
    EXPECT_TRUE(isOnMainThread);
}

TEST_F(BugReporter, OnTheMainThreadTooTheDelegateWaitsForItsTurn) {
    putUncleanMarkers();
    const std::string report = putNewReport();
    std::vector<std::string> told;
    FWBugReporter::startBugReporter("OxbowGlint", markerFile(),
                                    {.applicationDidCrashWithLog = [&](const std::string& log) {
                                        told.push_back(log);
                                    }});
    EXPECT_THAT(told, IsEmpty());
    serviceMainThread();
    EXPECT_THAT(told, ElementsAre(report));
}

TEST_F(BugReporter, TheDelegateIsToldWhenTheCrashReporterIsSwitchedOffToo) {
    setPreference({true});
    putUncleanMarkers();
    const std::string report = putNewReport();
    std::vector<std::string> told;
    FWBugReporter::startBugReporter("OxbowGlint", markerFile(),
                                    {.applicationDidCrashWithLog = [&](const std::string& log) {
                                        told.push_back(log);
                                    }});
    serviceMainThread();
    EXPECT_THAT(told, ElementsAre(report));
}

TEST_F(BugReporter, WithoutACrashTheDelegateIsNotTold) {
    putNewReport();
    bool isTold = false;
    const FWBugReporterDelegate delegate = {.applicationDidCrashWithLog = [&](const std::string&) {
        isTold = true;
    }};
    FWBugReporter::startBugReporter("OxbowGlint", markerFile(), delegate);
    FWBugReporter::stopBugReporter(markerFile());
    FWBugReporter::startBugReporter("OxbowGlint", markerFile(), delegate);
    serviceMainThread();
    EXPECT_FALSE(isTold);
}

TEST_F(BugReporter, ADelegateThatImplementsNothingIsNotTold) {
    putUncleanMarkers();
    putNewReport();
    FWBugReporter::startBugReporter("OxbowGlint", markerFile(), FWBugReporterDelegate());
    serviceMainThread();
    EXPECT_EQ(markers().at("launch"), PropertyListValue{now});
    EXPECT_THAT(openedUrls, SizeIs(1));
}

// The marker file.

TEST_F(BugReporter, TheCrashIsLookedForBeforeTheStartIsRecorded) {
    putUncleanMarkers();
    const std::string report = putReport(kUserReports, "OxbowGlint_1", kNoon + 1s);
    now = kNoon + 2s;
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_THAT(openedUrls, ElementsAre(Opened{report, "com.fernwick.BugReporter"}));
    EXPECT_EQ(check(), "") << "the report is older than the new start";
}

TEST_F(BugReporter, OtherValuesOfTheFileStay) {
    const PropertyListValue list = {PropertyListArray{{std::string("a")}, {1.5}}};
    putMarkers({{"other", list}, {"exit", {kNoon}}});
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers(),
              (PropertyListDictionary{{"other", list}, {"exit", {kNoon}}, {"launch", {now}}}));
    FWBugReporter::stopBugReporter(markerFile());
    EXPECT_EQ(markers(),
              (PropertyListDictionary{{"other", list}, {"exit", {now}}, {"launch", {now}}}));
}

TEST_F(BugReporter, StopOnAMissingFileMakesOneThatHoldsOnlyExit) {
    FWBugReporter::stopBugReporter(markerFile());
    EXPECT_EQ(markers(), (PropertyListDictionary{{"exit", {now}}}));
}

TEST_F(BugReporter, AFileThatCannotBeReadIsWrittenAnewWithTheNewDateOnly) {
    std::filesystem::create_directories(home.file("Library/Preferences"));
    putNewReport();
    for (const char* text :
         {"", "no list", "bplist00", "<plist version=\"1.0\"><array><true/></array></plist>",
          "<plist version=\"1.0\"><dict><key>launch</key><date>2001-01-01T00:00:00Z</date>"}) {
        writeText(markerFile(), text);
        EXPECT_EQ(check(), "") << text;
        FWBugReporter::startBugReporter("OxbowGlint", markerFile());
        EXPECT_EQ(markers(), (PropertyListDictionary{{"launch", {now}}})) << text;
    }
    expectNothingHappened();
}

TEST_F(BugReporter, AStartThatIsNoDateIsNone) {
    putNewReport();
    for (const PropertyListValue& value :
         {PropertyListValue{std::string("2024-03-01T12:00:00Z")}, PropertyListValue{true},
          PropertyListValue{std::int64_t{0}}, PropertyListValue{0.0},
          PropertyListValue{PropertyListArray{{kNoon}}}}) {
        putMarkers({{"launch", value}});
        EXPECT_EQ(check(), "");
    }
    expectNothingHappened();
}

TEST_F(BugReporter, AnEndThatIsNoDateIsNone) {
    const std::string report = putNewReport();
    for (const PropertyListValue& value :
         {PropertyListValue{std::string("2024-03-01T12:00:01Z")},
          PropertyListValue{PropertyListDictionary{{"exit", {kNoon + 1s}}}}}) {
        putMarkers({{"launch", {kNoon}}, {"exit", value}});
        EXPECT_EQ(check(), report);
    }
}

TEST_F(BugReporter, AFailedWriteIsIgnored) {
    writeText(home.file("file"), "text");
    FWBugReporter::startBugReporter("OxbowGlint", home.file("file/marker.plist"));
    FWBugReporter::stopBugReporter(home.file("file/marker.plist"));
    EXPECT_EQ(readText(home.file("file")), "text");
    std::filesystem::create_directory(home.file("folder"));
    FWBugReporter::startBugReporter("OxbowGlint", home.file("folder"));
    EXPECT_TRUE(std::filesystem::is_empty(home.file("folder")));
    const std::string cut = home.file("cut") + std::string("\0.plist", 7);
    FWBugReporter::startBugReporter("OxbowGlint", cut);
    EXPECT_FALSE(std::filesystem::exists(home.file("cut")));
    expectNothingHappened();
}

TEST_F(BugReporter, MissingFoldersAreMadeForTheUserAlone) {
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    for (const char* folder : {"Library/Preferences", "Library/Logs/DiagnosticReports"}) {
        EXPECT_EQ(std::filesystem::status(home.file(folder)).permissions(),
                  std::filesystem::perms(0700))
            << folder;
    }
    EXPECT_FALSE(std::filesystem::exists(home.file("Library/Logs/CrashReporter")));
    EXPECT_FALSE(std::filesystem::exists(home.file("Machine")));
}

TEST_F(BugReporter, WithoutAPathTheProgramsOwnPreferencesAreTheStore) {
    const std::string store = home.file("Library/Preferences/com.fernwick.OxbowGlint.plist");
    FWBugReporter::startBugReporter();
    EXPECT_EQ(markersAt(store), (PropertyListDictionary{{"launch", {now}}}));
    EXPECT_EQ(FWBugReporter::checkForCrashes(), "");
    const std::string report = putReport(kUserReports, "OxbowGlint_1", now + 1s);
    EXPECT_EQ(FWBugReporter::checkForCrashes(), report);
    EXPECT_EQ(FWBugReporter::checkForCrashes("", ""), report);
    EXPECT_EQ(FWBugReporter::checkForCrashes("Other", ""), "");
    FWBugReporter::stopBugReporter();
    EXPECT_EQ(markersAt(store), (PropertyListDictionary{{"launch", {now}}, {"exit", {now}}}));
    EXPECT_EQ(FWBugReporter::checkForCrashes(), "");
    EXPECT_EQ(chownArguments(), "");
}

TEST_F(BugReporter, ADelegateAloneMeansTheStandardStoreAndTheProgramsName) {
    FWBugReporter::startBugReporter();
    const std::string report = putReport(kUserReports, "OxbowGlint_1", now + 1s);
    std::vector<std::string> told;
    FWBugReporter::startBugReporterWithDelegate(
        {.applicationDidCrashWithLog = [&](const std::string& log) {
            told.push_back(log);
        }});
    serviceMainThread();
    EXPECT_THAT(told, ElementsAre(report));
}

TEST_F(BugReporter, OfAnUnknownProgramWithoutAPathNothingIsKept) {
    executable.clear();
    FWBugReporter::startBugReporter();
    FWBugReporter::stopBugReporter();
    EXPECT_EQ(FWBugReporter::checkForCrashes(), "");
    EXPECT_FALSE(std::filesystem::exists(home.file("Library/Preferences")));
}

TEST_F(BugReporter, WhereNoFolderIsKnownNothingIsFoundAndNothingMade) {
    putUncleanMarkers();
    putNewReport();
    setFolderServices({.realUserId = [] { return test::TestHome::kUser; },
                       .search =
                           [](FolderKind, FolderDomainMask) {
                               return std::vector<std::string>();
                           }});
    EXPECT_EQ(check(), "");
    FWBugReporter::startBugReporter();
    EXPECT_EQ(FWBugReporter::checkForCrashes(), "");
    FWBugReporter::startBugReporter("OxbowGlint", markerFile());
    EXPECT_EQ(markers().at("launch"), PropertyListValue{now}) << "the path is known";
}

// The owner of the marker file.

TEST_F(BugReporter, AFileBelowUsersIsGivenToTheUserOfThatName) {
    FWBugReporter::chownPlist("/Volumes/Users/ann lee/a b/x.plist");
    EXPECT_EQ(chownArguments(), "ann lee\n/Volumes/Users/ann lee/a b/x.plist\n");
}

TEST_F(BugReporter, TheFirstFolderUsersCounts) {
    FWBugReporter::chownPlist("/Users/Users/Users/x");
    EXPECT_EQ(chownArguments(), "Users\n/Users/Users/Users/x\n");
}

TEST_F(BugReporter, TheFolderOfAUserIsGivenToItself) {
    FWBugReporter::chownPlist("/Users/ann");
    EXPECT_EQ(chownArguments(), "ann\n/Users/ann\n");
}

TEST_F(BugReporter, DoubledSlashesAddNoComponent) {
    FWBugReporter::chownPlist("Users//ann//x");
    EXPECT_EQ(chownArguments(), "ann\nUsers//ann//x\n");
}

TEST_F(BugReporter, APathWithoutUsersOrEndingInUsersRunsNoChown) {
    for (const char* path : {"", "/", "/home/ann/x.plist", "/Users", "/Users/", "/a/Users", "Users",
                             "/users/ann/x", "/USERS/ann/x", "/Users2/ann", "/My Users/ann"}) {
        FWBugReporter::chownPlist(path);
        EXPECT_EQ(chownArguments(), "") << path;
    }
}

TEST_F(BugReporter, APathWithAZeroByteIsNotCutThere) {
    FWBugReporter::chownPlist(std::string("/Users/ann/x\0.plist", 19));
    EXPECT_EQ(chownArguments(), "");
}

TEST_F(BugReporter, ChownHasFiveSeconds) {
    test::HeldWatchdogs watchdogs;
    FWBugReporter::chownPlist("/Users/ann/x.plist");
    EXPECT_THAT(watchdogs.asked(1), ElementsAre(5s));
}

TEST_F(BugReporter, TheMarkerFileIsGivenBackAfterItWasWritten) {
    const std::string path = home.file("Users/ann/Library/Preferences/marker.plist");
    std::string copy = "cp \"$2\" '";
    copy += home.file("copy");
    copy += "'\n";
    putChownInPlace(copy);
    std::string arguments = "ann\n";
    arguments += path;
    arguments += '\n';
    FWBugReporter::startBugReporter("OxbowGlint", path);
    EXPECT_EQ(chownArguments(), arguments);
    EXPECT_EQ(markersAt(home.file("copy")), (PropertyListDictionary{{"launch", {now}}}));
    std::filesystem::remove(home.file("chown.arguments"));
    FWBugReporter::stopBugReporter(path);
    EXPECT_EQ(chownArguments(), arguments);
    EXPECT_EQ(markersAt(home.file("copy")),
              (PropertyListDictionary{{"launch", {now}}, {"exit", {now}}}));
}

TEST_F(BugReporter, AFileThatCouldNotBeWrittenIsGivenBackAllTheSame) {
    const std::string path = home.file("Users/ann");
    std::filesystem::create_directories(path);
    FWBugReporter::stopBugReporter(path);
    EXPECT_THAT(chownArguments(), HasSubstr(path));
}

TEST_F(BugReporter, AChownThatFailsIsIgnored) {
    const std::string path = home.file("Users/ann/marker.plist");
    putChownInPlace("exit 1\n");
    FWBugReporter::startBugReporter("OxbowGlint", path);
    putChownInPlace("kill -9 $$\n");
    FWBugReporter::stopBugReporter(path);
    setStandInTools({{"/usr/sbin/chown", home.file("missing")}});
    FWBugReporter::stopBugReporter(path);
    EXPECT_EQ(markersAt(path), (PropertyListDictionary{{"launch", {now}}, {"exit", {now}}}));
}

TEST_F(BugReporter, TheMachinesOwnChownGivesTheFileBack) {
    setStandInTools({});
    const bool isRoot = ::geteuid() == 0;
    const std::string path = home.file("Users/root/marker.plist");
    FWBugReporter::startBugReporter("OxbowGlint", path);
    ASSERT_FALSE(isRoot && ::chown(path.c_str(), 1234, static_cast<gid_t>(-1)) != 0);
    FWBugReporter::stopBugReporter(path);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, isRoot ? 0 : ::geteuid());
}

} // namespace
} // namespace fw
