#include "support/FWTaskEx.h"

#include "platform/tools/toolPath.h"
#include "tests/suite/HeldTool.h"
#include "tests/suite/TaskTest.h"
#include "tests/support/FewDescriptors.h"

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

/// The current folder is another one while this lives.
class CurrentFolder {
public:
    explicit CurrentFolder(const fs::path& folder) : before_(fs::current_path()) {
        fs::current_path(folder);
    }
    ~CurrentFolder() { fs::current_path(before_); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    fs::path before_;
};

class FWTaskExTest : public TaskTest {
protected:
    /// What it logged and printed, both in one list, when it did the same.
    template <typename Code>
    void expectNotExecutable(const std::string& path, Code code) {
        const std::size_t before = logged().size();
        const std::string message = "Error: " + path + " is not executable";
        EXPECT_EQ(printedBy(code), message + "\n");
        const std::vector<std::string> all = logged();
        EXPECT_EQ(all.size(), before + 1);
        EXPECT_EQ(all.back(), message);
    }
};

TEST_F(FWTaskExTest, RunsAToolToItsEnd) {
    EXPECT_TRUE(FWTaskEx::runTask(kShell, script(": >\"$0\"", {file("done")})));
    EXPECT_TRUE(exists("done"));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExTest, DoesNotLookAtTheExitStatusOfARun) {
    EXPECT_TRUE(FWTaskEx::runTask(kShell, script("exit 3")));
    EXPECT_TRUE(FWTaskEx::runTask(kShell, script("kill -9 $$")));
}

TEST_F(FWTaskExTest, DropsWhatARunWrites) {
    EXPECT_EQ(printedBy([] { FWTaskEx::runTask(kShell, script("echo out; echo err >&2")); }), "");
}

TEST_F(FWTaskExTest, HandsArgumentsOverAsTheyAre) {
    const TaskArguments arguments = script(R"(printf '[%s]' "$@" >"$0")",
                                           {file("seen"), "", "a b", "\"%@\"", "\n", "\xC3\xA9"});
    EXPECT_TRUE(FWTaskEx::runTask(kShell, arguments));
    EXPECT_EQ(contents("seen"), "[][a b][\"%@\"][\n][\xC3\xA9]");
}

TEST_F(FWTaskExTest, RunsWithoutArguments) {
    EXPECT_TRUE(FWTaskEx::runTask("/bin/true", {}));
}

TEST_F(FWTaskExTest, GivesARunTheStandardInputOfThisProgram) {
    const int saved = ::dup(STDIN_FILENO);
    std::array<int, 2> ends = {};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ASSERT_EQ(::write(ends[1], "ours\n", 5), 5);
    ::dup2(ends[0], STDIN_FILENO);
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("read -r a; test \"$a\" = ours")),
              0);
    ::dup2(saved, STDIN_FILENO);
    for (const int descriptor : {saved, ends[0], ends[1]}) {
        ::close(descriptor);
    }
}

// The check beforehand

TEST_F(FWTaskExTest, LaunchesARelativeNameWithoutAnyCheck) {
    made("tool", "#!/bin/sh\n: >ran\n", 0755);
    const CurrentFolder folder(fs::path(file("tool")).parent_path());
    EXPECT_TRUE(FWTaskEx::runTask("tool", {}));
    EXPECT_TRUE(exists("ran"));
    made("text", "text", 0644);
    std::string printed = printedBy([] {
        EXPECT_FALSE(FWTaskEx::runTask("text", {}));
        EXPECT_FALSE(FWTaskEx::runTask("missing", {}));
        EXPECT_FALSE(FWTaskEx::runTask("sh", {})) << "there is no search";
    });
    EXPECT_EQ(printed, "") << "no exception of a run is printed";
    EXPECT_THAT(logged(), ElementsAre("Exception running task text: Permission denied",
                                      "Exception running task missing: No such file or directory",
                                      "Exception running task sh: No such file or directory"));
}

TEST_F(FWTaskExTest, LaunchesAnEmptyPathWithoutAnyCheck) {
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(FWTaskEx::runTask("", {})); }), "");
    EXPECT_THAT(logged(), ElementsAre("Exception running task : No such file or directory"));
}

TEST_F(FWTaskExTest, RunsNoBundle) {
    const std::string bundle = file("Tool.app");
    fs::create_directories(bundle + "/Contents/MacOS");
    expectNotExecutable(bundle, [&] { EXPECT_FALSE(FWTaskEx::runTask(bundle, {})); });
}

TEST_F(FWTaskExTest, RunsNoAbsolutePathWithoutAProgram) {
    fs::create_directories(file("folder"));
    for (const std::string& path :
         {file("missing"), made("text", "text", 0644), file("folder"), std::string("/")}) {
        expectNotExecutable(path, [&] { EXPECT_FALSE(FWTaskEx::runTask(path, {})); });
    }
}

