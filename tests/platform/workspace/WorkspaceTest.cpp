#include "platform/workspace/Workspace.h"

#include "tests/platform/workspace/TestApplication.h"
#include "tests/support/FileText.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <thread>

namespace fw {
namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

constexpr const char* kOddNames[] = {"a b c", "it's \"quoted\"",      "100% %f %U %%",
                                     "-x",    "line\nbreak",          "Caf\xC3\xA9 \xE6\x97\xA5",
                                     "\xFF",  "$HOME `ls` \\ ; & * ?"};

/// Arguments as the application writes them down.
std::string bracketed(const Texts& arguments) {
    std::string text;
    for (const std::string& argument : arguments) {
        text.append("[").append(argument).append("]");
    }
    return text;
}

/// Runs the probe, which ends at once; what it prints.
std::string answerOf(const Texts& arguments) {
    const test::ProgramRun run = test::programRun(WORKSPACE_PROBE, arguments);
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.output;
}

/// Signals 32 and 33.
constexpr std::uint64_t kSignalsOfTheCLibrary = 0x1'8000'0000;

void expectDetached(const test::TestApplication::Start& start) {
    EXPECT_EQ(start.session, start.processId) << "a session of its own";
    EXPECT_EQ(start.streams, "/dev/null /dev/null /dev/null");
    EXPECT_EQ(start.descriptors, "0 1 2 3 ") << "3 is the lister's own";
    EXPECT_EQ(start.blockedSignals, 0U);
    EXPECT_EQ(start.ignoredSignals & ~kSignalsOfTheCLibrary, 0U);
}

class OpenFileTest : public testing::Test {
protected:
    test::TemporaryFolder folder;
    test::TestApplication application{folder};
    std::string program = folder.file("program");
    std::string bundle = folder.file("Bug Reporter.app");
    std::string report = folder.file("report.crash");
};

TEST_F(OpenFileTest, AProgramIsStartedWithThePathAsItsOnlyArgument) {
    application.makeAt(program);
    EXPECT_TRUE(openFile(report, program));
    EXPECT_EQ(application.nextStart().arguments, bracketed({report}));
}

TEST_F(OpenFileTest, PathsReachTheProgramAsTheyAre) {
    for (const std::string name : kOddNames) {
        const std::string path = folder.file(name);
        application.makeAt(path + "/" + name);
        EXPECT_TRUE(openFile(path, path + "/" + name)) << name;
        EXPECT_EQ(application.nextStart().arguments, bracketed({path}));
    }
}

TEST_F(OpenFileTest, ARelativePathIsMadeAbsoluteSoThatItIsNoOption) {
    application.makeAt(program);
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_TRUE(openFile("-report", "program"));
    fs::current_path(before);
    EXPECT_EQ(application.nextStart().arguments, bracketed({folder.file("-report")}));
}

TEST_F(OpenFileTest, TheProgramRunsOnItsOwn) {
    application.makeWaitingAt(program);
    EXPECT_EQ(answerOf({"file", program, report}).substr(0, 3), "yes");
    EXPECT_TRUE(application.isQuiet()) << "the asker has ended before it";
    application.letGoOn();
    expectDetached(application.nextStart());
}

TEST_F(OpenFileTest, TheProgramIsReapedAlthoughNobodyWaits) {
    application.makeAt(program);
    EXPECT_TRUE(openFile(report, program));
    const std::string process = "/proc/" + std::to_string(application.nextStart().processId);
    for (int i = 0; i < 30'000 && fs::exists(process); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_FALSE(fs::exists(process));
}

TEST_F(OpenFileTest, OfABundleTheProgramWithItsNameIsTaken) {
    application.makeAt(bundle + "/Contents/MacOS/Bug Reporter");
    test::writeText(bundle + "/Contents/MacOS/other", "#!/bin/sh\nexit 1\n");
    fs::permissions(bundle + "/Contents/MacOS/other", fs::perms::owner_all);
    EXPECT_TRUE(openFile(report, bundle));
    EXPECT_EQ(application.nextStart().arguments, bracketed({report}));
    EXPECT_TRUE(openFile(report, bundle + "/")) << "a slash at the end";
    application.nextStart();
}

TEST_F(OpenFileTest, OfABundleTheOnlyProgramIsTakenWhateverItsName) {
    application.makeAt(bundle + "/Contents/MacOS/reporter");
    test::writeText(bundle + "/Contents/MacOS/Bug Reporter", "no program");
    fs::create_directory(bundle + "/Contents/MacOS/folder");
    EXPECT_TRUE(openFile(report, bundle));
    application.nextStart();
    application.makeAt(bundle + "/Contents/MacOS/second");
    EXPECT_FALSE(openFile(report, bundle)) << "which of the two?";
}

TEST_F(OpenFileTest, AProgramRightInTheFolderIsTaken) {
    application.makeAt(bundle + "/Bug Reporter");
    EXPECT_TRUE(openFile(report, bundle));
    application.nextStart();
    application.makeAt(folder.file("Reporter/Reporter"));
    EXPECT_TRUE(openFile(report, folder.file("Reporter"))) << "a folder without an extension";
    application.nextStart();
}

TEST_F(OpenFileTest, ALinkToABundleIsABundle) {
    application.makeAt(bundle + "/Contents/MacOS/Bug Reporter");
    fs::create_symlink(bundle, folder.file("link"));
    EXPECT_TRUE(openFile(report, folder.file("link")));
    application.nextStart();
}

TEST_F(OpenFileTest, WhatHasNoProgramOpensNothing) {
    EXPECT_FALSE(openFile(report, bundle)) << "nothing there";
    fs::create_directories(bundle + "/Contents/MacOS");
    EXPECT_FALSE(openFile(report, bundle)) << "an empty bundle";
    test::writeText(bundle + "/Contents/MacOS/Bug Reporter", "text");
    EXPECT_FALSE(openFile(report, bundle)) << "a file that may not run";
    test::writeText(program, "#!/bin/sh\n");
    EXPECT_FALSE(openFile(report, program)) << "a program that may not run";
    EXPECT_FALSE(openFile(report, ""));
}

TEST_F(OpenFileTest, AProgramThatTheSystemCannotRunOpensNothing) {
    test::writeText(program, "#!/nonexistent/shell\n");
    fs::permissions(program, fs::perms::owner_all);
    EXPECT_FALSE(openFile(report, program));
}

TEST_F(OpenFileTest, PathsWithANulOpenNothing) {
    application.makeAt(program);
    EXPECT_FALSE(openFile(report + std::string(1, '\0') + "x", program));
    EXPECT_FALSE(openFile(report, program + std::string(1, '\0') + "x"));
    EXPECT_FALSE(openFile("", program));
    EXPECT_TRUE(application.isQuiet());
}

/// The library remembers the folders of entries: each answer is that of a process of its own.
class OpenUrlsTest : public testing::Test {
protected:
    void writeEntry(const std::string& identifier, const std::string& exec,
                    const std::string& more = "") const {
        fs::create_directories(entries);
        std::string text = "[Desktop Entry]\nType=Application\nName=Bug Reporter\nExec=";
        text.append(exec).append("\n").append(more);
        test::writeText(entries + "/" + identifier + ".desktop", text);
    }
    std::string opened(const Texts& files, const std::string& identifier = kIdentifier) const {
        Texts arguments = {"urls", identifier};
        arguments.insert(arguments.end(), files.begin(), files.end());
        return answerOf(arguments);
    }

    static constexpr const char* kIdentifier = "com.example.Reporter";
    test::TemporaryFolder folder;
    test::ScopedEnvironment home{"HOME", folder.path().string()};
    test::ScopedEnvironment data{"XDG_DATA_HOME", folder.file("data")};
    test::ScopedEnvironment machine{"XDG_DATA_DIRS", folder.file("machine")};
    test::ScopedEnvironment bus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"};
    test::ScopedEnvironment display{"DISPLAY", std::nullopt};
    test::TestApplication application{folder};
    std::string entries = folder.file("data/applications");
    std::string program = folder.file("program");
    std::string report = folder.file("report.crash");
};

TEST_F(OpenUrlsTest, TheApplicationOfTheEntryIsStartedWithThePath) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %f");
    EXPECT_EQ(opened({report}), "yes\n");
    EXPECT_EQ(application.nextStart().arguments, bracketed({report}));
}

TEST_F(OpenUrlsTest, AnEntryOfTheMachineIsFoundToo) {
    application.makeAt(program);
    entries = folder.file("machine/applications");
    writeEntry(kIdentifier, program + " %f");
    EXPECT_EQ(opened({report}), "yes\n");
    application.nextStart();
}

TEST_F(OpenUrlsTest, AnEntryThatTakesUrlsGetsThePathOrTheUrl) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %U");
    EXPECT_EQ(opened({folder.file("a b%.crash")}), "yes\n");
    EXPECT_THAT(application.nextStart().arguments,
                testing::AnyOf(bracketed({folder.file("a b%.crash")}),
                               bracketed({"file://" + folder.file("a%20b%25.crash")})));
}

