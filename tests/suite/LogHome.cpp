#include "tests/suite/LogHome.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>

namespace fw::test {

LogHome::LogHome() {
    ::setenv("HOME", folder_.path().c_str(), 1);
    std::filesystem::create_directories(folder());
}

std::unique_ptr<ChildProcess> LogHome::start(const std::vector<std::string>& instructions) const {
    ChildProcessOptions options;
    options.path = FW_LOG_PROBE;
    options.arguments = instructions;
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kNull;
    auto child = ChildProcess::start(options);
    if (!child) {
        throw std::runtime_error(child.error().description);
    }
    return std::move(child).value();
}

LogHome::Outcome LogHome::run(const std::vector<std::string>& instructions) const {
    const auto child = start(instructions);
    Outcome outcome;
    while (child->readOutput(outcome.output)) {
        pollfd readable{child->outputDescriptor(), POLLIN, 0};
        ::poll(&readable, 1, -1);
    }
    outcome.end = child->wait(std::chrono::minutes(1)).value();
    return outcome;
}

std::string LogHome::outputOf(const std::vector<std::string>& instructions) const {
    const Outcome outcome = run(instructions);
    EXPECT_EQ(outcome.end, ChildEnd(ExitedWithStatus{0}));
    return outcome.output;
}

std::string LogHome::log(int generation, const std::string& name) const {
    return folder() + "/" + name + "." + std::to_string(generation) + ".log";
}

void LogHome::write(const std::string& path, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string LogHome::content(const std::string& path) const {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::vector<std::string> LogHome::texts(int generation, const std::string& name) const {
    constexpr std::string_view kShape = "dddd-dd-dd dd:dd:dd +0000 - ";
    std::vector<std::string> texts;
    std::istringstream lines(content(log(generation, name)));
    for (std::string line; std::getline(lines, line);) {
        const std::string_view start = std::string_view(line).substr(0, kShape.size());
        const bool isWhole = std::equal(
            start.begin(), start.end(), kShape.begin(), kShape.end(),
            [](char c, char shape) { return shape == 'd' ? c >= '0' && c <= '9' : c == shape; });
        EXPECT_TRUE(isWhole) << line;
        texts.push_back(isWhole ? line.substr(kShape.size()) : line);
    }
    return texts;
}

std::string LogHome::lastText(int generation, const std::string& name) const {
    const std::vector<std::string> all = texts(generation, name);
    return all.empty() ? "" : all.back();
}

} // namespace fw::test
