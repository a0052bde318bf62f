#include "platform/crash/SignalNames.h"
#include "tests/platform/crash/CrashRun.h"

#include <gmock/gmock.h>

#include <csignal>
#include <set>

namespace fw {
namespace {

using test::CrashRun;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kName = "CrashProbe_[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{6}_[0-9]+\\.crash";

std::string nameEnd(int processId) {
    std::string end = "_";
    return end.append(std::to_string(processId)).append(".crash");
}

class CrashSignalTest : public test::CrashProbeTest {
protected:
    void expectReport(const CrashRun& result, int signal) const {
        EXPECT_EQ(result.end, ChildEnd(KilledBySignal{signal}));
        ASSERT_EQ(result.files.size(), 1U);
        EXPECT_THAT(result.files.front(), MatchesRegex(kName));
        EXPECT_THAT(result.files.front(), testing::EndsWith(nameEnd(result.processId)));
        EXPECT_EQ(test::fact(result.report, "Application"), "CrashProbe");
        EXPECT_EQ(test::fact(result.report, "Executable"), probe);
        EXPECT_EQ(test::fact(result.report, "Process"), std::to_string(result.processId));
        const std::string start = std::string(signalName(signal)) + " (" + std::to_string(signal);
        EXPECT_THAT(test::fact(result.report, "Signal"), StartsWith(start + "), code "));
        EXPECT_THAT(result.report, testing::EndsWith("\n\nEnd of report\n"));
    }

    std::uint64_t instructionOffset(const CrashRun& result) const {
        const std::string place = test::fact(result.report, "Instruction");
        const std::size_t plus = place.find(probe + "+");
        return plus == std::string::npos
                   ? 0
                   : std::stoull(place.substr(plus + probe.size() + 1), nullptr, 16);
    }

    void expectFaultIsReported(const std::string& way, int signal, const std::string& cause) const {
        SCOPED_TRACE(way);
        const CrashRun result = runAnew({way});
        expectReport(result, signal);
        EXPECT_THAT(test::fact(result.report, "Signal"), HasSubstr(cause));
        EXPECT_TRUE(test::isFunctionIn(test::offsetsIn(result.report, probe), result.output))
            << result.output << result.report;
    }
};

TEST_F(CrashSignalTest, ARealFaultIsReportedWithItsPlaceOnTheMainThreadAndOnAWorker) {
    for (const std::string thread : {"", "worker-"}) {
        expectFaultIsReported(thread + "null", SIGSEGV, "code SEGV_MAPERR (1), address 0x0");
        expectFaultIsReported(thread + "division", SIGFPE, "code FPE_INTDIV (1), address 0x");
        expectFaultIsReported(thread + "illegal", SIGILL, "code ILL_ILLOPN (2), address 0x");
        expectFaultIsReported(thread + "trap", SIGTRAP, "code ");
        expectFaultIsReported(thread + "bus", SIGBUS, "code BUS_ADRERR (2), address 0x");
        expectFaultIsReported(thread + "syscall", SIGSYS, "code SYS_SECCOMP (1), system call ");
        expectFaultIsReported(thread + "abort", SIGABRT, "code SI_TKILL (-6), sent by process ");
    }
}

TEST_F(CrashSignalTest, TheOverflowOfAStackIsReportedOnTheMainThreadAndOnAPreparedWorker) {
    for (const std::string way : {"overflow", "worker-overflow"}) {
        SCOPED_TRACE(way);
        const CrashRun result = runAnew({way});
        expectReport(result, SIGSEGV);
        EXPECT_GT(test::offsetsIn(result.report, probe).size(), 100U);
        EXPECT_THAT(result.report, HasSubstr("... and those that called them\n"));
    }
}

TEST_F(CrashSignalTest, TheCallOfANullPointerStillGivesTheFacts) {
    const CrashRun result = run({"call"});
    expectReport(result, SIGSEGV);
    EXPECT_EQ(test::fact(result.report, "Instruction"), "0x0 ?");
    EXPECT_THAT(result.report, HasSubstr("\nBacktrace:\n000 0x"));
}

TEST_F(CrashSignalTest, ABrokenStackStillGivesTheFactsAndThePlaceOfTheFault) {
    const CrashRun result = run({"broken"});
    EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGSEGV}));
    EXPECT_THAT(test::fact(result.report, "Signal"), HasSubstr("address 0x0"));
    EXPECT_THAT(result.report, HasSubstr("\nBacktrace:\n"));
    EXPECT_TRUE(test::isFunctionIn({instructionOffset(result)}, result.output));
}

