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

/// With no links on the way to the entry, as far as this process may look: below a folder that it
/// may not search, only the names as they are. An error where these do not tell enough.
std::string wholePath(const std::string& path, std::error_code& failure) {
    const std::string_view name = lastPathComponent(path);
    const bool isNamed = name != "/" && name != "." && name != "..";
    fs::path known = fs::absolute(isNamed ? parentFolder(path) : path, failure);
    fs::path rest = isNamed ? name : std::string_view();
    fs::path whole = fs::canonical(known, failure);
    while (failure == std::errc::permission_denied && known.has_relative_path() &&
           known.filename() != "..") {
        rest = known.filename() / rest;
        known = known.parent_path();
        whole = fs::canonical(known, failure);
    }
    return (rest.empty() ? whole : whole / rest).lexically_normal().string();
}

bool isAtOrBelow(std::string_view mountPoint, const std::string& place) {
    return mountPoint.starts_with(place) &&
           (place == "/" || mountPoint.size() == place.size() || mountPoint[place.size()] == '/');
}

bool meansMissing(const std::error_code& failure) {
    return failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory;
}

} // namespace

bool holdsMount(const std::string& path) {
    std::error_code failure;
    const std::string place = wholePath(path, failure);
    if (failure) {
        return !meansMissing(failure);
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
