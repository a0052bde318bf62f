#include "tests/platform/crash/CrashRun.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fw {
namespace {

using test::CrashRun;
using testing::HasSubstr;
namespace fs = std::filesystem;

using CrashTroubleTest = test::CrashProbeTest;

TEST_F(CrashTroubleTest, AFolderThatMayNotBeWrittenChangesNothingElse) {
    // For the sake of root the probe becomes another user.
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(reports, fs::perms::owner_read | fs::perms::owner_exec |
                                 fs::perms::others_read | fs::perms::others_exec);
    const CrashRun result = run({"nobody"});
    EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGSEGV}));
    EXPECT_TRUE(result.files.empty());
    fs::permissions(reports, fs::perms::all);
    EXPECT_EQ(run({"nobody"}).files.size(), 1U) << "it was for the folder";
}

TEST_F(CrashTroubleTest, AMissingFolderChangesNothingElse) {
    fs::remove(reports);
    EXPECT_EQ(run({"null"}).end, ChildEnd(KilledBySignal{SIGSEGV}));
    EXPECT_FALSE(fs::exists(reports));
}

TEST_F(CrashTroubleTest, AFileInPlaceOfTheFolderChangesNothingElse) {
    fs::remove(reports);
    std::ofstream(reports) << "text";
    EXPECT_EQ(run({"abort"}).end, ChildEnd(KilledBySignal{SIGABRT}));
    EXPECT_EQ(fs::file_size(reports), 4U);
}

TEST_F(CrashTroubleTest, APathThatIsTooLongChangesNothingElse) {
    reports.append("/").append(5000, 'x');
    EXPECT_EQ(run({"null"}).end, ChildEnd(KilledBySignal{SIGSEGV}));
}

TEST_F(CrashTroubleTest, AFullDiskCutsTheReportShortAndTheSignalStays) {
    const CrashRun result = run({"full", "400"});
    EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGSEGV}));
    EXPECT_EQ(result.report.size(), 400U);
    EXPECT_THAT(test::fact(result.report, "Signal"), HasSubstr("SEGV_MAPERR"));
}

TEST_F(CrashTroubleTest, ADiskWithoutAnyRoomHidesNoSignal) {
    EXPECT_EQ(run({"full", "0"}).end, ChildEnd(KilledBySignal{SIGSEGV}));
}

TEST_F(CrashTroubleTest, TheReportGoesToTheFolderWhereverTheProcessIs) {
    EXPECT_EQ(run({"elsewhere"}).files.size(), 1U);
}

TEST_F(CrashTroubleTest, AnEarlierHandlerOfSomebodyElseGetsTheSignalAsItWas) {
    const CrashRun result = run({"handler"});
    EXPECT_EQ(result.end, ChildEnd(ExitedWithStatus{7}));
    EXPECT_EQ(result.output, "mine\n");
    EXPECT_THAT(test::fact(result.report, "Signal"), HasSubstr("SEGV_MAPERR"));
}

TEST_F(CrashTroubleTest, AnEarlierHandlerMayLetTheProcessLiveWhichIsReportedOnce) {
    for (const std::string way : {"recovery", "many-recovery"}) {
        const CrashRun result = runAnew({way});
        EXPECT_EQ(result.end, ChildEnd(ExitedWithStatus{0}));
        EXPECT_EQ(result.output, "alive\n");
        EXPECT_EQ(result.files.size(), 1U);
    }
}

#if defined(__x86_64__)
/// Runs a traced probe up to its next stop by the signal; the registers and facts there.
struct Stop {
    user_regs_struct registers;
    siginfo_t facts;
};
Stop nextStop(pid_t process, int pass, int signal) {
    Stop stop{};
    ::ptrace(PTRACE_CONT, process, nullptr, pass);
    int status = 0;
    ::waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSTOPPED(status));
    EXPECT_EQ(WSTOPSIG(status), signal);
    ::ptrace(PTRACE_GETREGS, process, nullptr, &stop.registers);
    ::ptrace(PTRACE_GETSIGINFO, process, nullptr, &stop.facts);
    return stop;
}

