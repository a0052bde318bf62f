#include "base/systemLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fw {
namespace {

/// Standard error goes into memory while it lives.
class CapturedStandardError {
public:
    CapturedStandardError()
        : memory_(::memfd_create("standard-error", MFD_CLOEXEC)), saved_(::dup(STDERR_FILENO)) {
        // Without it two writers at once may take the same place in this kind of file.
        ::fcntl(memory_, F_SETFL, O_APPEND);
        ::dup2(memory_, STDERR_FILENO);
    }
    ~CapturedStandardError() {
        ::dup2(saved_, STDERR_FILENO);
        ::close(saved_);
        ::close(memory_);
    }
    CapturedStandardError(const CapturedStandardError&) = delete;
    CapturedStandardError& operator=(const CapturedStandardError&) = delete;

    std::string text() const {
        std::string text;
        char piece[4096];
        for (;;) {
            const ssize_t count =
                ::pread(memory_, piece, sizeof piece, static_cast<off_t>(text.size()));
            if (count <= 0) {
                return text;
            }
            text.append(piece, static_cast<std::size_t>(count));
        }
    }

private:
    int memory_;
    int saved_;
};

/// The receiver before is put back whatever a test does.
class SystemLog : public testing::Test {
protected:
    SystemLog() : before_(setSystemLogSink({})) {}
    ~SystemLog() override { setSystemLogSink(before_); }

private:
    SystemLogSink before_;
};

std::string programName() {
    return program_invocation_short_name;
}

TEST_F(SystemLog, writes_one_line_with_the_program_name_to_standard_error) {
    const CapturedStandardError captured;
    systemLog("the text");
    EXPECT_EQ(captured.text(), programName() + ": the text\n");
    EXPECT_EQ(programName(), "base_test");
}

TEST_F(SystemLog, writes_texts_as_they_are) {
    const CapturedStandardError captured;
    systemLog("");
    systemLog("100 %s %n \xC3\xA9");
    EXPECT_EQ(captured.text(), programName() + ": \n" + programName() + ": 100 %s %n \xC3\xA9\n");
}

TEST_F(SystemLog, keeps_a_long_text_whole) {
    const CapturedStandardError captured;
    const std::string text(1'000'000, 'x');
    systemLog(text);
    EXPECT_TRUE(captured.text() == programName() + ": " + text + '\n');
}

TEST_F(SystemLog, survives_a_closed_standard_error) {
    const int saved = ::dup(STDERR_FILENO);
    ::close(STDERR_FILENO);
    systemLog("nobody reads this");
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    const CapturedStandardError captured;
    systemLog("read again");
    EXPECT_EQ(captured.text(), programName() + ": read again\n");
}

TEST_F(SystemLog, goes_to_the_sink_alone_without_the_program_name) {
    const CapturedStandardError captured;
    std::vector<std::string> lines;
    setSystemLogSink([&lines](std::string_view text) { lines.emplace_back(text); });
    systemLog("first");
    systemLog("second");
    setSystemLogSink({});
    EXPECT_THAT(lines, testing::ElementsAre("first", "second"));
    EXPECT_EQ(captured.text(), "");
}

TEST_F(SystemLog, returns_to_standard_error_when_the_sink_is_taken_away) {
    setSystemLogSink([](std::string_view) {});
    setSystemLogSink({});
    const CapturedStandardError captured;
    systemLog("back");
    EXPECT_EQ(captured.text(), programName() + ": back\n");
}

TEST_F(SystemLog, hands_back_the_receiver_before_so_that_it_can_be_restored) {
    std::vector<std::string> outer;
    std::vector<std::string> inner;
    EXPECT_FALSE(setSystemLogSink([&outer](std::string_view text) { outer.emplace_back(text); }));
    SystemLogSink before =
        setSystemLogSink([&inner](std::string_view text) { inner.emplace_back(text); });
    systemLog("to the inner one");
    setSystemLogSink(before);
    systemLog("to the outer one");
    EXPECT_THAT(inner, testing::ElementsAre("to the inner one"));
    EXPECT_THAT(outer, testing::ElementsAre("to the outer one"));
}

TEST_F(SystemLog, may_be_called_and_replaced_from_within_a_sink) {
    std::vector<std::string> lines;
    setSystemLogSink([&lines](std::string_view text) {
        lines.emplace_back(text);
        if (text == "outer") {
            systemLog("inner");
            setSystemLogSink([&lines](std::string_view) { lines.emplace_back("replaced"); });
        }
    });
    systemLog("outer");
    systemLog("later");
    EXPECT_THAT(lines, testing::ElementsAre("outer", "inner", "replaced"));
}

TEST_F(SystemLog, keeps_the_lines_of_many_threads_apart) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const CapturedStandardError captured;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([thread] {
                const std::string text(40, static_cast<char>('a' + thread));
                for (int line = 0; line < kLines; ++line) {
                    systemLog(text);
                }
            });
        }
    }
    const std::string text = captured.text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), kThreads * kLines);
    for (int thread = 0; thread < kThreads; ++thread) {
        const std::string line =
            programName() + ": " + std::string(40, static_cast<char>('a' + thread)) + '\n';
        int found = 0;
        for (std::size_t at = text.find(line); at != std::string::npos;
             at = text.find(line, at + line.size())) {
            ++found;
        }
        EXPECT_EQ(found, kLines);
    }
}

TEST_F(SystemLog, loses_no_text_when_the_sink_is_replaced_under_way) {
    constexpr int kTexts = 2000;
    std::atomic<int> first = 0;
    std::atomic<int> second = 0;
    setSystemLogSink([&first](std::string_view) { ++first; });
    {
        const std::jthread writer([] {
            for (int i = 0; i < kTexts; ++i) {
                systemLog("text");
            }
        });
        for (int i = 0; i < kTexts; ++i) {
            std::atomic<int>& counter = i % 2 == 0 ? second : first;
            setSystemLogSink([&counter](std::string_view) { ++counter; });
        }
    }
    EXPECT_EQ(first + second, kTexts);
}

} // namespace
} // namespace fw
