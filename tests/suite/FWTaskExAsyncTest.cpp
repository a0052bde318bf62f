#include "support/FWTaskEx.h"

#include "platform/mainthread/MainThread.h"
#include "support/task/Task.h"
#include "support/task/TaskRun.h"
#include "tests/suite/HeldTool.h"
#include "tests/suite/TaskTest.h"
#include "tests/support/ScopedEnvironment.h"

#include <any>
#include <atomic>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

/// Keeps what a delegate is told; the calls may outlive the test.
class Told {
public:
    TaskDelegate delegate() const {
        return [state = state_](const TaskOutput& chunk, FWTaskEx& task, const std::any* object) {
            const std::lock_guard lock(state->mutex);
            state->chunks.push_back(text(chunk));
            state->tasks.push_back(&task);
            state->objects.push_back(object == nullptr ? "none"
                                                       : std::any_cast<const char*>(*object));
            state->threads.push_back(std::this_thread::get_id());
            state->onMain = state->onMain || isMainThread();
        };
    }
    std::vector<std::string> chunks() const { return read(&State::chunks); }
    std::vector<FWTaskEx*> tasks() const { return read(&State::tasks); }
    std::vector<std::string> objects() const { return read(&State::objects); }
    std::vector<std::thread::id> threads() const { return read(&State::threads); }
    bool onMain() const { return read(&State::onMain); }

    void waitForChunks(std::size_t count) const {
        waitUntil([&] { return chunks().size() >= count; });
    }
    void waitForEnd() const {
        waitUntil([&] {
            const std::vector<std::string> all = chunks();
            return !all.empty() && all.back().empty();
        });
    }
    /// All chunks but the last, which must be the only empty one.
    std::string whole() const {
        std::string whole;
        const std::vector<std::string> all = chunks();
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(all[i].empty(), i + 1 == all.size()) << i;
            whole += all[i];
        }
        return whole;
    }

private:
    struct State {
        std::mutex mutex;
        std::vector<std::string> chunks;
        std::vector<FWTaskEx*> tasks;
        std::vector<std::string> objects;
        std::vector<std::thread::id> threads;
        bool onMain = false;
    };

    template <typename Member>
    Member read(Member State::*member) const {
        const std::lock_guard lock(state_->mutex);
        return (*state_).*member;
    }

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

class FWTaskExAsyncTest : public TaskTest {
protected:
    FWTaskExAsyncTest() {
        startReaper();
        threadsBefore_ = threads();
    }
    /// What a reading thread still has to say belongs to this test.
    ~FWTaskExAsyncTest() override {
        waitUntil([&] { return threads() <= threadsBefore_; });
    }

    /// A tool that writes "started" and then each line that comes through "go0", "go1", ...
    TaskArguments chunkwise(int lines) {
        std::string commands = "printf started;";
        for (int i = 0; i < lines; ++i) {
            const std::string pipe = fifo("go" + std::to_string(i));
            commands += "read -r line <" + pipe + "; printf %s \"$line\";";
        }
        return script(commands);
    }

    static std::shared_ptr<Task> task(const std::string& path, const TaskArguments& arguments) {
        ChildProcessOptions options;
        options.path = path;
        options.arguments = arguments;
        options.standardOutput = ChildStream::kPipe;
        return std::make_shared<Task>(options, TaskReading::kUntilStopped);
    }

    Told told;

private:
    std::size_t threadsBefore_ = 0;
};

TEST_F(FWTaskExAsyncTest, TellsEachChunkOnceAndThenTheEnd) {
    FWTaskEx task;
    task.asyncDataFromTask(kShell, chunkwise(2), told.delegate(), {});
    told.waitForChunks(1);
    writeInto("go0", "one");
    told.waitForChunks(2);
    writeInto("go1", "two");
    told.waitForEnd();
    EXPECT_THAT(told.chunks(), ElementsAre("started", "one", "two", ""));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, TellsTheEndAloneOfAToolThatWritesNothing) {
    FWTaskEx task;
    task.asyncDataFromTask("/bin/true", {}, told.delegate(), {});
    told.waitForEnd();
    EXPECT_THAT(told.chunks(), ElementsAre(""));
}

