#pragma once

#include "platform/process/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace fw::test {

/// How a run of the scanner ended and what it wrote to standard output.
struct ScannerOutcome {
    ChildEnd end;
    std::string output;
    bool operator==(const ScannerOutcome&) const = default;
};

/// The scanner itself, in a home and a run-time folder of the test's own.
class ScannerHomeTest : public testing::Test {
protected:
    ScannerHomeTest();

    /// Six frames at 25 a second: grey, and frame 3 black.
    void makeMovie() const;
    std::vector<std::string> fullArguments() const;
    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& arguments) const;
    ScannerOutcome run(const std::vector<std::string>& arguments) const;

    TemporaryFolder folder;
    std::string program = folder.file("OxbowGlint");
    std::string movie = folder.file("movie.mkv");
};

} // namespace fw::test
