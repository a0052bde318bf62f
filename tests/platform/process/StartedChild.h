#pragma once

#include "platform/process/ChildProcess.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace fw::test {

inline constexpr std::chrono::seconds kLong{60};

inline ChildProcessOptions program(const std::string& path) {
    ChildProcessOptions options;
    options.path = path;
    return options;
}

inline ChildProcessOptions shell(const std::string& script) {
    ChildProcessOptions options = program("/bin/sh");
    options.arguments = {"-c", script};
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kPipe;
    return options;
}

inline std::unique_ptr<ChildProcess> started(const ChildProcessOptions& options) {
    auto result = ChildProcess::start(options);
    EXPECT_TRUE(result);
    return result ? std::move(result).value() : nullptr;
}

/// All that comes until the stream ends.
inline std::string wholeOutput(ChildProcess& child) {
    std::string text;
    while (child.readOutput(text)) {
        pollfd readable = {child.outputDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    return text;
}

inline std::string wholeError(ChildProcess& child) {
    std::string text;
    while (child.readError(text)) {
        pollfd readable = {child.errorDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    return text;
}

/// Until this process has no children, dead or alive.
inline void waitUntilAllAreReaped() {
    siginfo_t facts = {};
    while (::waitid(P_ALL, 0, &facts, WEXITED | WNOWAIT | WNOHANG) == 0) {
        std::this_thread::yield();
    }
    ASSERT_EQ(errno, ECHILD);
}

inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace fw::test
