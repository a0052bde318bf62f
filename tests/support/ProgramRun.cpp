#include "tests/support/ProgramRun.h"

#include "platform/process/ChildProcess.h"

#include <gtest/gtest.h>

namespace fw::test {

ProgramRun programRun(const std::string& program, const std::vector<std::string>& arguments) {
    ChildProcessOptions options;
    options.path = program;
    options.arguments = arguments;
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kPipe;
    auto child = ChildProcess::start(options);
    ProgramRun run;
    if (!child) {
        run.errors = child.error().description;
        return run;
    }
    const auto readAll = [](auto read) {
        std::string whole;
        for (std::string part = read(); !part.empty(); part = read()) {
            whole += part;
        }
        return whole;
    };
    run.output = readAll([&] { return child.value()->availableOutput(); });
    run.errors = readAll([&] { return child.value()->availableError(); });
    const ChildEnd end = child.value()->wait();
    const auto* const exited = std::get_if<ExitedWithStatus>(&end);
    run.status = exited != nullptr ? exited->status : -1;
    return run;
}

std::string printedByPython(const std::string& script, const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"-c", script};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ProgramRun run = programRun("/usr/bin/python3", all);
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.output;
}

} // namespace fw::test