TEST_F(FWTaskExAsyncTest, TellsALongOutputWhole) {
    FWTaskEx task;
    task.asyncDataFromTask(kShell, script("head -c 10000000 /dev/zero"), told.delegate(), {});
    told.waitForEnd();
    EXPECT_TRUE(told.whole() == std::string(10'000'000, '\0'));
}

TEST_F(FWTaskExAsyncTest, ReturnsAtOnceAndTellsOnOneOtherThread) {
    FWTaskEx task;
    task.asyncDataFromTask(kShell, chunkwise(1), told.delegate(), {});
    writeInto("go0", "one"); // Nobody could write it if the call were still waiting for the tool.
    told.waitForEnd();
    EXPECT_FALSE(told.onMain());
    for (const std::thread::id thread : told.threads()) {
        EXPECT_EQ(thread, told.threads().front());
    }
}

TEST_F(FWTaskExAsyncTest, TellsWhoRunsAndTheObjectGiven) {
    FWTaskEx task;
    task.asyncDataFromTask("/bin/echo", {"out"}, told.delegate(), "object");
    told.waitForEnd();
    EXPECT_THAT(told.tasks(), ElementsAre(&task, &task));
    EXPECT_THAT(told.objects(), ElementsAre("object", "object"));
}

TEST_F(FWTaskExAsyncTest, TellsNoObjectWhenNoneWasGiven) {
    FWTaskEx task;
    task.asyncDataFromTask("/bin/echo", {"out"}, told.delegate(), {});
    told.waitForEnd();
    EXPECT_THAT(told.objects(), ElementsAre("none", "none"));
}

TEST_F(FWTaskExAsyncTest, DropsStandardError) {
    FWTaskEx task;
    task.asyncDataFromTask(kShell, script("echo err >&2; head -c 1000000 /dev/zero >&2; echo out"),
                           told.delegate(), {});
    told.waitForEnd();
    EXPECT_EQ(told.whole(), "out\n");
}

TEST_F(FWTaskExAsyncTest, GivesTheToolOurEnvironmentOrAnother) {
    const ScopedEnvironment variable("FW_TEST_VARIABLE", "ours");
    const TaskArguments show = script("echo \"$FW_TEST_VARIABLE,$OTHER\"");
    FWTaskEx task;
    task.asyncDataFromTask(kShell, show, told.delegate(), {});
    told.waitForEnd();
    EXPECT_EQ(told.whole(), "ours,\n");
    const Told again;
    FWTaskEx second;
    second.asyncDataFromTask(kShell, show, again.delegate(), {}, TaskEnvironment{{"OTHER", "a=b"}});
    again.waitForEnd();
    EXPECT_EQ(again.whole(), ",a=b\n");
}

TEST_F(FWTaskExAsyncTest, ForgetsDelegateObjectAndTaskAtTheEnd) {
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    int calls = 0;
    run->begin(
        task("/bin/echo", {"out"}),
        [held, &calls](const TaskOutput&, FWTaskEx&, const std::any*) { ++calls; }, held, owner);
    held.reset();
    EXPECT_FALSE(run->theTask.isEmpty());
    EXPECT_EQ(watch.use_count(), 2) << "the delegate's and the object";
    run->launchAsyncTask(run->theTask.task());
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(run->theTask.isEmpty());
}

TEST_F(FWTaskExAsyncTest, DropsTheOutputWhenThereIsNoDelegate) {
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    run->begin(task(kShell, script("head -c 1000000 /dev/zero; : >\"$0\"", {file("end")})), {}, {},
               owner);
    run->launchAsyncTask(run->theTask.task());
    EXPECT_TRUE(exists("end")) << "it was read to the end";
    EXPECT_TRUE(run->theTask.isEmpty());
    EXPECT_THAT(logged(), IsEmpty());
}

// What goes wrong

