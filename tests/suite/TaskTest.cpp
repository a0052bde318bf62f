#include "tests/suite/TaskTest.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>
#include <sys/wait.h>

namespace fw::test {
namespace {

std::size_t entries(const char* folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace

void waitUntilAllAreReaped() {
    siginfo_t facts = {};
    waitUntil([&] { return ::waitid(P_ALL, 0, &facts, WEXITED | WNOWAIT | WNOHANG) != 0; });
    ASSERT_EQ(errno, ECHILD);
}

std::size_t openDescriptors() {
    return entries("/proc/self/fd");
}

std::size_t threads() {
    return entries("/proc/self/task");
}

TaskOutput bytes(std::string_view text) {
    TaskOutput bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

std::string text(const TaskOutput& bytes) {
    std::string text(bytes.size(), '\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](std::byte byte) { return static_cast<char>(byte); });
    return text;
}

TaskArguments script(const std::string& commands, const std::vector<std::string>& more) {
    TaskArguments arguments = {"-c", commands};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

std::string TaskTest::made(const std::string& name, const std::string& contents,
                           mode_t mode) const {
    std::ofstream(file(name)) << contents;
    ::chmod(file(name).c_str(), mode);
    return file(name);
}

std::string TaskTest::contents(const std::string& name) const {
    std::ostringstream whole;
    whole << std::ifstream(file(name)).rdbuf();
    return whole.str();
}

std::string TaskTest::fifo(const std::string& name) const {
    ::mkfifo(file(name).c_str(), 0600);
    return file(name);
}

void TaskTest::startReaper() const {
    FWTaskEx::runTaskAndReturn(kShell, script("read -r line <\"$0\"", {fifo("left")}));
    writeInto("left", "on");
    waitUntilAllAreReaped();
}

} // namespace fw::test
