#include "tests/platform/process/StartedChild.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace fw {
namespace {

using namespace test;

TEST(LeftChild, RunsOnAndIsReapedAtItsEnd) {
    TemporaryFolder folder;
    const std::string fifo = folder.file("go");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ChildProcessOptions options = shell("cat \"$0\" >\"$0.copy\"");
    options.arguments.push_back(fifo);
    options.whenReleased = WhenReleased::kLeave;
    const int processId = started(options)->processId();
    EXPECT_EQ(::kill(processId, 0), 0);
    std::ofstream(fifo) << "text";
    waitUntilAllAreReaped();
    std::string copy;
    std::getline(std::ifstream(fifo + ".copy"), copy);
    EXPECT_EQ(copy, "text");
    EXPECT_EQ(::kill(processId, 0), -1);
}

TEST(LeftChild, IsReapedWhenItEndedBefore) {
    ChildProcessOptions options = program("/bin/true");
    options.whenReleased = WhenReleased::kLeave;
    auto child = started(options);
    const int processId = child->processId();
    while (child->isRunning()) {
        std::this_thread::yield();
    }
    child.reset();
    EXPECT_EQ(::kill(processId, 0), -1);
}

TEST(LeftChild, LeavesNeitherZombiesNorDescriptorsInThousands) {
    ChildProcessOptions options = program("/bin/cat");
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kPipe;
    options.standardInput = ChildInput::kPipe;
    options.whenReleased = WhenReleased::kLeave;
    started(options).reset(); // It runs as long as its input is open, so it is left.
    options.path = "/bin/true";
    waitUntilAllAreReaped(); // From here on the reaping thread and its descriptor are there.
    const std::size_t before = openDescriptors();
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                started(options).reset();
            }
        });
    }
    threads.clear();
    waitUntilAllAreReaped();
    while (openDescriptors() > before) { // The last goes just after its child.
        std::this_thread::yield();
    }
}

TEST(LeftChild, LeavesTheDispositionOfSignalsAlone) {
    const auto dispositionOf = [](int number) {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        return action.sa_handler;
    };
    // Who starts this program may have had SIGPIPE ignored.
    const auto childSignals = dispositionOf(SIGCHLD);
    const auto pipeSignals = dispositionOf(SIGPIPE);
    ChildProcessOptions options = program("/bin/true");
    options.whenReleased = WhenReleased::kLeave;
    started(options).reset();
    waitUntilAllAreReaped();
    EXPECT_EQ(dispositionOf(SIGCHLD), childSignals);
    EXPECT_EQ(dispositionOf(SIGPIPE), pipeSignals);
}

} // namespace
} // namespace fw
