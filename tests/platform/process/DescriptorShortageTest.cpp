#include "tests/platform/process/StartedChild.h"
#include "tests/support/FewDescriptors.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>

namespace fw {
namespace {

using namespace test;

// A program that has begun its work is watched to its end however few descriptors there are; where
// that is not sure beforehand, it does not begin.

class DescriptorShortage : public testing::Test {
protected:
    /// A program that marks its beginning and, some time later, its end.
    ChildProcessOptions markingProgram(ChildStream streams) {
        ChildProcessOptions options = program("/bin/sh");
        options.arguments = {"-c",
                             ": >\"$0.begun\"; i=0; while [ $i -lt 2000 ]; do i=$((i+1)); "
                             "done; : >\"$0.done\"",
                             folder_.file("mark" + std::to_string(++runs_))};
        options.standardInput =
            streams == ChildStream::kPipe ? ChildInput::kPipe : ChildInput::kNull;
        options.standardOutput = streams;
        options.standardError = streams;
        return options;
    }
    bool isMarked(const ChildProcessOptions& options, const std::string& mark) const {
        return std::filesystem::exists(options.arguments.back() + mark);
    }
    /// Starts it while there are only so many descriptors, and waits for its end; the errno of one
    /// that did not start, or 0.
    static std::int64_t failureWith(std::size_t descriptors, const ChildProcessOptions& options) {
        std::optional<Result<std::unique_ptr<ChildProcess>>> child;
        {
            const FewDescriptors few(descriptors);
            child.emplace(ChildProcess::start(options));
        }
        if (!*child) {
            return child->error().code;
        }
        EXPECT_EQ(child->value()->wait(kLong), ChildEnd(ExitedWithStatus{0}));
        return 0;
    }

    TemporaryFolder folder_;

private:
    int runs_ = 0;
};

TEST_F(DescriptorShortage, WithoutOneForTheChildNothingBegins) {
    const ChildProcessOptions options = markingProgram(ChildStream::kNull);
    EXPECT_EQ(failureWith(0, options), EMFILE);
    EXPECT_FALSE(isMarked(options, ".begun"));
}

TEST_F(DescriptorShortage, OneIsEnoughForAChildWithoutPipes) {
    const ChildProcessOptions options = markingProgram(ChildStream::kNull);
    EXPECT_EQ(failureWith(1, options), 0);
    EXPECT_TRUE(isMarked(options, ".done"));
}

TEST_F(DescriptorShortage, AChildWithPipesNeedsTwoForEach) {
    constexpr std::size_t kEnough = 7;
    const std::size_t before = openDescriptors();
    for (std::size_t descriptors = 0; descriptors <= kEnough + 1; ++descriptors) {
        const ChildProcessOptions options = markingProgram(ChildStream::kPipe);
        const bool suffices = descriptors >= kEnough;
        EXPECT_EQ(failureWith(descriptors, options), suffices ? 0 : EMFILE) << descriptors;
        EXPECT_EQ(isMarked(options, ".begun"), suffices) << descriptors;
        EXPECT_EQ(isMarked(options, ".done"), suffices) << descriptors;
    }
    EXPECT_EQ(openDescriptors(), before) << "also of pipes that were opened half-way";
}

TEST_F(DescriptorShortage, WhatHasBegunIsNotCutOffWhenAnotherThreadTakesTheLastOne) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "The sanitizer needs a pipe itself to look at an object's type.";
#endif
    const FewDescriptors few(1);
    const std::jthread greedy([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            FileDescriptor last = FewDescriptors::opened();
            std::this_thread::yield();
            last.reset();
            std::this_thread::yield();
        }
    });
    for (int started = 0; started < 50;) {
        const ChildProcessOptions options = markingProgram(ChildStream::kNull);
        const auto child = ChildProcess::start(options);
        if (child) {
            ++started;
            EXPECT_EQ(child.value()->wait(kLong), ChildEnd(ExitedWithStatus{0}));
        }
        EXPECT_EQ(isMarked(options, ".begun"), static_cast<bool>(child));
        EXPECT_EQ(isMarked(options, ".done"), static_cast<bool>(child));
    }
}

/// Takes the first descriptor that it gets while there is a child, and keeps it for some seconds.
class Keeper {
public:
    /// Whether it gave up its descriptor because nothing else went on.
    bool hasGivenUp() const { return hasGivenUp_; }

private:
    static bool isThereAChild() {
        siginfo_t ended = {};
        return ::waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0;
    }
    void keep(const std::stop_token& stop) {
        FileDescriptor kept;
        while (!stop.stop_requested() && !kept) {
            kept = FewDescriptors::opened();
            if (!isThereAChild()) {
                kept.reset();
                std::this_thread::yield();
            }
        }
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!stop.stop_requested() && !hasGivenUp_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            hasGivenUp_ = std::chrono::steady_clock::now() > end;
        }
    }

    std::atomic<bool> hasGivenUp_ = false;
    std::jthread thread_{[this](const std::stop_token& stop) {
        keep(stop);
    }};
};

TEST_F(DescriptorShortage, AChildWithPipesIsWatchedAlthoughAnotherThreadKeepsTheLastOne) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "The sanitizer needs a pipe itself to look at an object's type.";
#endif
    constexpr std::size_t kJustEnough = 7;
    for (int started = 0; started < 50;) {
        const FewDescriptors few(kJustEnough);
        const Keeper keeper;
        const auto child = ChildProcess::start(markingProgram(ChildStream::kPipe));
        ASSERT_FALSE(keeper.hasGivenUp()) << "the child had to wait for it";
        started += child ? 1 : 0;
    }
}

/// In a process of its own, in which no child was left before. 0 when both were reaped.
int exitStatusOfLeavingOneWithoutAReaper() {
    ChildProcessOptions options = program("/bin/cat");
    options.standardInput = ChildInput::kPipe;
    options.whenReleased = WhenReleased::kLeave;
    auto first = ChildProcess::start(options);
    if (!first) {
        return 1;
    }
    {
        const FewDescriptors few(0);
        first.value().reset(); // It runs still, and the thread that would reap it needs one.
    }
    auto second = ChildProcess::start(options);
    if (!second) {
        return 2;
    }
    second.value().reset();
    waitUntilAllAreReaped();
    return 0;
}

TEST(DescriptorShortageDeathTest, AChildThatIsLeftIsReapedAlthoughOnlyTheNextFindsAThread) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "The sanitizer needs a pipe itself to look at an object's type.";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(exitStatusOfLeavingOneWithoutAReaper()), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace fw
