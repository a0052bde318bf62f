#include "platform/process/ChildProcess.h"
#include "platform/process/WakeEvent.h"
#include "tests/platform/process/StartedChild.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fw {
namespace {

using namespace test;

TEST(ChildProcess, GivesItsOutputItsErrorsAndItsStatus) {
    const auto child = started(shell("printf out; printf err >&2; exit 7"));
    EXPECT_EQ(wholeOutput(*child), "out");
    EXPECT_EQ(wholeError(*child), "err");
    EXPECT_EQ(child->wait(kLong), ChildEnd(ExitedWithStatus{7}));
    EXPECT_EQ(child->poll(), ChildEnd(ExitedWithStatus{7})) << "the end is remembered";
    EXPECT_EQ(child->outputDescriptor(), -1);
    EXPECT_EQ(child->errorDescriptor(), -1);
}

TEST(ChildProcess, GivesArgumentsAsTheyAre) {
    ChildProcessOptions options = shell(R"(for a; do printf '[%s]' "$a"; done)");
    options.arguments.insert(options.arguments.end(),
                             {"sh", "", "a b", "\"q\"", "line\nbreak", "@%d", "\xFF"});
    const auto child = started(options);
    EXPECT_EQ(wholeOutput(*child), "[][a b][\"q\"][line\nbreak][@%d][\xFF]");
}

TEST(ChildProcess, AMissingProgramIsAnErrorWithItsNumber) {
    ChildProcessOptions options;
    options.path = "/nonexistent/program";
    const auto result = ChildProcess::start(options);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().domain, "POSIX");
    EXPECT_EQ(result.error().code, ENOENT);
}

TEST(ChildProcess, AFileThatMayNotRunIsAnErrorWithItsNumber) {
    TemporaryFolder folder;
    std::ofstream(folder.file("text")) << "text";
    ChildProcessOptions options;
    options.path = folder.file("text");
    const auto result = ChildProcess::start(options);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, EACCES);
}

TEST(ChildProcess, ANameWithoutASlashIsNotSearchedFor) {
    ChildProcessOptions options;
    options.path = "sh";
    EXPECT_FALSE(ChildProcess::start(options));
}

TEST(ChildProcess, OneThatWasKilledSaysByWhichSignal) {
    const auto child = started(shell("kill -9 $$"));
    EXPECT_EQ(child->wait(kLong), ChildEnd(KilledBySignal{SIGKILL}));
}

TEST(ChildProcess, TakesSignalsWhileItRuns) {
    const auto child = started(shell("echo ready; exec sleep 1000"));
    std::string output;
    while (output.empty()) {
        child->readOutput(output);
    }
    EXPECT_EQ(child->poll(), std::nullopt);
    EXPECT_EQ(child->wait(std::chrono::milliseconds(10)), std::nullopt);
    child->signal(SIGTERM);
    EXPECT_EQ(child->wait(kLong), ChildEnd(KilledBySignal{SIGTERM}));
    child->signal(SIGTERM);
}

