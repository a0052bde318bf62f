#include "platform/process/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <fstream>

namespace fw {
namespace {

constexpr std::chrono::seconds kLong{60};

ChildProcessOptions shell(const std::string& script) {
    ChildProcessOptions options;
    options.path = "/bin/sh";
    options.arguments = {"-c", script};
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kPipe;
    return options;
}

std::unique_ptr<ChildProcess> started(const ChildProcessOptions& options) {
    auto result = ChildProcess::start(options);
    EXPECT_TRUE(result);
    return result ? std::move(result).value() : nullptr;
}

/// All that comes until the stream ends.
std::string wholeOutput(ChildProcess& child) {
    std::string text;
    while (child.readOutput(text)) {
        pollfd readable = {child.outputDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    return text;
}

std::string wholeError(ChildProcess& child) {
    std::string text;
    while (child.readError(text)) {
        pollfd readable = {child.errorDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    return text;
}

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
    test::TemporaryFolder folder;
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
        const auto child = started(shell("trap '' TERM INT HUP; while :; do sleep 1000; done"));
        processId = child->processId();
        ASSERT_EQ(::kill(processId, 0), 0);
    }
    EXPECT_EQ(::kill(processId, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(ChildProcess, NoOtherDescriptorReachesIt) {
    // Without close-on-exec, as a careless library would leave it.
    const int leaked = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(leaked, 3);
    const auto child = started(shell("exec ls /proc/self/fd"));
    EXPECT_EQ(wholeOutput(*child), "0\n1\n2\n3\n") << "3 is the list's own";
    ::close(leaked);
}

TEST(ChildProcess, ItsStandardInputIsEmpty) {
    const auto child = started(shell("cat; echo end"));
    EXPECT_EQ(wholeOutput(*child), "end\n");
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

} // namespace
} // namespace fw