TEST_F(OpenUrlsTest, AnEntryWithoutAPlaceForFilesGetsThePathLast) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " --report");
    EXPECT_EQ(opened({report}), "yes\n");
    EXPECT_EQ(application.nextStart().arguments, bracketed({"--report", report}));
}

TEST_F(OpenUrlsTest, PathsReachTheProgramAsTheyAre) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %F");
    for (const std::string name : kOddNames) {
        EXPECT_EQ(opened({folder.file(name)}), "yes\n") << name;
        EXPECT_EQ(application.nextStart().arguments, bracketed({folder.file(name)}));
    }
}

TEST_F(OpenUrlsTest, UrlsAndPathsMayBeMixed) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %F");
    EXPECT_EQ(opened({"file://" + folder.file("a%20b"), report}), "yes\n");
    EXPECT_EQ(application.nextStart().arguments, bracketed({folder.file("a b"), report}));
}

TEST_F(OpenUrlsTest, ARelativePathIsMadeAbsolute) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %F");
    EXPECT_EQ(opened({"-report"}), "yes\n");
    EXPECT_EQ(application.nextStart().arguments,
              bracketed({(fs::current_path() / "-report").string()}));
}

TEST_F(OpenUrlsTest, TheProgramRunsOnItsOwn) {
    application.makeWaitingAt(program);
    writeEntry(kIdentifier, program + " %f");
    EXPECT_EQ(opened({report}), "yes\n") << "without a child to wait for";
    EXPECT_TRUE(application.isQuiet()) << "the asker has ended before it";
    application.letGoOn();
    expectDetached(application.nextStart());
}