TEST_F(CrashSignalTest, TheBacktraceBeginsAtThePlaceOfTheFault) {
    const CrashRun result = run({"null"});
    EXPECT_TRUE(test::isFunctionIn({instructionOffset(result)}, result.output));
    EXPECT_EQ(test::offsetsIn(result.report, probe).at(0), instructionOffset(result));
}

TEST_F(CrashSignalTest, NamesThatTheModuleTellsStandBelow) {
    const CrashRun result = run({"null"});
    EXPECT_THAT(result.report.substr(result.report.find("\nNames:\n")),
                HasSubstr("(dieOfNullDereference+0x"));
}

TEST_F(CrashSignalTest, ASignalFromAnotherProcessIsReportedWithItsSender) {
    for (const int signal : kFatalSignals) {
        SCOPED_TRACE(signal);
        const CrashRun result = runAnew({"kill-" + std::to_string(signal)});
        expectReport(result, signal);
        EXPECT_THAT(
            test::fact(result.report, "Signal"),
            MatchesRegex(".*, code SI_USER \\(0\\), sent by process [0-9]+ of user [0-9]+"));
    }
}

TEST_F(CrashSignalTest, ASignalThatTheProcessSendsToItselfIsReported) {
    for (const int signal : kFatalSignals) {
        SCOPED_TRACE(signal);
        const CrashRun result = runAnew({"raise-" + std::to_string(signal)});
        expectReport(result, signal);
        EXPECT_THAT(test::fact(result.report, "Signal"),
                    HasSubstr("sent by process " + std::to_string(result.processId) + " of user "));
    }
}

TEST_F(CrashSignalTest, AnIgnoredSignalFromAnotherProcessStaysIgnored) {
    for (const int signal : kFatalSignals) {
        const CrashRun result = runAnew({"ignored-kill-" + std::to_string(signal)});
        EXPECT_EQ(result.end, ChildEnd(ExitedWithStatus{0}));
        EXPECT_EQ(result.output, "alive\n");
        EXPECT_TRUE(result.files.empty());
    }
}

TEST_F(CrashSignalTest, AFaultAndAnAbortEndAProcessThatIgnoresTheSignalAllTheSame) {
    for (const auto& [way, signal] : {std::pair("ignored-null", SIGSEGV),
                                      {"ignored-division", SIGFPE},
                                      {"ignored-illegal", SIGILL},
                                      {"ignored-trap", SIGTRAP},
                                      {"ignored-bus", SIGBUS},
                                      {"ignored-syscall", SIGSYS},
                                      {"ignored-abort", SIGABRT}}) {
        SCOPED_TRACE(way);
        expectReport(runAnew({way}), signal);
    }
}

TEST_F(CrashSignalTest, AProcessThatEndsWellLeavesNoReport) {
    const CrashRun result = run({"life"});
    EXPECT_EQ(result.end, ChildEnd(ExitedWithStatus{0}));
    EXPECT_TRUE(result.files.empty());
}

TEST_F(CrashSignalTest, ThreadsThatCrashAtOnceLeaveOneReportOfTheSignalThatEndsTheProcess) {
    std::set<int> signals;
    for (int i = 0; i < 30; ++i) {
        const CrashRun result = runAnew({"many"});
        const auto* const killed = std::get_if<KilledBySignal>(&result.end);
        ASSERT_NE(killed, nullptr);
        expectReport(result, killed->signal);
        signals.insert(killed->signal);
    }
    EXPECT_THAT(signals, testing::IsSubsetOf({SIGSEGV, SIGABRT}));
}

TEST_F(CrashSignalTest, ManyCrashesInARowLeaveAReportEach) {
    std::set<int> processIds;
    CrashRun result;
    for (int i = 0; i < 40; ++i) {
        result = run({"null"});
        EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGSEGV}));
        processIds.insert(result.processId);
    }
    EXPECT_EQ(result.files.size(), 40U);
    for (const int processId : processIds) {
        EXPECT_THAT(result.files, testing::Contains(testing::EndsWith(nameEnd(processId))));
    }
}

} // namespace
} // namespace fw
