#include "platform/FileDescriptor.h"
#include "tests/oxbow/OxbowProcess.h"
#include "tests/support/LeasedFile.h"
#include "tests/support/ScopedEnvironment.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>

namespace fw::test {
namespace {

namespace fs = std::filesystem;

using nlohmann::json;
using testing::HasSubstr;

class ScannerFailure : public testing::Test {
protected:
    ~ScannerFailure() override { EXPECT_TRUE(house_.isCleanedUp()); }

    OxbowHouse house_{OxbowHouse::Scanner::kFake};
};

TEST_F(ScannerFailure, AKilledScannerIsIncompleteAndWhatItFoundIsKept) {
    house_.setScript("frames 0 2\nfault 2 Blacks too low - 3 (12, 0.10%)\nkill 9");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 2);
    EXPECT_THAT(scan.output, HasSubstr("frame 2  00:00:00:2  Blacks too low"));
    EXPECT_THAT(scan.output, HasSubstr("Frames: 3 reported"));
    EXPECT_THAT(scan.output, HasSubstr("Reason: The scanner was killed by signal 9 (Killed).\n"));
}

TEST_F(ScannerFailure, EveryReportBeforeACrashArrives) {
    house_.setScript("frames 0 20000\nkill 11");
    const Finished scan = house_.run({"scan", "--json", house_.movie()});
    EXPECT_EQ(scan.status, 2);
    EXPECT_EQ(json::parse(scan.output)["frames"]["reported"], 20000);
}

TEST_F(ScannerFailure, AScannerThatIsKilledFromOutsideIsIncomplete) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->output().find("frame 0") != std::string::npos; }));
    ::kill(house_.scannerProcessId(), SIGKILL);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 2);
    EXPECT_THAT(scan.output, HasSubstr("killed by signal 9"));
}

TEST_F(ScannerFailure, ExitingWithoutAClosingMessageIsIncompleteWhateverTheStatus) {
    for (const char* script : {"frames 0 4\nexit 0", "frames 0 4\nexit 1", "exit 0"}) {
        house_.setScript(script);
        const Finished scan = house_.run({"scan", house_.movie()});
        EXPECT_EQ(scan.status, 2) << script;
        EXPECT_THAT(scan.output, HasSubstr("before the scan was complete")) << script;
    }
}

TEST_F(ScannerFailure, ALineAboutTheMovieIsAMovieThatCannotBeOpened) {
    house_.setScript("print ERR:Unable to load movie. This codec may not be supported.\nexit 1");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 3);
    EXPECT_EQ(scan.output, "");
    EXPECT_EQ(scan.error, "oxbow: " + house_.movie() +
                              ": Unable to load movie. This codec may not be supported.\n");
}

TEST_F(ScannerFailure, AnyOtherErrorLineIsInternal) {
    house_.setScript("print ERR:Invalid argument count\nexit 1");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 4);
    EXPECT_EQ(scan.error, "oxbow: Invalid argument count\n");
}

TEST_F(ScannerFailure, OtherOutputOfTheScannerIsNotAnError) {
    house_.setScript("print hello\nframes 0 4\nfinish");
    EXPECT_EQ(house_.run({"scan", house_.movie()}).status, 0);
}

TEST_F(ScannerFailure, AScannerThatMayNotRunIsInternal) {
    // A hundred zero bytes are no program.
    fs::resize_file(house_.file("bin/OxbowGlint"), 0);
    fs::resize_file(house_.file("bin/OxbowGlint"), 100);
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 4);
    EXPECT_THAT(scan.error, HasSubstr("cannot be started"));
}

TEST(MissingScanner, IsLookedForWhereItIsInstalledAndElseInternal) {
    const OxbowHouse house(OxbowHouse::Scanner::kNone);
    const Finished scan = house.run({"scan", house.movie()});
    if (fs::exists(FW_INSTALLED_SCANNER)) {
        EXPECT_EQ(scan.status, 0);
    } else {
        EXPECT_EQ(scan.status, 4);
        EXPECT_THAT(scan.error, HasSubstr("OxbowGlint"));
    }
    EXPECT_TRUE(house.isCleanedUp());
}

