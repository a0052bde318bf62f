#include "tests/platform/crash/CrashRun.h"

#include <gmock/gmock.h>

#include <csignal>

namespace fw {
namespace {

using test::CrashRun;

/// A run that ends by an abort and leaves one report.
class CrashTerminationTest : public test::CrashProbeTest {
protected:
    CrashRun aborted(const std::vector<std::string>& way) const {
        const CrashRun result = runAnew(way);
        EXPECT_EQ(result.end, ChildEnd(KilledBySignal{SIGABRT}));
        EXPECT_EQ(result.files.size(), 1U);
        EXPECT_THAT(test::fact(result.report, "Signal"), testing::StartsWith("SIGABRT (6)"));
        return result;
    }
    std::string reason(const std::vector<std::string>& way) const {
        return test::fact(aborted(way).report, "Reason");
    }
};

TEST_F(CrashTerminationTest, AnUncaughtExceptionIsReportedWithItsTypeAndItsWords) {
    EXPECT_EQ(reason({"throw", "Nothing works."}), "std::runtime_error: Nothing works.");
    EXPECT_EQ(reason({"throw", ""}), "std::runtime_error: ");
    EXPECT_EQ(reason({"platform"}), "fw::PlatformException: The disk is full.");
}

TEST_F(CrashTerminationTest, TheBacktraceLeadsToWhereTheExceptionWasThrown) {
    const CrashRun result = aborted({"platform"});
    EXPECT_TRUE(test::isFunctionIn(test::offsetsIn(result.report, probe), result.output));
}

TEST_F(CrashTerminationTest, OneThatIsNoStdExceptionIsReportedWithItsType) {
    EXPECT_EQ(reason({"unknown"}), "(anonymous namespace)::UnknownThing");
    EXPECT_EQ(reason({"integer"}), "int");
}

TEST_F(CrashTerminationTest, OneOfAWorkerThreadIsReported) {
    const CrashRun result = aborted({"worker-throw"});
    EXPECT_EQ(test::fact(result.report, "Reason"), "std::runtime_error: on a worker");
    EXPECT_NE(test::fact(result.report, "Thread"), test::fact(result.report, "Process"));
}

TEST_F(CrashTerminationTest, OneThatMayNotLeaveAFunctionIsReported) {
    EXPECT_EQ(reason({"noexcept"}), "std::runtime_error: in noexcept");
}

TEST_F(CrashTerminationTest, TerminationWithoutAnExceptionSaysSo) {
    EXPECT_EQ(reason({"terminate"}), "std::terminate was called without an exception");
}

TEST_F(CrashTerminationTest, AnAbortThatNoTerminationCausedHasNoReason) {
    EXPECT_THAT(aborted({"abort"}).report, testing::Not(testing::HasSubstr("Reason: ")));
    EXPECT_THAT(aborted({"caught", "handled"}).report,
                testing::Not(testing::HasSubstr("Reason: ")));
}

TEST_F(CrashTerminationTest, AReasonOfManyLinesAndBytesStaysOneReadableLine) {
    EXPECT_EQ(reason({"throw", "one\ntwo\t\xFF \xC3\xA9 \\"}),
              "std::runtime_error: one\\x0atwo\\x09\\xff \xC3\xA9 \\\\");
    const std::string start = "std::runtime_error: ";
    EXPECT_EQ(reason({"throw", std::string(5000, 'w')}),
              start + std::string(1024 - start.size(), 'w') + "... (5020 bytes)");
}

TEST_F(CrashTerminationTest, AListenerThatWasThereBeforeIsStillCalled) {
    const CrashRun result = aborted({"listener-before"});
    EXPECT_EQ(result.output, "heard\n");
    EXPECT_EQ(test::fact(result.report, "Reason"), "fw::PlatformException: The disk is full.");
}

TEST_F(CrashTerminationTest, AListenerThatComesLaterAndGoesOnToUsLosesNothing) {
    const CrashRun result = aborted({"listener-after"});
    EXPECT_EQ(result.output, "heard\n");
    EXPECT_EQ(test::fact(result.report, "Reason"), "fw::PlatformException: The disk is full.");
}

TEST_F(CrashTerminationTest, ALaterInstallationChangesNothing) {
    const CrashRun result = aborted({"twice"});
    EXPECT_EQ(test::fact(result.report, "Application"), "CrashProbe");
    EXPECT_EQ(test::fact(result.report, "Reason"), "fw::PlatformException: The disk is full.");
}

TEST_F(CrashTerminationTest, ThreadsThatTerminateAtOnceLeaveOneReportWithItsReason) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(reason({"many-terminate"}), "std::runtime_error: one of many");
    }
}

} // namespace
} // namespace fw