TEST(ChildProcess, ItsEndCanBePolledFor) {
    const auto child = started(shell("exit 0"));
    pollfd end = {child->endDescriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&end, 1, 60'000), 1);
    EXPECT_EQ(child->poll(), ChildEnd(ExitedWithStatus{0}));
}

TEST(ChildProcess, IsKilledAndReapedWhenTheObjectGoes) {
    pid_t processId = 0;
    {
        const auto child = started(shell("trap '' TERM INT HUP; exec sleep 1000"));
        processId = child->processId();
        ASSERT_EQ(::kill(processId, 0), 0);
    }
    EXPECT_EQ(::kill(processId, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(ChildProcess, NoOtherDescriptorReachesIt) {
    // Without close-on-exec, as a careless library would leave it, and beside the standard streams.
    const FileDescriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const FileDescriptor leaked(::fcntl(null.get(), F_DUPFD, 3));
    ASSERT_TRUE(leaked);
    const auto child = started(shell("exec ls /proc/self/fd"));
    EXPECT_EQ(wholeOutput(*child), "0\n1\n2\n3\n") << "3 is the list's own";
}

TEST(ChildProcess, ItsStandardInputIsEmpty) {
    const auto child = started(shell("cat; echo end"));
    EXPECT_EQ(wholeOutput(*child), "end\n");
}

TEST(ChildProcess, IsOfOurSessionUnlessItGetsItsOwn) {
    ChildProcessOptions options = shell("sed 's/.*) //' /proc/$$/stat | cut -d ' ' -f 4");
    EXPECT_EQ(wholeOutput(*started(options)), std::to_string(::getsid(0)) + "\n");
    options.session = ChildSession::kOwn;
    const auto child = started(options);
    EXPECT_EQ(wholeOutput(*child), std::to_string(child->processId()) + "\n");
}

TEST(ChildProcess, ItsSignalsAreResetAndUnblocked) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handler = ::signal(SIGPIPE, SIG_IGN);
    const auto child = started(shell("grep -E 'SigBlk|SigIgn' /proc/self/status"));
    const std::string status = wholeOutput(*child);
    ::signal(SIGPIPE, handler);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_THAT(status, testing::HasSubstr("SigBlk:\t0000000000000000"));
    // Signals 32 and 33 (bits 31 and 32) are the C library's own, which keeps them ignored.
    EXPECT_THAT(status, testing::AnyOf(testing::HasSubstr("SigIgn:\t0000000000000000"),
                                       testing::HasSubstr("SigIgn:\t0000000180000000")));
}

TEST(ChildProcess, AStreamThatIsNotPipedHasNoDescriptor) {
    ChildProcessOptions options = shell("echo out; echo err >&2");
    options.standardOutput = ChildStream::kNull;
    options.standardError = ChildStream::kNull;
    const auto child = started(options);
    EXPECT_EQ(child->outputDescriptor(), -1);
    std::string text;
    EXPECT_FALSE(child->readOutput(text));
    EXPECT_EQ(child->wait(kLong), ChildEnd(ExitedWithStatus{0}));
}

TEST(ChildProcess, ReadingWhatIsNotThereYetDoesNotWait) {
    const auto child = started(shell("exec sleep 1000"));
    std::string text;
    EXPECT_TRUE(child->readOutput(text));
    EXPECT_TRUE(child->readError(text));
    EXPECT_EQ(text, "");
}

TEST(ChildProcess, MegabytesComeWholeThroughThePipe) {
    const auto child = started(shell("head -c 3000000 /dev/zero"));
    EXPECT_EQ(wholeOutput(*child), std::string(3'000'000, '\0'));
    EXPECT_EQ(child->wait(kLong), ChildEnd(ExitedWithStatus{0}));
}

TEST(ChildProcess, OneReadReturnsEvenFromAStreamWithoutEnd) {
    const auto child = started(shell("exec cat /dev/zero"));
    std::string text;
    while (text.size() < 1'000'000) {
        ASSERT_TRUE(child->readOutput(text));
    }
}

TEST(ChildProcess, WithIgnoredChildSignalsTheEndIsSeenAllTheSame) {
    const auto handler = ::signal(SIGCHLD, SIG_IGN);
    const auto child = started(shell("exec sleep 0"));
    EXPECT_TRUE(child->wait(kLong).has_value());
    ::signal(SIGCHLD, handler);
}

// What the child is given.

TEST(ChildProcess, ItsEnvironmentIsOursUnlessAnotherIsGiven) {
    const ScopedEnvironment variable("FW_TEST_VARIABLE", "ours");
    EXPECT_EQ(wholeOutput(*started(shell("printf %s \"$FW_TEST_VARIABLE\""))), "ours");
    ChildProcessOptions options = shell("printf %s \"$FW_TEST_VARIABLE$OTHER\"");
    options.environment = {{"OTHER=given=\xC3\xA9"}};
    EXPECT_EQ(wholeOutput(*started(options)), "given=\xC3\xA9");
    options.environment = std::vector<std::string>();
    EXPECT_EQ(wholeOutput(*started(options)), "");
}

TEST(ChildProcess, AnInputPipeStaysOpenAndEmptyAsLongAsTheObjectLives) {
    ChildProcessOptions options = shell("cat; echo end");
    options.standardInput = ChildInput::kPipe;
    auto child = started(options);
    EXPECT_EQ(child->wait(std::chrono::milliseconds(20)), std::nullopt);
    options = shell("cat; echo end >\"$0\"");
    TemporaryFolder folder;
    options.arguments.push_back(folder.file("ended"));
    options.standardInput = ChildInput::kPipe;
    options.whenReleased = WhenReleased::kLeave;
    child = started(options);
    EXPECT_TRUE(child->isRunning());
    child.reset();
    while (!std::filesystem::exists(folder.file("ended"))) {
        std::this_thread::yield();
    }
    waitUntilAllAreReaped();
}

TEST(ChildProcess, AGivenInputIsReadAndStaysTheCallers) {
    TemporaryFolder folder;
    std::ofstream(folder.file("text")) << "first\nsecond\n";
    const FileDescriptor text(::open(folder.file("text").c_str(), O_RDONLY | O_CLOEXEC));
    ChildProcessOptions options = shell("cat; ls /proc/self/fd | wc -l");
    options.standardInput = ChildInput::kGiven;
    options.givenInput = text.get();
    EXPECT_EQ(wholeOutput(*started(options)), "first\nsecond\n4\n");
    EXPECT_EQ(::lseek(text.get(), 0, SEEK_SET), 0) << "still open here";
    EXPECT_EQ(wholeOutput(*started(options)), "first\nsecond\n4\n");
}

TEST(ChildProcess, AGivenInputThatIsNoneIsAnError) {
    ChildProcessOptions options = shell("cat");
    options.standardInput = ChildInput::kGiven;
    const auto child = ChildProcess::start(options);
    ASSERT_FALSE(child);
    EXPECT_EQ(child.error().code, EBADF);
}

TEST(ChildProcess, AnInheritedInputIsOurs) {
    const int saved = ::dup(STDIN_FILENO);
    std::array<int, 2> ends = {};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ASSERT_EQ(::write(ends[1], "ours", 4), 4);
    ::close(ends[1]);
    ::dup2(ends[0], STDIN_FILENO);
    ::close(ends[0]);
    ChildProcessOptions options = shell("cat");
    options.standardInput = ChildInput::kInherit;
    const std::string output = wholeOutput(*started(options));
    ::dup2(saved, STDIN_FILENO);
    ::close(saved);
    EXPECT_EQ(output, "ours");
}

TEST(ChildProcess, NoPipeOfAnotherChildReachesIt) {
    ChildProcessOptions options = shell("exec sleep 1000");
    options.standardInput = ChildInput::kPipe;
    const auto first = started(options);
    EXPECT_EQ(wholeOutput(*started(shell("exec ls /proc/self/fd"))), "0\n1\n2\n3\n");
}

TEST(ChildProcess, ATextWithAZeroByteIsAnErrorAndNeverCut) {
    const std::string cut("/bin/sh\0x", 9);
    const auto failureOf = [](const ChildProcessOptions& options) {
        const auto result = ChildProcess::start(options);
        return result ? 0 : result.error().code;
    };
    ChildProcessOptions options = shell("exit 0");
    options.path = cut;
    EXPECT_EQ(failureOf(options), EINVAL);
    options = shell("exit 0");
    options.arguments.push_back(cut);
    EXPECT_EQ(failureOf(options), EINVAL);
    options = shell("exit 0");
    options.environment = {{cut}};
    EXPECT_EQ(failureOf(options), EINVAL);
}

TEST(ChildProcess, ARelativePathIsTakenFromTheCurrentFolder) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path("/bin");
    const auto child = started(program("true"));
    std::filesystem::current_path(before);
    EXPECT_EQ(child->wait(), ChildEnd(ExitedWithStatus{0}));
}

TEST(ChildProcess, AFileThatIsNoProgramIsAnErrorWithItsNumber) {
    TemporaryFolder folder;
    std::ofstream(folder.file("text")) << "no program";
    ASSERT_EQ(::chmod(folder.file("text").c_str(), 0755), 0);
    const auto result = ChildProcess::start(program(folder.file("text")));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ENOEXEC);
}

/// With the first three descriptors closed, as a careless parent may start this program.
int exitStatusWithoutStandardStreams() {
    ChildProcessOptions options = shell("cat; printf out; printf err >&2");
    options.standardInput = ChildInput::kNull;
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    const auto result = ChildProcess::start(options);
    if (!result) {
        return 1;
    }
    ChildProcess& child = *result.value();
    const bool isWhole = wholeOutput(child) == "out" && wholeError(child) == "err";
    return isWhole && child.wait() == ChildEnd(ExitedWithStatus{0}) ? 0 : 2;
}

TEST(ChildProcessDeathTest, ItsStreamsAreRightEvenWhenWeHaveNone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusWithoutStandardStreams()), testing::ExitedWithCode(0), "");
}