class Interruption : public ScannerFailure, public testing::WithParamInterface<int> {};

TEST_P(Interruption, StopsTheScannerAndStillPrintsWhatWasFound) {
    house_.setScript("frames 0 2\nfault 2 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->output().find("frame 2") != std::string::npos; }));
    oxbow->signal(GetParam());
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 2);
    EXPECT_THAT(scan.output, HasSubstr("Frames: 3 reported"));
    EXPECT_THAT(scan.output, HasSubstr("Verdict: incomplete\nReason: The scan was interrupted.\n"));
}

/// A demonstration that stands still (SIGSTOP) while it writes its movie; null when none was
/// caught.
std::unique_ptr<OxbowProcess> demonstrationHalfWritten(const OxbowHouse& house,
                                                       const std::string& temporary) {
    constexpr std::uintmax_t kSmallerThanTheMovie = 15'000'000;
    constexpr int kTries = 50;
    for (int i = 0; i < kTries; ++i) {
        fs::remove_all(temporary);
        fs::create_directory(temporary);
        auto demo = house.start({"demo"});
        // Without a pause: the movie is written in some milliseconds.
        while (fs::is_empty(temporary) && isRunning(demo->processId())) {
        }
        demo->signal(SIGSTOP);
        siginfo_t stop = {};
        ::waitid(P_PID, static_cast<id_t>(demo->processId()), &stop, WSTOPPED | WEXITED | WNOWAIT);
        if (!fs::is_empty(temporary)) {
            const fs::path movie = fs::directory_iterator(temporary)->path() / "demo.y4m";
            if (!fs::exists(movie) || fs::file_size(movie) < kSmallerThanTheMovie) {
                return demo;
            }
        }
        // Too late: its scanner may run.
        demo->signal(SIGCONT);
        demo->wait();
        fs::remove(house.file("script.pid"));
    }
    return nullptr;
}

TEST_P(Interruption, OfADemonstrationThatWritesItsMovieLeavesNothingBehind) {
    const std::string temporary = house_.file("temporary");
    const ScopedEnvironment environment("TMPDIR", temporary);
    const auto demo = demonstrationHalfWritten(house_, temporary);
    ASSERT_NE(demo, nullptr);
    demo->signal(GetParam());
    demo->signal(SIGCONT);
    const Finished end = demo->wait();
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.output, "");
    EXPECT_EQ(end.error, "oxbow: The scan was interrupted.\n");
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_EQ(house_.scannerProcessId(), 0) << "it was not started";
}

INSTANTIATE_TEST_SUITE_P(BySignal, Interruption, testing::Values(SIGINT, SIGTERM, SIGHUP));

/// A lease on a file: whoever opens the file waits until the lease is given up.
class OpeningHeldUp {
public:
    explicit OpeningHeldUp(const std::string& path)
        : file_(::open(path.c_str(), O_RDWR | O_CLOEXEC)),
          isHeld_(::fcntl(file_.get(), F_SETLEASE, F_WRLCK) == 0) {}
    ~OpeningHeldUp() {
        end();
        ::signal(SIGIO, before_);
    }
    OpeningHeldUp(const OpeningHeldUp&) = delete;
    OpeningHeldUp& operator=(const OpeningHeldUp&) = delete;

    bool isHeld() const { return isHeld_; }
    bool isWaitedFor() const { return ::fcntl(file_.get(), F_GETLEASE) != F_WRLCK; }
    void end() const { ::fcntl(file_.get(), F_SETLEASE, F_UNLCK); }

private:
    /// It tells the holder that somebody waits.
    sighandler_t before_ = ::signal(SIGIO, SIG_IGN);
    FileDescriptor file_;
    bool isHeld_;
};

