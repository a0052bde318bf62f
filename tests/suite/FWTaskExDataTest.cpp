#include "support/FWTaskEx.h"

#include "tests/suite/TaskTest.h"
#include "tests/support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace fw {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

class FWTaskExDataTest : public TaskTest {
protected:
    static std::optional<std::string> data(const std::string& commands) {
        const auto output = FWTaskEx::dataFromTask(kShell, script(commands));
        return output ? std::optional(text(*output)) : std::nullopt;
    }
};

TEST_F(FWTaskExDataTest, IsWhatTheToolWrites) {
    EXPECT_EQ(data("echo out"), "out\n");
    EXPECT_EQ(data("printf 'a\\000b\\377'"), std::string("a\0b\xFF", 4));
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FWTaskExDataTest, IsTheErrorTextOfAToolThatWritesOnlyThat) {
    EXPECT_EQ(data("echo err >&2"), "err\n");
    EXPECT_EQ(data("echo err >&2; exit 3"), "err\n");
}

TEST_F(FWTaskExDataTest, IsTheOutputAloneOfAToolThatWritesBoth) {
    EXPECT_EQ(data("echo err >&2; echo out; echo err >&2"), "out\n");
}

TEST_F(FWTaskExDataTest, IsEmptyButThereOfAToolThatWritesNothing) {
    EXPECT_EQ(data(":"), "");
    EXPECT_EQ(data("exit 9"), "");
}

TEST_F(FWTaskExDataTest, IsWholeHoweverLongItIs) {
    const std::optional<std::string> output = data("head -c 10000000 /dev/zero");
    EXPECT_TRUE(output == std::string(10'000'000, '\0'));
    const std::optional<std::string> errors = data("exec >&-; head -c 3000000 /dev/zero >&2");
    EXPECT_TRUE(errors == std::string(3'000'000, '\0')) << "errors after the output has ended";
}

TEST_F(FWTaskExDataTest, IsNoneOfAToolThatCannotRun) {
    made("text", "text", 0644);
    for (const std::string& path :
         {file("missing"), file("text"), std::string("true"), std::string()}) {
        const std::string message = "Error: " + path + " is not executable";
        EXPECT_EQ(printedBy([&] { EXPECT_EQ(FWTaskEx::dataFromTask(path, {}), std::nullopt); }),
                  message + "\n");
        EXPECT_EQ(logged().back(), message);
    }
}

TEST_F(FWTaskExDataTest, IsNoneWithAMessageOfAFileThatIsNoProgram) {
    const std::string path = made("text", "no program", 0755);
    const std::string message = "Exception running task " + path + ": Exec format error";
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(FWTaskEx::dataFromTask(path, {}), std::nullopt); }),
              message + "\n");
    EXPECT_THAT(logged(), ElementsAre(message));
}

TEST_F(FWTaskExDataTest, EndsWithTheStreamsNotWithTheTool) {
    TaskSlot slot;
    const TaskArguments arguments =
        script("echo out; exec >&- 2>&-; read -r line <\"$0\"; : >\"$0.end\"", {fifo("go")});
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, arguments, slot), bytes("out\n"));
    EXPECT_TRUE(slot.isRunning());
    writeInto("go", "on");
    waitUntil([&] { return !slot.isRunning(); });
    EXPECT_TRUE(exists("go.end")) << "it was left to run on";
}

TEST_F(FWTaskExDataTest, CanBeCutOffByAnotherThread) {
    TaskSlot slot;
    std::jthread other([&] {
        waitUntil([&] { return exists("started"); });
        slot.terminate();
    });
    EXPECT_EQ(FWTaskEx::dataFromTask(
                  kShell, script("echo part; : >\"$0\"; exec sleep 1000", {file("started")}), slot),
              bytes("part\n"));
}

// What the tool is given

TEST_F(FWTaskExDataTest, ComesFromAToolWithOurEnvironment) {
    const ScopedEnvironment variable("FW_TEST_VARIABLE", "ours");
    EXPECT_EQ(data("echo $FW_TEST_VARIABLE"), "ours\n");
    TaskSlot slot;
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo $FW_TEST_VARIABLE"), slot, std::nullopt),
              bytes("ours\n"));
}