// Reading that waits.

TEST(ChildProcess, AvailableOutputWaitsForIt) {
    TemporaryFolder folder;
    const std::string fifo = folder.file("go");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ChildProcessOptions options = shell("printf first; cat \"$0\" >&2; printf second");
    options.arguments.push_back(fifo);
    const auto child = started(options);
    EXPECT_EQ(child->availableOutput(), "first");
    std::ofstream(fifo) << "error";
    EXPECT_EQ(child->availableError(), "error");
    EXPECT_EQ(child->availableOutput(), "second");
    EXPECT_EQ(child->availableOutput(), "") << "the end";
    EXPECT_EQ(child->availableOutput(), "") << "and after it";
    EXPECT_EQ(child->availableError(), "");
}

/// SIGUSR1 interrupts what a thread waits for, and nothing else, while this lives.
class HandledSignal {
public:
    HandledSignal() {
        struct sigaction handler = {};
        handler.sa_handler = [](int) {
        };
        ::sigaction(SIGUSR1, &handler, &before_);
    }
    ~HandledSignal() { ::sigaction(SIGUSR1, &before_, nullptr); }
    HandledSignal(const HandledSignal&) = delete;
    HandledSignal& operator=(const HandledSignal&) = delete;

private:
    struct sigaction before_ = {};
};

