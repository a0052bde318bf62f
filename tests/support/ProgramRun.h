#pragma once

#include <string>
#include <vector>

namespace fw::test {

/// How a program ended, and what it wrote.
struct ProgramRun {
    int status = -1; ///< -1 when it was not started or a signal ended it.
    std::string output;
    std::string errors; ///< Or why it was not started.

    bool operator==(const ProgramRun&) const = default;
};

/// Runs a program to its end; whoever started it may then replace its file.
ProgramRun programRun(const std::string& program, const std::vector<std::string>& arguments);

/// Runs a script in Python, with `sys.argv[1:]` as its arguments; what it prints. A script that
/// fails makes the test fail.
std::string printedByPython(const std::string& script, const std::vector<std::string>& arguments);

} // namespace fw::test