TEST_F(CrashTroubleTest, TheSignalStrikesAtThePlaceOfTheFaultWhereACoreDumpShowsIt) {
    const pid_t process = ::fork();
    if (process == 0) {
        ::raise(SIGSTOP);
        ::execl(probe.c_str(), probe.c_str(), reports.c_str(), "traced", nullptr);
        ::_exit(127);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, WUNTRACED), process);
    ::kill(process, SIGCONT);
    // It asks to be traced right before its fault, which stops it.
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    ASSERT_TRUE(WIFSTOPPED(status));
    ASSERT_EQ(WSTOPSIG(status), SIGSEGV);
    user_regs_struct registers{};
    siginfo_t facts{};
    ::ptrace(PTRACE_GETREGS, process, nullptr, &registers);
    ::ptrace(PTRACE_GETSIGINFO, process, nullptr, &facts);

    const Stop again = nextStop(process, SIGSEGV, SIGSEGV);
    EXPECT_EQ(again.registers.rip, registers.rip);
    EXPECT_EQ(again.registers.rsp, registers.rsp);
    EXPECT_EQ(again.facts.si_code, facts.si_code);
    EXPECT_EQ(again.facts.si_addr, facts.si_addr);
    ::ptrace(PTRACE_CONT, process, nullptr, SIGSEGV);
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGSEGV);
}
#endif

/// Probes whose backtrace goes wrong.
class BrokenBacktraceTest : public test::CrashProbeTest {
protected:
    CrashRun runBroken(const std::string& backtrace, const std::string& way) {
        probe = CRASH_PROBE_WITH_BROKEN_BACKTRACE;
        ::setenv("BROKEN_BACKTRACE", backtrace.c_str(), 1);
        return runAnew({way});
    }
};

TEST_F(BrokenBacktraceTest, ACrashOfTheReporterKeepsTheFactsAndTheFirstSignal) {
    for (const std::string backtrace : {"fault", "abort"}) {
        for (const auto& [way, signal] : {std::pair("null", SIGSEGV),
                                          {"abort", SIGABRT},
                                          {"blocked-abort", SIGABRT},
                                          {"division", SIGFPE}}) {
            SCOPED_TRACE(backtrace + " in the report of " + way);
            const CrashRun result = runBroken(backtrace, way);
            EXPECT_EQ(result.end, ChildEnd(KilledBySignal{signal}));
            ASSERT_EQ(result.files.size(), 1U);
            EXPECT_THAT(test::fact(result.report, "Signal"),
                        HasSubstr(" (" + std::to_string(signal) + ")"));
            EXPECT_THAT(result.report, HasSubstr("\nArguments: 3\n"));
            EXPECT_THAT(result.report, testing::EndsWith("\nBacktrace:\n"));
        }
    }
}

TEST_F(BrokenBacktraceTest, OneThatFindsNothingLeavesAReportAllTheSame) {
    const CrashRun result = runBroken("nothing", "null");
    EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGSEGV}));
    EXPECT_THAT(result.report, testing::EndsWith("\nBacktrace:\n\nNames:\n\nEnd of report\n"));
}

TEST_F(BrokenBacktraceTest, OneThatDoesNotEndIsEndedByTheFirstSignal) {
    for (const auto& [way, signal] :
         {std::pair("null", SIGSEGV), {"worker-division", SIGFPE}, {"blocked-abort", SIGABRT}}) {
        const CrashRun result = runBroken("hang", way);
        EXPECT_EQ(result.end, ChildEnd(KilledBySignal{signal}));
        EXPECT_THAT(test::fact(result.report, "Signal"),
                    HasSubstr(" (" + std::to_string(signal) + ")"));
    }
}

} // namespace
} // namespace fw
