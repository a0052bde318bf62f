#pragma once

#include "platform/process/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace fw::test {

/// A home of the test's own in which the log probe runs; see LogProbe.cpp for what it is told.
class LogHome {
public:
    /// Makes the log folder as well.
    LogHome();

    struct Outcome {
        ChildEnd end;
        std::string output;
    };
    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& instructions) const;
    Outcome run(const std::vector<std::string>& instructions) const;
    /// Runs it and gives what it wrote to standard output; it must have ended well.
    std::string outputOf(const std::vector<std::string>& instructions) const;

    std::string folder() const { return file("Library/Logs/Fernwick"); }
    std::string file(const std::string& name) const { return folder_.file(name); }
    std::string log(int generation, const std::string& name = "Probe") const;
    /// Puts a file there, or replaces it.
    void write(const std::string& path, const std::string& content) const;
    std::string content(const std::string& path) const;
    std::string content(int generation) const { return content(log(generation)); }
    /// The texts of a log's lines, their dates checked and cut off.
    std::vector<std::string> texts(int generation, const std::string& name = "Probe") const;
    /// Empty when the log has no line.
    std::string lastText(int generation, const std::string& name = "Probe") const;

private:
    TemporaryFolder folder_;
};

} // namespace fw::test
