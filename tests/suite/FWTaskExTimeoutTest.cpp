#include "support/FWTaskEx.h"

#include "platform/mainthread/MainThread.h"
#include "support/task/Task.h"
#include "support/task/TaskRun.h"
#include "tests/suite/HeldTool.h"
#include "tests/suite/HeldWatchdogs.h"
#include "tests/suite/TaskTest.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <thread>

namespace fw {
namespace {

using namespace std::chrono_literals;
using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMessage = "Task /bin/sh timed out. Terminating...";

class FWTaskExTimeoutTest : public TaskTest {
protected:
    /// Has another thread run it while this one serves as the main thread, and does `meanwhile`.
    template <typename Run>
    static auto served(
        Run run, const std::function<void()>& meanwhile = [] {}) {
        std::optional<decltype(run())> result;
        std::atomic<bool> isDone = false;
        const std::jthread other([&] {
            result = run();
            isDone = true;
        });
        while (!isDone) {
            serviceMainThread(1ms);
            meanwhile();
        }
        return *result;
    }
    /// The same; the watchdogs wake when the tool has made the file "started".
    template <typename Run>
    auto cutOff(Run run) {
        HeldWatchdogs watchdogs;
        return served(run, [&] {
            if (exists("started")) {
                watchdogs.wake();
            }
        });
    }
    TaskArguments endless(const std::string& before = ":") {
        return script(before + "; : >\"$0\"; exec sleep 1000", {file("started")});
    }
};

TEST(TimeoutTest, IsCutToWholeSeconds) {
    EXPECT_EQ(Timeout{2.9}.wholeSeconds(), 2s);
    EXPECT_EQ(Timeout{5}.wholeSeconds(), 5s);
    EXPECT_EQ(Timeout{0.99}.wholeSeconds(), 0s);
}

TEST(TimeoutTest, IsNoneWhenItIsNegativeOrNoNumber) {
    using Limits = std::numeric_limits<double>;
    for (const double seconds :
         {-0.5, -1.0, -1e300, -Limits::infinity(), Limits::quiet_NaN(), -Limits::quiet_NaN()}) {
        EXPECT_EQ(Timeout{seconds}.wholeSeconds(), 0s) << seconds;
    }
}

TEST(TimeoutTest, IsHeldAtALongTimeWhenItIsHuge) {
    for (const double seconds : {1e9, 1e18, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Timeout{seconds}.wholeSeconds(), 1'000'000'000s) << seconds;
    }
}

TEST_F(FWTaskExTimeoutTest, ATimeOutOfTwoPointNineSecondsTerminatesAfterTwo) {
    HeldWatchdogs watchdogs;
    std::vector<std::chrono::seconds> asked;
    const std::string printed = printedBy([&] {
        served([&] { return FWTaskEx::terminationCodeFromTask(kShell, endless(), Timeout{2.9}); },
               [&] {
                   if (exists("started")) {
                       asked = watchdogs.asked(1);
                       watchdogs.wake();
                   }
               });
    });
    EXPECT_THAT(asked, ElementsAre(2s));
    EXPECT_EQ(printed, std::string(kMessage) + "\n");
}

TEST_F(FWTaskExTimeoutTest, IsLoggedAndPrintedWithTheLaunchPath) {
    const std::string printed = printedBy([&] {
        cutOff([&] {
            FWTaskEx::runTask(kShell, endless(), Timeout{60});
            return true;
        });
    });
    EXPECT_EQ(printed, std::string(kMessage) + "\n");
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

TEST_F(FWTaskExTimeoutTest, AfterRealSecondsEndsTheTool) {
    const std::string printed = printedBy([&] {
        served([&] {
            FWTaskEx::runTask(kShell, endless(), Timeout{1.5});
            return true;
        });
    });
    EXPECT_EQ(printed, std::string(kMessage) + "\n");
}

TEST_F(FWTaskExTimeoutTest, GivesTheNumberOfTheSignalAsExitStatus) {
    printedBy([&] {
        EXPECT_EQ(cutOff([&] {
                      return FWTaskEx::terminationCodeFromTask(kShell, endless(), Timeout{60});
                  }),
                  SIGTERM);
    });
}

TEST_F(FWTaskExTimeoutTest, GivesWhatTheToolHadProduced) {
    printedBy([&] {
        EXPECT_EQ(cutOff([&] {
                      return FWTaskEx::dataFromTask(kShell, endless("echo part"), Timeout{60});
                  }),
                  bytes("part\n"));
    });
    EXPECT_THAT(logged(), ElementsAre(kMessage));
}

TEST_F(FWTaskExTimeoutTest, GivesTheTextThatTheToolHadProduced) {
    printedBy([&] {
        EXPECT_EQ(cutOff([&] {
                      return FWTaskEx::stringFromTask(kShell, endless("echo part"), Timeout{60});
                  }),
                  "part\n");
    });
}

TEST_F(FWTaskExTimeoutTest, OfAToolThatFillsItsErrorPipeFirstGivesTheBytesReadSoFar) {
    const TaskArguments arguments =
        script("printf early; : >\"$0\"; exec head -c 100000000 /dev/zero >&2", {file("started")});
    const std::string printed = printedBy([&] {
        EXPECT_EQ(cutOff([&] { return FWTaskEx::dataFromTask(kShell, arguments, Timeout{60}); }),
                  bytes("early"))
            << "it stood still: its errors are read when its output has ended";
    });
    EXPECT_EQ(printed, std::string(kMessage) + "\n");
}

TEST_F(FWTaskExTimeoutTest, OfAToolThatIgnoresItIsSaidAndTheToolRunsToItsEnd) {
    const TaskArguments arguments =
        script("trap '' TERM; echo first; : >\"$0\"; read -r line <\"$0.go\"; echo \"$line\"",
               {file("started")});
    fifo("started.go");
    HeldWatchdogs watchdogs;
    std::jthread goOn;
    const std::string printed = printedBy([&] {
        EXPECT_EQ(served([&] { return FWTaskEx::dataFromTask(kShell, arguments, Timeout{60}); },
                         [&] {
                             if (exists("started")) {
                                 watchdogs.wake();
                             }
                             if (!logged().empty() && !goOn.joinable()) {
                                 goOn = std::jthread([&] { writeInto("started.go", "second"); });
                             }
                         }),
                  bytes("first\nsecond\n"));
    });
    EXPECT_EQ(printed, std::string(kMessage) + "\n");
}

TEST_F(FWTaskExTimeoutTest, OfAToolThatIsStillBeingStartedEndsItThenAndHoldsNobodyUp) {
    const std::string tool = made("tool", "#!/bin/sh\nexec sleep 1000\n", 0755);
    HeldTool held(tool);
    if (!held.isHeld()) {
        GTEST_SKIP() << "This file system has no leases.";
    }
    HeldWatchdogs watchdogs;
    const std::string message = "Task " + tool + " timed out. Terminating...";
    const auto before = std::chrono::steady_clock::now();
    const std::string printed = printedBy([&] {
        EXPECT_EQ(served([&] { return FWTaskEx::terminationCodeFromTask(tool, {}, Timeout{60}); },
                         [&] {
                             if (held.isWaitedFor()) {
                                 watchdogs.wake();
                             }
                             if (!logged().empty()) {
                                 held.release();
                             }
                         }),
                  SIGTERM);
    });
    EXPECT_EQ(printed, message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
    EXPECT_LT(std::chrono::steady_clock::now() - before, 20s);
}

TEST_F(FWTaskExTimeoutTest, OfAToolThatEndedInTimeDoesNothing) {
    HeldWatchdogs watchdogs;
    const std::string printed = printedBy([&] {
        EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("exit 3"), Timeout{5}), 3);
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo out"), Timeout{5}), bytes("out\n"));
        EXPECT_EQ(FWTaskEx::stringFromTask(kShell, script("echo out"), Timeout{5}), "out\n");
        watchdogs.asked(3);
        watchdogs.wake(); // They wake all the same, and find no child.
        serviceMainThread(20ms);
    });
    EXPECT_EQ(printed, "");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExTimeoutTest, DoesNotCutOffARunOnAMainThreadThatIsNotServed) {
    HeldWatchdogs watchdogs;
    watchdogs.wake();
    const std::string printed = printedBy([&] {
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("sleep 0.1; echo whole"), Timeout{0}),
                  bytes("whole\n"));
        serviceMainThread(20ms);
    });
    EXPECT_EQ(printed, "");
}

TEST_F(FWTaskExTimeoutTest, ThatIsHugeDoesNotBlockTheRun) {
    for (const double seconds : {1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo out"), Timeout{seconds}),
                  bytes("out\n"));
    }
}

TEST_F(FWTaskExTimeoutTest, ThatIsNoneDoesNotBlockTheRun) {
    for (const double seconds : {-5.0, 0.0, std::numeric_limits<double>::quiet_NaN()}) {
        printedBy([&] {
            EXPECT_THAT(served([&] {
                            return FWTaskEx::terminationCodeFromTask("/bin/true", {},
                                                                     Timeout{seconds});
                        }),
                        testing::AnyOf(0, SIGTERM))
                << "it ended by itself, or was ended";
        });
    }
}

TEST_F(FWTaskExTimeoutTest, OfAToolThatCannotRunIsItsMessageAndTheNeutralResult) {
    HeldWatchdogs watchdogs;
    const std::string missing = file("missing");
    std::string printed;
    printed += printedBy([&] { FWTaskEx::runTask(missing, {}, Timeout{5}); });
    printed += printedBy(
        [&] { EXPECT_EQ(FWTaskEx::terminationCodeFromTask(missing, {}, Timeout{5}), -1); });
    printed += printedBy(
        [&] { EXPECT_EQ(FWTaskEx::dataFromTask(missing, {}, Timeout{5}), std::nullopt); });
    printed += printedBy([&] { EXPECT_EQ(FWTaskEx::stringFromTask(missing, {}, Timeout{5}), ""); });
    const std::string message = "Error: " + missing + " is not executable\n";
    EXPECT_EQ(printed, message + message + message + message);
}

TEST_F(FWTaskExTimeoutTest, TakesOfTheToolWhatIsAskedFor) {
    HeldWatchdogs watchdogs;
    const TaskArguments both = script("echo out; echo err >&2");
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, both, Timeout{5}, LogOutput::kYes, LogError::kNo),
              bytes("out\n"));
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo err >&2"), Timeout{5}, LogOutput::kYes,
                                     LogError::kNo),
              TaskOutput());
    const std::string printed = printedBy([&] {
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, both, Timeout{5}, LogOutput::kNo, LogError::kYes),
                  bytes("err\n"));
        EXPECT_EQ(FWTaskEx::stringFromTask(kShell, both, TextEncoding::kAscii, Timeout{5},
                                           LogOutput::kNo, LogError::kYes),
                  "err\n");
    });
    EXPECT_EQ(printed, "out\nout\n");
}