TEST_F(FWTaskExTest, RunsNoPathThatIsCutAtAZeroByte) {
    const std::string path("/bin/true\0x", 11);
    printedBy([&] {
        EXPECT_FALSE(FWTaskEx::runTask(path, {}));
        EXPECT_EQ(FWTaskEx::terminationCodeFromTask(path, {}), -1);
        EXPECT_FALSE(FWTaskEx::runTask("/bin/true", {std::string("a\0b", 3)}));
    });
    EXPECT_EQ(logged().back(), "Exception running task /bin/true: Invalid argument");
}

TEST_F(FWTaskExTest, LogsTheReasonWhenAFileThatMayRunIsNoProgram) {
    const std::string path = made("text", "no program", 0755);
    EXPECT_EQ(printedBy([&] {
                  EXPECT_FALSE(FWTaskEx::runTask(path, {}));
                  EXPECT_EQ(FWTaskEx::terminationCodeFromTask(path, {}), -1);
                  FWTaskEx::runTaskAndReturn(path, {});
              }),
              "");
    const std::string message = "Exception running task " + path + ": Exec format error";
    EXPECT_THAT(logged(), ElementsAre(message, message, message));
}

// Where the machine has a tool elsewhere

TEST_F(FWTaskExTest, RunsAToolWhereTheMachineHasIt) {
    const std::string standIn = made("chown", "#!/bin/sh\necho \"$@\" >\"$0.seen\"\n", 0755);
    const StandInTools before = setStandInTools({{"/usr/sbin/chown", standIn}});
    EXPECT_TRUE(FWTaskEx::runTask("/usr/sbin/chown", {"user", "/path"}));
    EXPECT_EQ(contents("chown.seen"), "user /path\n");
    setStandInTools({{"/usr/sbin/chown", file("missing")}});
    expectNotExecutable("/usr/sbin/chown",
                        [] { EXPECT_FALSE(FWTaskEx::runTask("/usr/sbin/chown", {})); });
    setStandInTools(before);
}

// Without waiting

TEST_F(FWTaskExTest, ReturnsWhileTheToolRunsOn) {
    FWTaskEx::runTaskAndReturn(
        kShell, script("read -r line <\"$0\"; echo \"$line\" >\"$0.copy\"", {fifo("go")}));
    writeInto("go", "text");
    waitUntilAllAreReaped();
    EXPECT_EQ(contents("go.copy"), "text\n");
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExTest, ReturnsFromAToolThatCannotRunWithAMessage) {
    made("text", "text", 0644);
    for (const std::string& path : {file("missing"), file("text"), std::string("true")}) {
        expectNotExecutable(path, [&] { FWTaskEx::runTaskAndReturn(path, {}); });
    }
}

TEST_F(FWTaskExTest, DropsWhatAToolThatRunsOnWrites) {
    EXPECT_EQ(printedBy([] {
                  FWTaskEx::runTaskAndReturn(kShell, script("echo out; echo err >&2"));
                  waitUntilAllAreReaped();
              }),
              "");
}

// Exit statuses

TEST_F(FWTaskExTest, GivesTheExitStatus) {
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask("/bin/true", {}), 0);
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("exit 3")), 3);
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("exit 255")), 255);
    EXPECT_EQ(printedBy([] { FWTaskEx::terminationCodeFromTask(kShell, script("echo out")); }), "");
}

TEST_F(FWTaskExTest, GivesTheNumberOfTheSignalThatEndedTheTool) {
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("kill -9 $$")), SIGKILL);
}

TEST_F(FWTaskExTest, GivesMinusOneForAToolThatCannotRun) {
    made("text", "text", 0644);
    for (const std::string& path :
         {file("missing"), file("text"), std::string("true"), std::string()}) {
        expectNotExecutable(path,
                            [&] { EXPECT_EQ(FWTaskEx::terminationCodeFromTask(path, {}), -1); });
    }
}

TEST_F(FWTaskExTest, ChecksARelativeNameBeforeItTellsTheExitStatus) {
    made("tool", "#!/bin/sh\nexit 7\n", 0755);
    const CurrentFolder folder(fs::path(file("tool")).parent_path());
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask("tool", {}), 7);
}

// The slot

TEST_F(FWTaskExTest, AnotherThreadCanTerminateAToolThroughItsSlot) {
    TaskSlot slot;
    EXPECT_TRUE(slot.isEmpty());
    EXPECT_FALSE(slot.isRunning());
    EXPECT_EQ(slot.launchPath(), "");
    slot.terminate();
    std::jthread other([&] {
        waitUntil([&] { return slot.isRunning(); });
        EXPECT_EQ(slot.launchPath(), kShell);
        slot.terminate();
    });
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("exec sleep 1000"), slot), SIGTERM);
    EXPECT_FALSE(slot.isRunning());
    EXPECT_FALSE(slot.isEmpty());
    slot.terminate();
}

