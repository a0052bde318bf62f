#include "platform/files/holdsMount.h"

#include "base/text.h"
#include "platform/MountTableText.h"
#include "platform/files/Folders.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace fw {
namespace {

namespace fs = std::filesystem;

/// With no links on the way to the entry.
std::string wholePath(const std::string& path, std::error_code& failure) {
    const std::string_view name = lastPathComponent(path);
    if (name == "/" || name == "." || name == "..") {
        return fs::canonical(path, failure).string();
    }
    return (fs::canonical(parentFolder(path), failure) / name).string();
}

bool isAtOrBelow(std::string_view mountPoint, const std::string& place) {
    return mountPoint.starts_with(place) &&
           (place == "/" || mountPoint.size() == place.size() || mountPoint[place.size()] == '/');
}

bool isMissing(const std::error_code& failure) {
    return failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory;
}

} // namespace

bool holdsMount(const std::string& path) {
    std::error_code failure;
    const std::string place = wholePath(path, failure);
    if (failure) {
        return !isMissing(failure);
    }
    constexpr std::size_t kMountPoint = 4;
    std::ifstream table("/proc/self/mountinfo");
    bool isAnyKnown = false;
    for (std::string line; std::getline(table, line);) {
        const auto fields = splitAtAnyOf(line, " ");
        if (fields.size() <= kMountPoint) {
            continue;
        }
        if (isAtOrBelow(decodedMountField(fields[kMountPoint]), place)) {
            return true;
        }
        isAnyKnown = true;
    }
    return !isAnyKnown || table.bad();
}

} // namespace fw