TEST_F(FWTaskExDataTest, ComesFromAToolWithAnEnvironmentInPlaceOfOurs) {
    const ScopedEnvironment variable("FW_TEST_VARIABLE", "ours");
    TaskSlot slot;
    const TaskArguments show = script("echo \"$FW_TEST_VARIABLE,$FIRST,$SECOND\"");
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, show, slot,
                                     TaskEnvironment{{"FIRST", "a=b"}, {"SECOND", "\xC3\xA9 c"}}),
              bytes(",a=b,\xC3\xA9 c\n"));
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, show, slot, TaskEnvironment()), bytes(",,\n"));
}

TEST_F(FWTaskExDataTest, ComesFromAToolWhoseInputIsAPipeThatStaysOpenAndEmpty) {
    EXPECT_EQ(data("test -p /dev/stdin && echo pipe"), "pipe\n");
    // 124: it had to be stopped; at the end of its input it would have ended by itself.
    EXPECT_EQ(data("timeout 0.1 cat; echo $?"), "124\n");
}

TEST_F(FWTaskExDataTest, ComesFromAToolWithNoOtherDescriptors) {
    EXPECT_EQ(data("exec ls /proc/self/fd"), "0\n1\n2\n3\n") << "3 is the list's own";
}

// What is taken of it

TEST_F(FWTaskExDataTest, IsTheErrorTextWhenTheOutputIsNotTaken) {
    TaskSlot slot;
    const std::string printed = printedBy([&] {
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo out; echo err >&2"), slot,
                                         std::nullopt, LogOutput::kNo),
                  bytes("err\n"));
    });
    EXPECT_EQ(printed, "out\n") << "the output goes where ours goes";
}

TEST_F(FWTaskExDataTest, IsTheOutputWhenTheErrorsAreDropped) {
    TaskSlot slot;
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("echo err >&2; echo out"), slot, std::nullopt,
                                     LogOutput::kYes, LogError::kNo),
              bytes("out\n"));
    EXPECT_EQ(FWTaskEx::dataFromTask(kShell, script("head -c 1000000 /dev/zero >&2"), slot,
                                     std::nullopt, LogOutput::kYes, LogError::kNo),
              TaskOutput());
}

TEST_F(FWTaskExDataTest, ComesAtOnceAndEmptyWhenNothingIsTaken) {
    TaskSlot slot;
    const std::string printed = printedBy([&] {
        const TaskArguments arguments =
            script("read -r line <\"$0\"; echo out; echo err >&2", {fifo("go")});
        EXPECT_EQ(FWTaskEx::dataFromTask(kShell, arguments, slot, std::nullopt, LogOutput::kNo,
                                         LogError::kNo),
                  TaskOutput());
        EXPECT_TRUE(slot.isRunning()) << "nobody waits for it";
        writeInto("go", "on");
        waitUntil([&] { return !slot.isRunning(); });
    });
    EXPECT_EQ(printed, "out\n");
}

// Text

TEST_F(FWTaskExDataTest, IsTextInAsciiUnlessSaidOtherwise) {
    TaskSlot slot;
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", {"text"}), "text\n");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", {"text"}, slot), "text\n");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", {"\xC3\xA9"}), "");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", {"\xC3\xA9"}, slot), "");
}

TEST_F(FWTaskExDataTest, IsTextInTheEncodingGiven) {
    TaskSlot slot;
    const TaskArguments word = {"\xC3\xA9"};
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, TextEncoding::kUtf8), "\xC3\xA9\n");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, TextEncoding::kUtf8, slot), "\xC3\xA9\n");
    EXPECT_EQ(FWTaskEx::stringFromTask("/bin/echo", word, TextEncoding::kIsoLatin1),
              "\xC3\x83\xC2\xA9\n");
}

TEST_F(FWTaskExDataTest, IsAnEmptyTextOfAToolThatIsMissing) {
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(FWTaskEx::stringFromTask(file("missing"), {}), ""); }),
              "Error: " + file("missing") + " is not executable\n");
}

TEST_F(FWTaskExDataTest, IsTheErrorTextAsTextOfAToolThatWritesOnlyThat) {
    EXPECT_EQ(FWTaskEx::stringFromTask(kShell, script("echo err >&2")), "err\n");
}

} // namespace
} // namespace fw