TEST_F(FWTaskExAsyncTest, SaysThatThereIsNoTask) {
    const auto run = std::make_shared<TaskRun>();
    const auto forgotten = task("/bin/echo", {"out"});
    EXPECT_EQ(printedBy([&] { run->launchAsyncTask(forgotten); }),
              "Unable to launch async task - no task set\n");
    EXPECT_THAT(logged(), ElementsAre("Unable to launch async task - no task set"));
}

TEST_F(FWTaskExAsyncTest, SaysThatThereIsNoTaskWhenItWasTerminatedJustBefore) {
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    const auto terminated = task("/bin/echo", {"out"});
    run->begin(terminated, told.delegate(), {}, owner);
    terminated->terminate();
    EXPECT_EQ(printedBy([&] { run->launchAsyncTask(terminated); }),
              "Unable to launch async task - no task set\n");
    EXPECT_THAT(told.chunks(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, SaysThatThereIsNoTaskWhenAnotherRunHasBegunSince) {
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    const auto first = task("/bin/echo", {"first"});
    const auto second = task("/bin/echo", {"second"});
    run->begin(first, told.delegate(), {}, owner);
    run->begin(second, told.delegate(), {}, owner);
    EXPECT_EQ(printedBy([&] { run->launchAsyncTask(first); }),
              "Unable to launch async task - no task set\n");
    run->launchAsyncTask(second);
    EXPECT_EQ(told.whole(), "second\n");
}

TEST_F(FWTaskExAsyncTest, LogsButDoesNotPrintThatTheToolCannotRunAndKeepsTheTask) {
    made("text", "text", 0644);
    const std::string message =
        "Unable to launch async task - task does not exist or is not executable";
    FWTaskEx owner;
    for (const std::string& path :
         {file("missing"), file("text"), std::string(), std::string("/")}) {
        const auto run = std::make_shared<TaskRun>();
        run->begin(task(path, {}), told.delegate(), {}, owner);
        EXPECT_EQ(printedBy([&] { run->launchAsyncTask(run->theTask.task()); }), "");
        EXPECT_EQ(logged().back(), message);
        EXPECT_FALSE(run->theTask.isEmpty());
        EXPECT_EQ(run->theTask.launchPath(), path);
    }
    EXPECT_EQ(logged().size(), 4U);
    EXPECT_THAT(told.chunks(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, LogsAndPrintsAnExceptionAndStopsReading) {
    const std::string path = made("text", "no program", 0755);
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    run->begin(task(path, {}), told.delegate(), {}, owner);
    EXPECT_EQ(printedBy([&] { run->launchAsyncTask(run->theTask.task()); }),
              "Exception: Exec format error\n");
    EXPECT_THAT(logged(), ElementsAre("Exception: Exec format error"));
    EXPECT_THAT(told.chunks(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, LogsAndPrintsAnExceptionOfTheDelegateAndStopsReading) {
    const auto run = std::make_shared<TaskRun>();
    FWTaskEx owner;
    int calls = 0;
    run->begin(
        task("/bin/echo", {"out"}),
        [&](const TaskOutput&, FWTaskEx&, const std::any*) {
            ++calls;
            throw std::runtime_error("the reason");
        },
        {}, owner);
    EXPECT_EQ(printedBy([&] { run->launchAsyncTask(run->theTask.task()); }),
              "Exception: the reason\n");
    EXPECT_EQ(calls, 1);
    run->abandon(); // The call has been left, so this does not wait for it.
}

TEST_F(FWTaskExAsyncTest, SaysSoThroughTheObjectAsWell) {
    FWTaskEx task;
    task.asyncDataFromTask(file("missing"), {}, told.delegate(), {});
    waitUntil([&] { return !logged().empty(); });
    EXPECT_THAT(
        logged(),
        ElementsAre("Unable to launch async task - task does not exist or is not executable"));
    EXPECT_THAT(told.chunks(), IsEmpty());
}

// The end from outside

TEST_F(FWTaskExAsyncTest, EndsTheToolAndTellsNothingMoreWhenItIsTerminated) {
    FWTaskEx task;
    for (const auto terminate : {&FWTaskEx::terminateTask, &FWTaskEx::terminateAsyncTask}) {
        const Told heard;
        auto held = std::make_shared<int>(1);
        const std::weak_ptr<int> watch = held;
        task.asyncDataFromTask(
            kShell, script("printf started; exec sleep 1000"),
            [tell = heard.delegate(), held](const TaskOutput& chunk, FWTaskEx& self,
                                            const std::any*) { tell(chunk, self, nullptr); },
            held);
        held.reset();
        heard.waitForChunks(1);
        (task.*terminate)();
        waitUntilAllAreReaped();
        waitUntil([&] { return watch.expired(); });
        EXPECT_THAT(heard.chunks(), ElementsAre("started"));
    }
    task.terminateTask(); // Nothing is on.
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, EndsTheToolWhenTheObjectGoes) {
    {
        FWTaskEx task;
        task.asyncDataFromTask(kShell, script("printf started; exec sleep 1000"), told.delegate(),
                               {});
        told.waitForChunks(1);
    }
    waitUntilAllAreReaped();
    EXPECT_THAT(told.chunks(), ElementsAre("started"));
}

TEST_F(FWTaskExAsyncTest, DoesNotWaitForTheStartOfTheToolWhenTheObjectGoes) {
    const std::string path = made("tool", "#!/bin/sh\necho started; exec sleep 1000\n", 0755);
    HeldTool held(path);
    if (!held.isHeld()) {
        GTEST_SKIP() << "This file system has no leases.";
    }
    auto task = std::make_unique<FWTaskEx>();
    task->asyncDataFromTask(path, {}, told.delegate(), {});
    waitUntil([&] { return held.isWaitedFor(); });
    const auto before = std::chrono::steady_clock::now();
    task.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    held.release();
    waitUntilAllAreReaped(); // It was terminated as soon as it had been started.
    EXPECT_THAT(told.chunks(), IsEmpty());
}

TEST_F(FWTaskExAsyncTest, StopsReadingEvenWhenAnotherProcessKeepsThePipeOpen) {
    const std::size_t before = openDescriptors();
    {
        FWTaskEx task;
        const TaskArguments arguments =
            script("(read -r line; printf late) <\"$0\" & printf started; wait", {fifo("go")});
        task.asyncDataFromTask(kShell, arguments, told.delegate(), {});
        told.waitForChunks(1);
    }
    waitUntilAllAreReaped();
    // The reading thread has let the pipe go although it has no end yet.
    waitUntil([&] { return openDescriptors() <= before; });
    writeInto("go", "on");
    EXPECT_THAT(told.chunks(), ElementsAre("started"));
}

TEST_F(FWTaskExAsyncTest, CanEndManyRunsAtAnyMoment) {
    for (int i = 0; i < 200; ++i) {
        FWTaskEx task;
        task.asyncDataFromTask(kShell, script("echo out; exec sleep 1000"), told.delegate(), {});
        if (i % 4 == 1) {
            std::this_thread::yield();
        } else if (i % 4 == 2) {
            std::this_thread::sleep_for(std::chrono::microseconds(i * 20));
        } else if (i % 4 == 3) {
            task.terminateTask();
        }
    }
    waitUntilAllAreReaped();
}

// The object within its own calls

TEST_F(FWTaskExAsyncTest, MayBeDestroyedWithinACall) {
    auto task = std::make_unique<FWTaskEx>();
    std::atomic<int> calls = 0;
    std::promise<void> isOwned;
    task->asyncDataFromTask(kShell, script("printf started; exec sleep 1000"),
                            [&, owned = isOwned.get_future().share()](
                                const TaskOutput&, FWTaskEx& self, const std::any*) {
                                owned.wait();
                                EXPECT_EQ(&self, task.get());
                                task.reset();
                                ++calls;
                            },
                            {});
    isOwned.set_value();
    waitUntil([&] { return calls == 1; });
    waitUntilAllAreReaped();
    EXPECT_EQ(calls, 1);
}

TEST_F(FWTaskExAsyncTest, MayBeDestroyedWithinTheLastCall) {
    auto task = std::make_unique<FWTaskEx>();
    std::atomic<bool> isGone = false;
    std::promise<void> isOwned;
    task->asyncDataFromTask("/bin/echo", {"out"},
                            [&, owned = isOwned.get_future().share()](const TaskOutput& chunk,
                                                                      FWTaskEx&, const std::any*) {
                                owned.wait();
                                if (chunk.empty()) {
                                    task.reset();
                                    isGone = true;
                                }
                            },
                            {});
    isOwned.set_value();
    waitUntil([&] { return isGone.load(); });
    waitUntilAllAreReaped();
}

TEST_F(FWTaskExAsyncTest, MayBeDestroyedOnTheMainThreadThatACallWaitsFor) {
    auto task = std::make_unique<FWTaskEx>();
    std::atomic<bool> isLeft = false;
    task->asyncDataFromTask("/bin/echo", {"out"},
                            [&](const TaskOutput& chunk, FWTaskEx&, const std::any*) {
                                if (chunk.empty()) {
                                    EXPECT_TRUE(runOnMainThread([&] { task.reset(); }));
                                    isLeft = true;
                                }
                            },
                            {});
    while (!isLeft) {
        serviceMainThread(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(task, nullptr);
}

TEST_F(FWTaskExAsyncTest, MayBelongToItsDelegate) {
    auto task = std::make_shared<FWTaskEx>();
    const std::weak_ptr<FWTaskEx> watch = task;
    FWTaskEx& running = *task;
    running.asyncDataFromTask("/bin/echo", {"out"},
                              [task](const TaskOutput&, FWTaskEx& self, const std::any*) {
                                  EXPECT_EQ(&self, task.get());
                              },
                              {});
    task.reset();
    waitUntil([&] { return watch.expired(); });
}

TEST_F(FWTaskExAsyncTest, MayBeTerminatedWithinACall) {
    FWTaskEx task;
    std::atomic<int> calls = 0;
    task.asyncDataFromTask(kShell, script("printf started; exec sleep 1000"),
                           [&](const TaskOutput&, FWTaskEx& self, const std::any*) {
                               self.terminateTask();
                               ++calls;
                           },
                           {});
    waitUntilAllAreReaped();
    waitUntil([&] { return calls == 1; });
}

TEST_F(FWTaskExAsyncTest, WaitsForACallOfAnotherThreadWhenItGoes) {
    std::atomic<bool> isInCall = false;
    std::atomic<bool> isLeft = false;
    std::atomic<bool> mayLeave = false;
    std::jthread destroying;
    {
        auto task = std::make_unique<FWTaskEx>();
        task->asyncDataFromTask("/bin/echo", {"out"},
                                [&](const TaskOutput&, FWTaskEx&, const std::any*) {
                                    isInCall = true;
                                    waitUntil([&] { return mayLeave.load(); });
                                    isLeft = true;
                                },
                                {});
        waitUntil([&] { return isInCall.load(); });
        destroying = std::jthread([&isLeft, owned = std::move(task)]() mutable {
            owned.reset();
            EXPECT_TRUE(isLeft);
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // It comes to wait by then.
    mayLeave = true;
}

TEST_F(FWTaskExAsyncTest, OneObjectCanRunOneToolAfterTheOther) {
    FWTaskEx task;
    for (int i = 0; i < 20; ++i) {
        const Told heard;
        task.asyncDataFromTask("/bin/echo", {std::to_string(i)}, heard.delegate(), {});
        heard.waitForEnd();
        EXPECT_EQ(heard.whole(), std::to_string(i) + "\n");
        task.terminateTask(); // The run ends by itself just now, or here.
    }
}

TEST_F(FWTaskExAsyncTest, ARunThatIsOverDoesNotEndTheOneAfterIt) {
    FWTaskEx task;
    for (int i = 0; i < 20; ++i) {
        task.asyncDataFromTask(kShell, script("echo out; exec sleep 1000"), told.delegate(), {});
        task.terminateTask();
        const Told heard;
        task.asyncDataFromTask("/bin/echo", {"next"}, heard.delegate(), {});
        heard.waitForEnd();
        EXPECT_EQ(heard.whole(), "next\n");
        task.terminateTask();
    }
}

} // namespace
} // namespace fw
