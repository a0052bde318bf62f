#include "platform/tools/toolPath.h"

#include "base/text.h"
#include "platform/process/RunningProgram.h"

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

struct OwnTool {
    std::string_view suitePath;
    std::string_view name;
};

/// Programs of ours that take the arguments that the suite gives.
constexpr auto kOwnTools = std::to_array<OwnTool>({
    {"/usr/sbin/diskutil", "diskutil"},
    {"/usr/bin/ditto", "ditto"},
    {"/usr/bin/xattr", "xattr"},
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

bool exists(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

template <typename Tools>
auto inTable(const Tools& tools, const std::string& path) {
    const auto* const found = std::find_if(
        tools.begin(), tools.end(), [&](const auto& tool) { return tool.suitePath == path; });
    return found == tools.end() ? nullptr : found;
}

/// Where this program's own tools are from its folder, else where they have been installed.
std::optional<std::string> ownTool(std::string_view name) {
    const std::string program = runningExecutable();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    for (const std::string& tools :
         {appendedPathComponent(folder, FW_TOOLS_FROM_PROGRAMS), std::string(FW_INSTALLED_TOOLS)}) {
        std::string path = appendedPathComponent(tools, name);
        if (exists(path)) {
            return path;
        }
    }
    return std::nullopt;
}

std::optional<std::string> machinesTool(const std::string& path) {
    if (const MovedTool* const moved = inTable(kMovedTools, path)) {
        return exists(moved->machinePath) ? std::optional<std::string>(moved->machinePath)
                                          : std::nullopt;
    }
    const OwnTool* const own = inTable(kOwnTools, path);
    return own != nullptr ? ownTool(own->name) : std::nullopt;
}

} // namespace

std::string toolPath(const std::string& path) {
    if (auto standIn = standInFor(path)) {
        return *std::move(standIn);
    }
    // A path with a zero byte stands in no table.
    return exists(path) ? path : machinesTool(path).value_or(path);
}

bool isExecutableFile(const std::string& path) {
    struct stat status {};
    return !holdsZeroByte(path) && ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

StandInTools setStandInTools(StandInTools tools) {
    const std::lock_guard lock(standIns().mutex);
    return std::exchange(standIns().tools, std::move(tools));
}

} // namespace fw