TEST_F(OpenUrlsTest, WithoutAnEntryNothingHappens) {
    EXPECT_EQ(opened({report}), "no\n");
    application.makeAt(program);
    writeEntry("com.example.Other", program + " %f");
    EXPECT_EQ(opened({report}), "no\n");
    EXPECT_TRUE(application.isQuiet());
}

TEST_F(OpenUrlsTest, AnEntryWhoseProgramIsNotThereOpensNothing) {
    writeEntry(kIdentifier, folder.file("nowhere") + " %f");
    EXPECT_EQ(opened({report}), "no\n");
    test::writeText(program, "#!/bin/sh\n");
    writeEntry(kIdentifier, program + " %f");
    EXPECT_EQ(opened({report}), "no\n") << "a file that may not run";
}

TEST_F(OpenUrlsTest, AnEntryThatIsNoneOpensNothing) {
    fs::create_directories(entries);
    const std::string path = entries + "/" + kIdentifier + ".desktop";
    test::writeText(path, "no entry");
    EXPECT_EQ(opened({report}), "no\n");
    test::writeText(path, "[Desktop Entry]\nType=Link\nName=X\nURL=file:///\n");
    EXPECT_EQ(opened({report}), "no\n");
}

TEST_F(OpenUrlsTest, AnIdentifierIsNoPath) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %f");
    for (const std::string& identifier :
         {std::string(), entries + "/" + kIdentifier, "../applications/" + std::string(kIdentifier),
          "./" + std::string(kIdentifier)}) {
        EXPECT_EQ(opened({report}, identifier), "no\n") << identifier;
    }
    EXPECT_TRUE(application.isQuiet());
}

TEST_F(OpenUrlsTest, NoFilesOpenNothing) {
    application.makeAt(program);
    writeEntry(kIdentifier, program + " %f");
    EXPECT_EQ(opened({}), "no\n");
    EXPECT_EQ(opened({report, ""}), "no\n");
    EXPECT_TRUE(application.isQuiet());
}

class WorkspaceServicesTest : public testing::Test {
protected:
    ~WorkspaceServicesTest() override { setWorkspaceServices({}); }
};

TEST_F(WorkspaceServicesTest, OthersMayTakeTheRequests) {
    Texts asked;
    WorkspaceServices services;
    services.openFile = [&](const std::string& file, const std::string& application) {
        asked.push_back(file + " with " + application);
        return true;
    };
    services.openUrls = [&](const Texts& files, const std::string& identifier) {
        asked.push_back(files.at(0) + " with " + identifier);
        return false;
    };
    EXPECT_FALSE(setWorkspaceServices(services).openFile) << "the machine's were there";
    EXPECT_TRUE(openFile("/report", "/application"));
    EXPECT_FALSE(openUrls({"/other"}, "com.example.Reporter"));
    EXPECT_THAT(asked, testing::ElementsAre("/report with /application",
                                            "/other with com.example.Reporter"));

    EXPECT_TRUE(setWorkspaceServices({}).openUrls) << "those before come back";
    EXPECT_FALSE(openFile("/report", "/nonexistent/application"));
    EXPECT_EQ(asked.size(), 2U);
}

TEST_F(WorkspaceServicesTest, EventsAreTakenAlthoughNobodyGetsThem) {
    EXPECT_EQ(sendDesktopEvent({}), 0);
    EXPECT_EQ(sendDesktopEvent({1, 2, 3, "/missing \xFF"}), 0);
}

TEST_F(WorkspaceServicesTest, OthersMayTakeTheEvents) {
    const DesktopEvent event{1, 2, 3, "/file"};
    std::vector<DesktopEvent> events;
    WorkspaceServices services;
    services.sendDesktopEvent = [&](const DesktopEvent& sent) {
        events.push_back(sent);
        return -600;
    };
    setWorkspaceServices(services);
    EXPECT_EQ(sendDesktopEvent(event), -600);
    EXPECT_THAT(events, testing::ElementsAre(event));
}

} // namespace
} // namespace fw