TEST_F(FWTaskExTimeoutTest, GivesTextInTheEncodingGiven) {
    HeldWatchdogs watchdogs;
    const TaskArguments word = {"\xC3\xA9"};
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, Timeout{5}), "");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, TextEncoding::kUtf8, Timeout{5}),
              "\xC3\xA9\n");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, TextEncoding::kUtf8, Timeout{5},
                                       LogOutput::kYes, LogError::kYes),
              "\xC3\xA9\n");
}

TEST_F(FWTaskExTimeoutTest, EndsSeveralRunsAtOnce) {
    constexpr int kRuns = 4;
    HeldWatchdogs watchdogs;
    std::atomic<int> ended = 0;
    const std::string printed = printedBy([&] {
        std::vector<std::jthread> runs;
        for (int run = 0; run < kRuns; ++run) {
            runs.emplace_back([&, run] {
                const std::string started = file("started" + std::to_string(run));
                const auto output = FWTaskEx::dataFromTask(
                    kShell, script("echo part; : >\"$0\"; exec sleep 1000", {started}),
                    Timeout{60});
                EXPECT_EQ(output, bytes("part\n"));
                ++ended;
            });
        }
        waitUntil([&] {
            int started = 0;
            for (int run = 0; run < kRuns; ++run) {
                started += exists("started" + std::to_string(run)) ? 1 : 0;
            }
            return started == kRuns;
        });
        watchdogs.wake();
        while (ended < kRuns) {
            serviceMainThread(1ms);
        }
    });
    EXPECT_THAT(logged(), ElementsAre(kMessage, kMessage, kMessage, kMessage));
}

TEST_F(FWTaskExTimeoutTest, LeavesAChildThatIsNotLaunchedYetAlone) {
    const auto run = std::make_shared<TaskRun>();
    EXPECT_EQ(printedBy([&] { run->timeout(); }), "") << "no child at all";
    ChildProcessOptions options;
    options.path = "/bin/true";
    const auto task = std::make_shared<Task>(options);
    run->theTask.put(task);
    EXPECT_EQ(printedBy([&] { run->timeout(); }), "");
    EXPECT_TRUE(task->launch());
    EXPECT_EQ(task->waitForTerminationStatus(), 0);
    EXPECT_EQ(printedBy([&] { run->timeout(); }), "") << "no longer running";
}

} // namespace
} // namespace fw