class EarlyInterruption : public ScannerFailure, public testing::WithParamInterface<int> {
protected:
    Finished interruptedWhileOpening(const std::vector<std::string>& arguments) {
        const OpeningHeldUp opening(house_.movie());
        const auto oxbow = house_.start(arguments);
        EXPECT_TRUE(comesTrue([&] { return opening.isWaitedFor(); }));
        oxbow->signal(GetParam());
        opening.end();
        return oxbow->wait();
    }
};

TEST_P(EarlyInterruption, WhileTheMovieIsOpenedIsAnInterruptedScanWithoutAScanner) {
    if (!OpeningHeldUp(house_.movie()).isHeld()) {
        GTEST_SKIP() << kNoLeases;
    }
    const Finished text = interruptedWhileOpening({"scan", house_.movie()});
    EXPECT_EQ(text.status, 2);
    EXPECT_THAT(text.output, testing::StartsWith("Frames: 0 reported"));
    EXPECT_THAT(text.output, HasSubstr("Verdict: incomplete\nReason: The scan was interrupted.\n"));
    const Finished scan = interruptedWhileOpening({"scan", "--json", house_.movie()});
    EXPECT_EQ(scan.status, 2);
    const json document = json::parse(scan.output);
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_EQ(document["error"]["description"], "The scan was interrupted.");
    EXPECT_EQ(house_.scannerProcessId(), 0) << "it was not started";
}

INSTANTIATE_TEST_SUITE_P(BySignal, EarlyInterruption, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(ScannerFailure, ControlCReachesBothAndIsAnInterruptionAllTheSame) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->output().find("frame 0") != std::string::npos; }));
    ::kill(-oxbow->processId(), SIGINT);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 2);
    EXPECT_THAT(scan.output, HasSubstr("Verdict: incomplete\nReason: The scan was interrupted.\n"));
}

TEST_F(ScannerFailure, AnInterruptedJsonScanIsAWholeDocument) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsay ready\nsleep");
    const auto oxbow = house_.start({"scan", "--json", "--verbose", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->error() == "ready\n"; }));
    oxbow->signal(SIGINT);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 2);
    const json document = json::parse(scan.output);
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["faults"].size(), 1U);
}

TEST_F(ScannerFailure, AScannerThatDoesNotStopIsKilled) {
    house_.setScript("ignore 15\nignore 2\nfault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto oxbow = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return oxbow->output().find("frame 0") != std::string::npos; }));
    oxbow->signal(SIGINT);
    EXPECT_EQ(oxbow->wait().status, 2);
}

TEST_F(ScannerFailure, AKilledOxbowLeavesNoScannerBehind) {
    house_.setScript("frames-for-ever");
    const auto oxbow = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return house_.scannerProcessId() != 0; }));
    oxbow->signal(SIGKILL);
    oxbow->wait();
    EXPECT_TRUE(comesTrue([&] { return !isRunning(house_.scannerProcessId()); }));
    // The next scan takes the dead socket's place.
    house_.setScript("frames 0 4\nfinish");
    EXPECT_EQ(house_.run({"scan", house_.movie()}).status, 0);
}

TEST_F(ScannerFailure, AnIgnoredInterruptionStaysIgnored) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    OxbowProcess shell(
        "/bin/sh", {"-c", "trap '' INT; exec \"$0\" scan \"$1\"", house_.program(), house_.movie()},
        house_.file("shell.out"), house_.file("shell.err"), {});
    ASSERT_TRUE(comesTrue([&] { return shell.output().find("frame 0") != std::string::npos; }));
    shell.signal(SIGINT);
    shell.signal(SIGTERM);
    EXPECT_EQ(shell.wait().status, 2);
    EXPECT_THAT(shell.output(), HasSubstr("interrupted"));
}

} // namespace
} // namespace fw::test
