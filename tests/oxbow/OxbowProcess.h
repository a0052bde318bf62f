#pragma once

#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace fw::test {

/// Waits for something that must come; false when it does not within a minute.
bool comesTrue(const std::function<bool()>& condition);

std::string contentOf(const std::string& path);
bool isRunning(pid_t processId);

/// How a program ended and what it wrote.
struct Finished {
    int status = 0; ///< The exit status; 1000 + the signal that killed it.
    std::string output;
    std::string error;
};

/// A program that runs with its output and errors going to files.
class OxbowProcess {
public:
    struct Streams {
        int output = -1; ///< -1: a file of its own.
        int error = -1;
    };
    OxbowProcess(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& outputFile, const std::string& errorFile, Streams streams);
    /// Kills it when it still runs.
    ~OxbowProcess();
    OxbowProcess(const OxbowProcess&) = delete;
    OxbowProcess& operator=(const OxbowProcess&) = delete;

    pid_t processId() const { return processId_; }
    void signal(int number) const;
    std::string output() const { return contentOf(outputFile_); }
    std::string error() const { return contentOf(errorFile_); }
    Finished wait();

private:
    pid_t processId_ = 0;
    std::string outputFile_;
    std::string errorFile_;
    bool isReaped_ = false;
};

/// A folder with a copy of oxbow, a scanner beside it, a runtime folder, a home and a movie of
/// four frames. The environment of this process points there.
class OxbowHouse {
public:
    enum class Scanner { kFake, kReal, kNone };
    explicit OxbowHouse(Scanner scanner);
    ~OxbowHouse();

    std::string file(const std::string& name) const { return folder_.file(name); }
    std::string movie() const { return file("movie.y4m"); }
    std::string program() const { return file("bin/oxbow"); }
    /// The example of a parent in Python.
    std::string pythonParent() const { return file("bin/parent.py"); }
    /// Makes the movie once more under another name.
    std::string movieNamed(const std::string& name) const;
    /// What the fake scanner does from now on.
    void setScript(const std::string& script) const;
    pid_t scannerProcessId() const;
    std::vector<std::string> scannerArguments() const;

    std::unique_ptr<OxbowProcess> start(const std::vector<std::string>& arguments,
                                        OxbowProcess::Streams streams = {-1, -1}) const;
    Finished run(const std::vector<std::string>& arguments) const;
    /// No socket, no lock file, no scanner that still runs.
    bool isCleanedUp() const;

private:
    TemporaryFolder folder_;
    mutable int started_ = 0;
};

} // namespace fw::test
