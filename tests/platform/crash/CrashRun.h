#pragma once

#include "platform/process/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace fw::test {

/// A run of a crash probe and what it left.
struct CrashRun {
    int processId = 0;
    ChildEnd end;
    std::string output;
    std::vector<std::string> files; ///< Names in the reports' folder, sorted.
    std::string report;             ///< The contents of the only one.
};

/// Runs probes that write into a folder of the test's own and leave no core dumps. The sanitizers'
/// own crash handlers, which would end the process in their way, are off.
class CrashProbeTest : public testing::Test {
protected:
    CrashProbeTest();

    CrashRun run(const std::vector<std::string>& wayAndArguments) const;
    /// As above, and what is there already goes first.
    CrashRun runAnew(const std::vector<std::string>& wayAndArguments) const;

    TemporaryFolder folder;
    std::string probe = CRASH_PROBE;
    std::string reports = folder.file("DiagnosticReports");
};

/// What stands behind "LABEL: " in a report; fails when there is no such line.
std::string fact(const std::string& report, const std::string& label);

/// The offsets that the lines of a report's backtrace give for a module, innermost first.
std::vector<std::uint64_t> offsetsIn(const std::string& report, const std::string& module);

/// Whether one of the offsets lies in the function whose place the probe said.
bool isFunctionIn(const std::vector<std::uint64_t>& offsets, const std::string& probeOutput);

} // namespace fw::test
