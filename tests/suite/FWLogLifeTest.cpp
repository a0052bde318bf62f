#include "platform/FileDescriptor.h"
#include "tests/suite/LogHome.h"
#include "tests/support/LeasedFile.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

namespace fw {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

/// The log from its first line to the end of the process, and with many writers.
class FWLogLifeTest : public testing::Test {
protected:
    /// A log that takes some of what is written to it and then no more, until the test ends.
    FileDescriptor pipeInPlaceOfTheLog() const {
        const std::string path = home.log(1, "log_probe");
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    /// A log that takes nothing at all.
    FileDescriptor stuckPipe() const {
        std::filesystem::remove(home.log(1, "log_probe"));
        FileDescriptor reader = pipeInPlaceOfTheLog();
        const FileDescriptor writer(
            ::open(home.log(1, "log_probe").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        const std::string filling(4096, 'f');
        while (::write(writer.get(), filling.data(), filling.size()) > 0) {
        }
        return reader;
    }
    /// The lines of all generations, the oldest first, without the headers.
    std::vector<std::string> allTexts(const std::string& name = "Probe") const {
        std::vector<std::string> all;
        for (int generation = 5; generation > 0; --generation) {
            for (const std::string& text : home.texts(generation, name)) {
                if (text.starts_with("thread ")) {
                    all.push_back(text);
                }
            }
        }
        return all;
    }
    /// Expects each thread's lines once and in their order.
    static void expectWholeThreads(const std::vector<std::string>& texts, int threads, int lines) {
        std::map<int, int> next;
        for (const std::string& text : texts) {
            int thread = 0;
            int line = 0;
            ASSERT_EQ(std::sscanf(text.c_str(), "thread %d line %d", &thread, &line), 2);
            ASSERT_EQ(line, next[thread]++) << text;
        }
        EXPECT_EQ(texts.size(), static_cast<std::size_t>(threads * lines));
    }

    test::LogHome home;
};

TEST_F(FWLogLifeTest, WhatWaitsIsWrittenAtExit) {
    home.outputOf({"create=Probe", "many=3"});
    EXPECT_THAT(home.texts(1), SizeIs(8));
}

TEST_F(FWLogLifeTest, MoreThanTenWaitingLinesAreDroppedAtExitRatherThanDelayingIt) {
    const FileDescriptor reader = pipeInPlaceOfTheLog();
    EXPECT_EQ(home.outputOf({"many=100000"}), "");
}

TEST_F(FWLogLifeTest, UpToTenWaitingLinesAreWaitedForAtExitAndMoreAreNot) {
    const FileDescriptor reader = stuckPipe();
    const auto childWith = [&](std::size_t lines) {
        return home.start(std::vector<std::string>(lines, "fast=line"));
    };
    const auto eleven = childWith(11);
    EXPECT_EQ(eleven->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
    const auto ten = childWith(10);
    EXPECT_EQ(ten->wait(std::chrono::milliseconds(300)), std::nullopt) << "nobody has read yet";
    std::array<char, 65536> block;
    while (!ten->poll()) {
        static_cast<void>(::read(reader.get(), block.data(), block.size()));
    }
    EXPECT_EQ(ten->poll(), ChildEnd(ExitedWithStatus{0}));
}

TEST_F(FWLogLifeTest, TheMainThreadNeverWaitsForTheLog) {
    const FileDescriptor reader = stuckPipe();
    EXPECT_EQ(home.outputOf({"append=short", "die"}), "");
}

TEST_F(FWLogLifeTest, NamesAreToldWhileTheOpeningOfTheLogWaits) {
    const std::string log = home.log(1, "log_probe");
    home.write(log, "");
    test::LeasedFile lease(log, std::chrono::seconds(40));
    if (!lease.isHeld()) {
        GTEST_SKIP() << test::kNoLeases;
    }
    const auto probe = home.start({"fast=x", "opening=" + log, "name", "logs", "held=" + log});
    const std::string expected = "log_probe\n" + log + "\nheld\n";
    std::string told;
    std::string part;
    do {
        part = probe->availableOutput();
        told += part;
    } while (!part.empty() && told.size() < expected.size());
    EXPECT_EQ(told, expected);
    lease.giveUp();
    EXPECT_EQ(probe->wait(), ChildEnd(ExitedWithStatus{0}));
    EXPECT_TRUE(lease.wasGivenUp());
    EXPECT_THAT(home.texts(1, "log_probe"), ElementsAre("x"));
}

TEST_F(FWLogLifeTest, AShortLineOfAnotherThreadIsOnDiskWhenTheCallReturns) {
    home.write(home.log(1, "log_probe"), "");
    for (int i = 0; i < 20; ++i) {
        home.outputOf({"short=" + std::string(static_cast<std::size_t>(1 + i * 5), 'x')});
    }
    EXPECT_THAT(home.texts(1, "log_probe"), SizeIs(20));
}

TEST_F(FWLogLifeTest, ALineOfOneToNinetyNineCharactersWaitsOffTheMainThread) {
    home.write(home.log(1, "log_probe"), "");
    for (const std::size_t length : {1U, 98U, 99U}) {
        EXPECT_EQ(home.outputOf({"waits=" + std::string(length, 'x')}), "waited\n") << length;
    }
    const FileDescriptor reader = stuckPipe();
    EXPECT_EQ(home.outputOf({"waits=" + std::string(100, 'x'), "die"}), "went on\n");
    EXPECT_EQ(home.outputOf({"fast=x", "waits=", "die"}), "went on\n")
        << "an empty text does not wait";
    EXPECT_EQ(home.outputOf({"fast=" + std::string(99, 'x'), "waits=y", "die"}), "went on\n")
        << "a hundred characters wait";
}

TEST_F(FWLogLifeTest, TheWaitLooksAtTheTextBeforeTrimming) {
    // 101 characters before trimming: the call returns at once, while the pipe is stuck.
    const FileDescriptor reader = stuckPipe();
    EXPECT_EQ(home.outputOf({"waits=x" + std::string(100, ' '), "die"}), "went on\n");
}

TEST_F(FWLogLifeTest, ManyWaitingCharactersLetEvenAShortLineGoWithoutWaiting) {
    const FileDescriptor reader = pipeInPlaceOfTheLog();
    EXPECT_EQ(home.outputOf({"many=100000", "short=x"}), "");
}

TEST_F(FWLogLifeTest, LinesAfterTheEndAreDropped) {
    EXPECT_EQ(home.outputOf({"create=Probe", "late=too late", "append=in time"}), "too late\n");
    EXPECT_EQ(home.lastText(1), "in time");
}

TEST_F(FWLogLifeTest, TheEndHappensOnce) {
    EXPECT_EQ(home.outputOf({"create=Probe", "append=kept", "terminate", "append=dropped", "finish",
                             "terminate", "name"}),
              "log_probe\n")
        << "its name is gone";
    EXPECT_EQ(home.lastText(1), "kept");
}

TEST_F(FWLogLifeTest, AnUncaughtExceptionsReasonIsLoggedBeforeTheProcessDies) {
    for (const char* instruction : {"throw", "thread-throw"}) {
        const auto outcome =
            home.run({"create=Probe", "many=1000", instruction + std::string("=the reason")});
        EXPECT_EQ(outcome.end, ChildEnd(KilledBySignal{SIGABRT}));
        EXPECT_EQ(outcome.output, "the reason\n");
        EXPECT_EQ(home.lastText(1), "the reason");
        EXPECT_THAT(home.texts(1), SizeIs(1006));
    }
}

TEST_F(FWLogLifeTest, AnUncaughtExceptionEndsTheProcessAlsoWhenTheLogIsStuck) {
    const FileDescriptor reader = stuckPipe();
    for (const char* instruction : {"throw=the reason", "thread-throw=the reason"}) {
        const auto child = home.start({"fast=stuck", instruction});
        EXPECT_EQ(child->wait(std::chrono::seconds(30)), ChildEnd(KilledBySignal{SIGABRT}));
        std::string output;
        while (child->poll() && child->readOutput(output)) {
        }
        EXPECT_EQ(output, "the reason\n");
    }
}

TEST_F(FWLogLifeTest, WithoutAThreadToBeHadTheProgramGoesOn) {
    EXPECT_EQ(home.outputOf({"no-threads", "quiet=Probe", "append=lost", "fast=lost", "print=lost",
                             "debug=lost", "finish", "singleton", "name", "terminate", "die"}),
              "011\nProbe\n");
}

TEST_F(FWLogLifeTest, AnExceptionOfTheLogsOwnStaysInIt) {
    EXPECT_EQ(home.outputOf({"no-folders", "create=Probe", "fast=lost", "logs", "finish", "name"}),
              "Exception writing to log: no folders\nlog_probe\n");
}

TEST_F(FWLogLifeTest, AnUncaughtExceptionWithoutAReasonIsNamed) {
    EXPECT_EQ(home.run({"create=Probe", "throw-number"}).end, ChildEnd(KilledBySignal{SIGABRT}));
    EXPECT_EQ(home.lastText(1), "int");
}

TEST_F(FWLogLifeTest, SixteenThreadsLoseNothingWhileTheLogRotates) {
    home.outputOf({"create=Probe", "threads=16:8000", "finish"});
    EXPECT_TRUE(fs::exists(home.log(4))) << "it rotated";
    expectWholeThreads(allTexts(), 16, 8000);
    EXPECT_THAT(home.texts(1), Contains("Log truncated at 500KB"));
}

TEST_F(FWLogLifeTest, FinishWaitsForTheHeaderOfARotation) {
    home.outputOf({"create=Probe", "threads=1:46000", "finish", "die"});
    EXPECT_THAT(home.texts(1), Contains("Log truncated at 500KB"));
}

TEST_F(FWLogLifeTest, TwoProcessesThatLogAtOnceCorruptNoLine) {
    home.write(home.log(1, "log_probe"), "");
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int i = 0; i < 4; ++i) {
        children.push_back(home.start({"threads=2:5000", "finish"}));
    }
    for (const auto& child : children) {
        EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
    }
    EXPECT_THAT(home.texts(1, "log_probe"), SizeIs(40'000));
}

TEST_F(FWLogLifeTest, ProcessesThatBeginNewLogsAtOnceLoseNoLine) {
    for (int round = 0; round < 10; ++round) {
        fs::remove_all(home.file("Library")); // They make the folder at once, too.
        std::vector<std::unique_ptr<ChildProcess>> children;
        for (int i = 0; i < 4; ++i) {
            children.push_back(home.start({"create=Probe", "append=mine", "finish"}));
        }
        for (const auto& child : children) {
            EXPECT_EQ(child->wait(std::chrono::minutes(1)), ChildEnd(ExitedWithStatus{0}));
            std::string output;
            while (child->readOutput(output)) {
            }
            EXPECT_EQ(output, "");
        }
        int lines = 0;
        for (int generation = 1; generation <= 5; ++generation) {
            for (const std::string& text : home.texts(generation)) {
                lines += text == "mine" ? 1 : 0;
            }
        }
        EXPECT_EQ(lines, 4);
    }
}

TEST_F(FWLogLifeTest, NewLogsOnManyThreadsAtOnceLeaveAWorkingLog) {
    const std::string output =
        home.outputOf({"quiet=Probe", "creators=8:20", "append=at last", "finish"});
    EXPECT_EQ(output, "");
    EXPECT_EQ(home.lastText(1), "at last");
    for (int generation = 2; generation <= 5; ++generation) {
        home.texts(generation);
    }
}

} // namespace
} // namespace fw
