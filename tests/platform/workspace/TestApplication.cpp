#include "tests/platform/workspace/TestApplication.h"

#include "tests/support/FileText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>
#include <thread>

namespace fw::test {
namespace {

namespace fs = std::filesystem;

/// Each start makes the next record, in one step.
constexpr const char* kRecord = R"sh(
streams="$(readlink /proc/$$/fd/0) $(readlink /proc/$$/fd/1) $(readlink /proc/$$/fd/2)"
descriptors=$(ls /proc/self/fd | tr '\n' ' ')
{
    printf '%s ' $$
    sed 's/.*) //' /proc/$$/stat | cut -d ' ' -f 4
    echo "$streams"
    echo "$descriptors"
    sed -n -E 's/Sig(Blk|Ign)://p' /proc/self/status
    for argument; do printf '[%s]' "$argument"; done
} > "$records/$$.part"
number=1
until ln "$records/$$.part" "$records/$number" 2> /dev/null; do number=$((number + 1)); done
rm "$records/$$.part"
)sh";

void writeProgram(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    writeText(path, text);
    fs::permissions(path, fs::perms::owner_all);
}

bool comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace

TestApplication::TestApplication(const TemporaryFolder& folder) : folder_(folder.file("records")) {
    fs::create_directory(folder_);
}

void TestApplication::makeAt(const std::string& path) const {
    std::string text = "#!/bin/sh\nrecords=";
    writeProgram(path, text.append(folder_).append(kRecord));
}

void TestApplication::makeWaitingAt(const std::string& path) const {
    std::string text = "#!/bin/sh\nrecords=";
    text.append(folder_).append(
        "\nwhile [ -d $records ] && ! [ -e $records/go ]; do sleep 0.01; done\n");
    writeProgram(path, text.append(kRecord));
}

void TestApplication::letGoOn() const {
    writeText(folder_ + "/go", "");
}

TestApplication::Start TestApplication::nextStart() {
    const std::string path = record(++seen_);
    if (!comesTrue([&] { return fs::exists(path); })) {
        ADD_FAILURE() << "it was not started";
        return {};
    }
    std::istringstream text(readText(path));
    Start start;
    text >> start.processId >> start.session >> std::ws;
    std::getline(text, start.streams);
    std::getline(text, start.descriptors);
    text >> std::hex >> start.blockedSignals >> start.ignoredSignals >> std::ws;
    std::getline(text, start.arguments, '\0');
    return start;
}

bool TestApplication::isQuiet() const {
    return !fs::exists(record(seen_ + 1));
}

std::string TestApplication::record(int number) const {
    return folder_ + "/" + std::to_string(number);
}

} // namespace fw::test
