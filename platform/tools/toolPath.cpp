#include "platform/tools/toolPath.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fw {
namespace {

struct MovedTool {
    std::string_view suitePath;
    const char* machinePath;
};

/// Tools that stand elsewhere on this machine than where the suite looks for them.
constexpr auto kMovedTools = std::to_array<MovedTool>({
    {"/usr/sbin/chown", "/usr/bin/chown"},
});

struct StandIns {
    std::mutex mutex;
    StandInTools tools;
};

/// Never destroyed: threads may run tools while the program ends.
StandIns& standIns() {
    static auto* const instance = new StandIns;
    return *instance;
}

std::optional<std::string> standInFor(const std::string& path) {
    const std::lock_guard lock(standIns().mutex);
    const auto found = standIns().tools.find(path);
    return found == standIns().tools.end() ? std::nullopt
                                           : std::optional<std::string>(found->second);
}

bool exists(const char* path) {
    return ::access(path, F_OK) == 0;
}

} // namespace

std::string toolPath(const std::string& path) {
    if (auto standIn = standInFor(path)) {
        return *std::move(standIn);
    }
    const auto* const moved =
        std::find_if(kMovedTools.begin(), kMovedTools.end(),
                     [&](const MovedTool& tool) { return tool.suitePath == path; });
    const bool isMoved = moved != kMovedTools.end() && !exists(path.c_str());
    return isMoved && exists(moved->machinePath) ? moved->machinePath : path;
}

bool isExecutableFile(const std::string& path) {
    struct stat status {};
    // A path with a zero byte would be cut there and name another file.
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0 &&
           S_ISREG(status.st_mode) && ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

StandInTools setStandInTools(StandInTools tools) {
    const std::lock_guard lock(standIns().mutex);
    return std::exchange(standIns().tools, std::move(tools));
}

} // namespace fw
