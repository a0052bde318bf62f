#include "tests/platform/crash/CrashRun.h"

#include "tests/support/plainCrashes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>

namespace fw::test {
namespace {

/// Far longer than any probe lives.
constexpr std::chrono::milliseconds kLong{30'000};

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
}

/// What it says until it ends, or says nothing for long.
std::string wholeOutput(ChildProcess& child) {
    std::string text;
    int isReadable = 1;
    while (isReadable > 0 && child.readOutput(text)) {
        pollfd readable{child.outputDescriptor(), POLLIN, 0};
        isReadable = ::poll(&readable, 1, static_cast<int>(kLong.count()));
    }
    return text;
}

} // namespace

CrashProbeTest::CrashProbeTest() {
    letChildrenCrashPlainly();
    std::filesystem::create_directory(reports);
}

CrashRun CrashProbeTest::run(const std::vector<std::string>& wayAndArguments) const {
    ChildProcessOptions options;
    options.path = probe;
    options.arguments = {reports};
    options.arguments.insert(options.arguments.end(), wayAndArguments.begin(),
                             wayAndArguments.end());
    options.standardOutput = ChildStream::kPipe;
    options.standardError = ChildStream::kNull;
    auto child = ChildProcess::start(options);
    CrashRun result;
    if (!child) {
        ADD_FAILURE() << child.error().description;
        return result;
    }
    result.processId = child.value()->processId();
    result.output = wholeOutput(*child.value());
    result.end = child.value()->wait(kLong).value_or(ExitedWithStatus{-2});
    result.files = namesIn(reports);
    if (result.files.size() == 1) {
        result.report = contentsOf(reports + "/" + result.files.front());
    }
    return result;
}

CrashRun CrashProbeTest::runAnew(const std::vector<std::string>& wayAndArguments) const {
    std::filesystem::remove_all(reports);
    std::filesystem::create_directory(reports);
    return run(wayAndArguments);
}

std::string fact(const std::string& report, const std::string& label) {
    std::istringstream lines(report);
    const std::string start = label + ": ";
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(start)) {
            return line.substr(start.size());
        }
    }
    ADD_FAILURE() << "no line " << label << " in\n" << report;
    return {};
}

std::vector<std::uint64_t> offsetsIn(const std::string& report, const std::string& module) {
    std::istringstream lines(report.substr(std::min(report.find("\nBacktrace:\n"), report.size())));
    const std::string mark = module + "+0x";
    std::vector<std::uint64_t> offsets;
    for (std::string line; std::getline(lines, line) && line != "Names:";) {
        const std::size_t found = line.find(mark);
        if (found != std::string::npos) {
            offsets.push_back(std::stoull(line.substr(found + mark.size()), nullptr, 16));
        }
    }
    return offsets;
}

bool isFunctionIn(const std::vector<std::uint64_t>& offsets, const std::string& probeOutput) {
    std::istringstream words(probeOutput);
    std::uint64_t start = 0;
    std::uint64_t size = 0;
    if (!(words >> std::hex >> start >> size) || size == 0) {
        ADD_FAILURE() << "the probe did not say the place: " << probeOutput;
        return false;
    }
    // The place to return to may be the first address after the function, when it ends in a call.
    return std::ranges::any_of(
        offsets, [&](std::uint64_t offset) { return offset >= start && offset <= start + size; });
}

} // namespace fw::test
