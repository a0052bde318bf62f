#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentServer.h"
#include "tests/scanner/ParentRecord.h"
#include "tests/scanner/ScannerHomeTest.h"
#include "tests/support/FileText.h"
#include "tests/support/TestMovie.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

namespace fw {
namespace {

using test::ScannerOutcome;
using Lines = std::vector<std::string>;

class ScannerProgramTest : public test::ScannerHomeTest {};

TEST_F(ScannerProgramTest, ErrorLinesAndTheirStatus) {
    EXPECT_EQ(run({}), (ScannerOutcome{ExitedWithStatus{1}, "ERR:Invalid argument count\n"}));
    EXPECT_EQ(
        run(fullArguments()),
        (ScannerOutcome{ExitedWithStatus{1}, "ERR:Unable to locate file. The macOS sandbox may be "
                                             "preventing access.\n"}));
    std::ofstream(movie) << "This is no movie.";
    EXPECT_EQ(run(fullArguments()),
              (ScannerOutcome{ExitedWithStatus{1},
                              "ERR:Unable to load movie. This codec may not be supported.\n"}));
}

TEST_F(ScannerProgramTest, ACallThatIsShortByOneOrTwoIsKilledByAnAbortAndPrintsNothing) {
    makeMovie();
    Lines arguments = fullArguments();
    arguments.pop_back();
    EXPECT_EQ(run(arguments), (ScannerOutcome{KilledBySignal{SIGABRT}, ""}));
    arguments.pop_back();
    EXPECT_EQ(run(arguments), (ScannerOutcome{KilledBySignal{SIGABRT}, ""}));
    arguments.pop_back();
    EXPECT_EQ(run(arguments),
              (ScannerOutcome{ExitedWithStatus{1}, "ERR:Invalid argument count\n"}));
}

TEST_F(ScannerProgramTest, ACrashLeavesAReportInTheUsersFolder) {
    makeMovie();
    Lines arguments = fullArguments();
    arguments.pop_back();
    run(arguments);
    Lines reports;
    for (const auto& entry :
         std::filesystem::directory_iterator(folder.file("Library/Logs/DiagnosticReports"))) {
        EXPECT_THAT(entry.path().filename().string(), testing::StartsWith("OxbowGlint_"));
        reports.push_back(test::readText(entry.path().string()));
    }
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_THAT(reports[0], testing::HasSubstr("\nReason: std::out_of_range: "));
    EXPECT_THAT(reports[0], testing::HasSubstr("\nArguments: 13\n[0] "));
    EXPECT_THAT(reports[0], testing::HasSubstr("2fw9RunDriver")) << "names of its functions";
}

TEST_F(ScannerProgramTest, WithoutAParentItScansSilently) {
    makeMovie();
    EXPECT_EQ(run(fullArguments()), (ScannerOutcome{ExitedWithStatus{0}, ""}));
}

TEST_F(ScannerProgramTest, TellsItsParentEveryFrameOfAMovie) {
    makeMovie();
    Lines events;
    ParentOperations operations;
    operations.callback = [&](const std::string& note) {
        events.push_back(note);
    };
    operations.frameProcessed = [&](const FrameReport& report) {
        events.push_back(test::describe(report));
    };
    operations.frameProcessingFinished = [&] {
        events.push_back("finished");
    };
    auto server = ParentServer::publish(connectionNameForMovie(movie), operations);
    ASSERT_TRUE(server);

    const auto child = start(fullArguments());
    while (events.empty() || events.back() != "finished") {
        pollfd ready[] = {{server.value()->pollDescriptor(), POLLIN, 0},
                          {child->endDescriptor(), POLLIN, 0}};
        ASSERT_GT(::poll(ready, 2, 60000), 0);
        server.value()->dispatch();
        ASSERT_TRUE(ready[1].revents == 0 || events.back() == "finished") << "it ended too early";
    }
    EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
    ASSERT_EQ(events.size(), 4U + 6U + 1U);
    EXPECT_EQ(events.front(), "init");
    EXPECT_THAT(Lines(events.begin() + 4, events.end()),
                testing::ElementsAre("0", "1", "2", testing::StartsWith("3 00:00:00:03 "), "4", "5",
                                     "finished"));
    EXPECT_THAT(events[7], testing::EndsWith("[Blacks too low - 4 (3072, 50.00%)]"));
}

TEST_F(ScannerProgramTest, EndsWithZeroSoonAfterItsParentHasGone) {
    // Far more frames than are sent before the parent goes.
    const std::string source = folder.file("long.y4m");
    test::writeY4m(source, 16, 16, 20000, "25:1", [](int, test::TestPicture&) {});
    movie = source;
    int frames = 0;
    ParentOperations operations;
    operations.frameProcessed = [&](const FrameReport&) {
        ++frames;
    };
    auto server = ParentServer::publish(connectionNameForMovie(movie), operations);
    ASSERT_TRUE(server);
    const auto child = start(fullArguments());
    while (frames == 0) {
        pollfd ready{server.value()->pollDescriptor(), POLLIN, 0};
        ASSERT_GT(::poll(&ready, 1, 60000), 0);
        server.value()->dispatch();
    }
    ASSERT_FALSE(child->poll().has_value());
    std::move(server).value().reset();
    EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
}

} // namespace
} // namespace fw