TEST_F(FWTaskExTest, AnotherThreadCanTerminateARun) {
    TaskSlot slot;
    std::jthread other([&] {
        waitUntil([&] { return slot.isRunning(); });
        slot.terminate();
    });
    EXPECT_TRUE(FWTaskEx::runTask(kShell, script("exec sleep 1000"), slot));
}

TEST_F(FWTaskExTest, ATerminationBeforeTheLaunchIsNotLost) {
    for (int i = 0; i < 50; ++i) {
        TaskSlot slot;
        std::jthread other([&] {
            waitUntil([&] { return !slot.isEmpty(); });
            slot.terminate();
        });
        const std::int64_t code =
            FWTaskEx::terminationCodeFromTask(kShell, script("exec sleep 1000"), slot);
        EXPECT_THAT(code, testing::AnyOf(SIGTERM, -1));
    }
}

TEST_F(FWTaskExTest, AToolThatIsBeingStartedCountsAsRunningAndIsTerminatedThen) {
    const std::string tool = made("tool", "#!/bin/sh\nexec sleep 1000\n", 0755);
    HeldTool held(tool);
    if (!held.isHeld()) {
        GTEST_SKIP() << "This file system has no leases.";
    }
    TaskSlot slot;
    std::jthread run(
        [&] { EXPECT_EQ(FWTaskEx::terminationCodeFromTask(tool, {}, slot), SIGTERM); });
    waitUntil([&] { return held.isWaitedFor(); });
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(slot.isRunning());
    slot.terminate();
    EXPECT_TRUE(slot.isRunning());
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10))
        << "nobody waits for the start but who starts";
    held.release();
    run.join();
    EXPECT_FALSE(slot.isRunning());
}

TEST_F(FWTaskExTest, AToolThatCouldNotBeStartedDoesNotRun) {
    TaskSlot slot;
    EXPECT_FALSE(FWTaskEx::runTask("missing", {}, slot));
    EXPECT_FALSE(slot.isEmpty());
    EXPECT_FALSE(slot.isRunning());
}

TEST_F(FWTaskExTest, ASlotStaysEmptyWhenNothingCanRun) {
    TaskSlot slot;
    printedBy([&] {
        FWTaskEx::runTask(file("missing"), {}, slot);
        FWTaskEx::terminationCodeFromTask(file("missing"), {}, slot);
        FWTaskEx::dataFromTask(file("missing"), {}, slot);
    });
    EXPECT_TRUE(slot.isEmpty());
}

// What is left behind

TEST_F(FWTaskExTest, TenThousandToolsInARowLeaveNeitherZombiesNorDescriptors) {
    startReaper();
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 2'500; ++i) {
        ASSERT_TRUE(FWTaskEx::runTask("/bin/true", {}));
        ASSERT_EQ(FWTaskEx::terminationCodeFromTask("/bin/true", {}), 0);
        ASSERT_EQ(FWTaskEx::dataFromTask("/bin/true", {}), TaskOutput());
        FWTaskEx::runTaskAndReturn("/bin/true", {});
    }
    waitUntilAllAreReaped();
    waitUntil([&] { return openDescriptors() <= before; }); // The last goes just after its child.
}

TEST_F(FWTaskExTest, ARunThatTakesNoOutputNeedsOneDescriptor) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "The sanitizer needs a pipe itself to look at an object's type.";
#endif
    const FewDescriptors few(1);
    EXPECT_TRUE(FWTaskEx::runTask("/bin/true", {}));
    EXPECT_EQ(FWTaskEx::terminationCodeFromTask(kShell, script("exit 3")), 3);
}

TEST_F(FWTaskExTest, LeavesTheDispositionOfSignalsAlone) {
    const auto dispositions = [] {
        std::vector<sighandler_t> handlers;
        for (const int number : {SIGCHLD, SIGPIPE}) {
            struct sigaction action = {};
            ::sigaction(number, nullptr, &action);
            handlers.push_back(action.sa_handler);
        }
        return handlers;
    };
    const auto before = dispositions(); // Who starts this program may have had SIGPIPE ignored.
    FWTaskEx::dataFromTask("/bin/true", {});
    EXPECT_EQ(dispositions(), before);
}

TEST_F(FWTaskExTest, RunsToolsOfManyThreadsAtOnce) {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < 20; ++i) {
                const std::string word = std::to_string(thread) + "." + std::to_string(i);
                EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", {word}), word + "\n");
                EXPECT_EQ(FWTaskEx::terminationCodeFromTask(
                              "/bin/sh", script("exit \"$0\"", {std::to_string(thread)})),
                          thread);
            }
        });
    }
}

} // namespace
} // namespace fw