TEST(ChildProcess, AvailableOutputGoesOnAfterASignal) {
    const HandledSignal handled;
    const auto child = started(shell("exec sleep 1000"));
    std::atomic<bool> isDone = false;
    std::jthread reading([&] {
        EXPECT_EQ(child->availableOutput(), "");
        isDone = true;
    });
    for (int i = 0; i < 100; ++i) {
        ::pthread_kill(reading.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    EXPECT_FALSE(isDone);
    child->signal(SIGTERM);
    reading.join();
}

TEST(ChildProcess, WaitingForOutputCanBeStoppedByAnotherThread) {
    const auto child = started(shell("exec sleep 1000"));
    const WakeEvent stop;
    std::jthread reading([&] { EXPECT_EQ(child->availableOutput(&stop), ""); });
    stop.set();
    reading.join();
    EXPECT_TRUE(child->isRunning());
    EXPECT_EQ(child->availableOutput(&stop), "") << "it stays stopped";
}

TEST(ChildProcess, StopsEvenAStreamWithoutEnd) {
    const auto child = started(shell("exec cat /dev/zero"));
    const WakeEvent stop;
    EXPECT_NE(child->availableOutput(&stop), "");
    stop.set();
    EXPECT_EQ(child->availableOutput(&stop), "");
}

TEST(ChildProcess, OneWhoseOutputIsClosedEndsWhenItWritesOn) {
    const auto child = started(shell("exec cat /dev/zero"));
    child->closeOutput();
    child->closeError();
    EXPECT_EQ(child->outputDescriptor(), -1);
    EXPECT_EQ(child->errorDescriptor(), -1);
    EXPECT_EQ(child->wait(), ChildEnd(KilledBySignal{SIGPIPE}));
}

/// Signals that come to the thread that made this, again and again while it lives.
class SignalsToThisThread {
public:
    SignalsToThisThread()
        : sending_([target = ::pthread_self()](const std::stop_token& stop) {
              while (!stop.stop_requested()) {
                  ::pthread_kill(target, SIGUSR1);
              }
          }) {}

private:
    HandledSignal handled_;
    std::jthread sending_;
};

TEST(ChildProcess, WaitingForTheEndGoesOnAfterASignal) {
    const auto child = started(shell("exec sleep 1000"));
    const SignalsToThisThread signals;
    EXPECT_EQ(child->wait(std::chrono::milliseconds(100)), std::nullopt);
    child->signal(SIGTERM);
    EXPECT_EQ(child->wait(), ChildEnd(KilledBySignal{SIGTERM}));
}

// What any thread may ask.

TEST(ChildProcess, RunsAlsoForAThreadThatASignalInterrupts) {
    const auto child = started(shell("exec sleep 1000"));
    const SignalsToThisThread signals;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    int wronglyEnded = 0;
    while (std::chrono::steady_clock::now() < end) {
        wronglyEnded += child->isRunning() ? 0 : 1;
    }
    EXPECT_EQ(wronglyEnded, 0);
}

TEST(ChildProcess, KnowsWhetherItRunsWithoutReapingIt) {
    const auto child = started(shell("exec sleep 1000"));
    EXPECT_TRUE(child->isRunning());
    child->signal(SIGKILL);
    while (child->isRunning()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(::kill(child->processId(), 0), 0) << "a zombie still";
    EXPECT_EQ(child->wait(), ChildEnd(KilledBySignal{SIGKILL}));
    EXPECT_FALSE(child->isRunning());
}

TEST(ChildProcess, CanBeEndedByAnotherThreadWhileOneWaits) {
    const auto child = started(shell("exec sleep 1000"));
    const std::jthread other([&] {
        while (child->isRunning()) {
            child->signal(SIGTERM);
        }
    });
    EXPECT_EQ(child->wait(), ChildEnd(KilledBySignal{SIGTERM}));
}

} // namespace
} // namespace fw
