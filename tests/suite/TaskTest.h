#pragma once

#include "support/FWTaskEx.h"
#include "tests/suite/SuiteLog.h"
#include "tests/support/TemporaryFolder.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace fw::test {

/// Waits as long as it takes; the time limit of the test ends what never comes.
template <typename Claim>
void waitUntil(Claim claim) {
    while (!claim()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Until this process has no children, dead or alive.
void waitUntilAllAreReaped();
std::size_t openDescriptors();
std::size_t threads();

TaskOutput bytes(std::string_view text);
std::string text(const TaskOutput& bytes);

/// The arguments of /bin/sh for a script, in which "$0" is the first of `more`.
TaskArguments script(const std::string& commands, const std::vector<std::string>& more = {});

/// A test that runs tools, in a process whose log lies in a home of its own.
class TaskTest : public testing::Test {
protected:
    static constexpr const char* kShell = "/bin/sh";

    /// The texts that have been logged since the test began.
    std::vector<std::string> logged() const { return log_.texts(); }
    /// A file with these contents and mode.
    std::string made(const std::string& name, const std::string& contents, mode_t mode) const;
    std::string file(const std::string& name) const { return folder_.file(name); }
    bool exists(const std::string& name) const {
        return std::filesystem::exists(folder_.path() / name);
    }
    std::string contents(const std::string& name) const;
    /// A pipe with a name: who opens it waits for the other side.
    std::string fifo(const std::string& name) const;
    /// Lets a tool that reads the pipe go on.
    void writeInto(const std::string& name, const std::string& line) const {
        std::ofstream(file(name)) << line << '\n';
    }

    /// From here on the thread that reaps children, and its descriptor, are there.
    void startReaper() const;

private:
    TemporaryFolder folder_;
    SuiteLog log_;
};

} // namespace fw::test
