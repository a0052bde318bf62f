#include "platform/connection/ConnectionName.h"
#include "platform/connection/ParentServer.h"
#include "platform/process/ChildProcess.h"
#include "tests/scanner/ParentRecord.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

namespace fw {
namespace {

using Lines = std::vector<std::string>;

constexpr std::chrono::seconds kLong{60};

/// The program itself, in a home and a run-time folder of the test's own.
class ScannerProgramTest : public testing::Test {
protected:
    ScannerProgramTest() {
        ::setenv("HOME", folder.path().c_str(), 1);
        ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
    }

    /// Six frames at 25 a second: grey, and frame 3 black.
    void makeMovie() {
        const std::string source = folder.file("movie.y4m");
        test::writeY4m(source, 64, 48, 6, "25:1", [](int frame, test::TestPicture& picture) {
            picture.fillLuma(0, 0, 64, 48, frame == 3 ? 4 : 100);
        });
        test::runFfmpeg({"-i", source, "-c:v", "ffv1", movie});
    }

    Lines fullArguments() const {
        return {movie, "0", "2147483647", "0", "1", "16", "235", "8", "0", "4", "5", "0", "1.78"};
    }

    std::unique_ptr<ChildProcess> start(const Lines& arguments) const {
        ChildProcessOptions options;
        options.path = OXBOW_GLINT_PATH;
        options.arguments = arguments;
        options.standardOutput = ChildStream::kPipe;
        options.standardError = ChildStream::kNull;
        auto child = ChildProcess::start(options);
        EXPECT_TRUE(child);
        return std::move(child).value();
    }

    struct Outcome {
        ChildEnd end;
        std::string output;
        bool operator==(const Outcome&) const = default;
    };
    Outcome run(const Lines& arguments) const {
        const auto child = start(arguments);
        Outcome outcome;
        while (child->readOutput(outcome.output)) {
            pollfd readable{child->outputDescriptor(), POLLIN, 0};
            ::poll(&readable, 1, -1);
        }
        outcome.end = child->wait(kLong).value();
        return outcome;
    }

    test::TemporaryFolder folder;
    std::string movie = folder.file("movie.mkv");
};

TEST_F(ScannerProgramTest, ErrorLinesAndTheirStatus) {
    EXPECT_EQ(run({}), (Outcome{ExitedWithStatus{1}, "ERR:Invalid argument count\n"}));
    EXPECT_EQ(run(fullArguments()),
              (Outcome{ExitedWithStatus{1}, "ERR:Unable to locate file. The macOS sandbox may be "
                                            "preventing access.\n"}));
    std::ofstream(movie) << "This is no movie.";
    EXPECT_EQ(run(fullArguments()),
              (Outcome{ExitedWithStatus{1},
                       "ERR:Unable to load movie. This codec may not be supported.\n"}));
}

TEST_F(ScannerProgramTest, ACallThatIsShortByOneOrTwoIsKilledByAnAbortAndPrintsNothing) {
    makeMovie();
    Lines arguments = fullArguments();
    arguments.pop_back();
    EXPECT_EQ(run(arguments), (Outcome{KilledBySignal{SIGABRT}, ""}));
    arguments.pop_back();
    EXPECT_EQ(run(arguments), (Outcome{KilledBySignal{SIGABRT}, ""}));
    arguments.pop_back();
    EXPECT_EQ(run(arguments), (Outcome{ExitedWithStatus{1}, "ERR:Invalid argument count\n"}));
}

TEST_F(ScannerProgramTest, WithoutAParentItScansSilently) {
    makeMovie();
    EXPECT_EQ(run(fullArguments()), (Outcome{ExitedWithStatus{0}, ""}));
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
    EXPECT_EQ(child->wait(kLong), ChildEnd(ExitedWithStatus{0}));
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
    EXPECT_EQ(child->wait(kLong), ChildEnd(ExitedWithStatus{0}));
}

} // namespace
} // namespace fw
