#include "platform/files/FileIdentity.h"

#include "base/text.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace fw {
namespace {

namespace fs = std::filesystem;

/// `result` is that of the call that has filled in the status.
std::optional<FileIdentity> identityIn(const struct stat& status, int result) {
    return result == 0 ? std::optional(FileIdentity{status.st_dev, status.st_ino}) : std::nullopt;
}

/// Whether the place is this path without links, or one of the folders that hold it.
bool isOnTheWay(const FileIdentity& place, fs::path path) {
    for (fs::path last; path != last; path = path.parent_path()) {
        if (fileIdentity(path.string()) == place) {
            return true;
        }
        last = path;
    }
    return false;
}

} // namespace

std::optional<FileIdentity> fileIdentity(const std::string& path) {
    struct stat status {};
    if (holdsZeroByte(path)) {
        return std::nullopt;
    }
    const int result = ::stat(path.c_str(), &status);
    return identityIn(status, result);
}

std::optional<FileIdentity> fileIdentity(const FileDescriptor& file) {
    struct stat status {};
    const int result = ::fstat(file.get(), &status);
    return identityIn(status, result);
}

std::optional<FileIdentity> fileIdentity(int folder, const std::string& name) {
    struct stat status {};
    const int result = ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    return identityIn(status, result);
}

bool isAtOrIn(const std::string& path, const std::string& place) {
    const std::optional<FileIdentity> identity = fileIdentity(place);
    if (!identity) {
        return false;
    }
    std::error_code failure;
    const fs::path leadsTo = fs::canonical(path, failure);
    const fs::path holder = fs::canonical(fs::absolute(path, failure).parent_path(), failure);
    return isOnTheWay(*identity, leadsTo) || isOnTheWay(*identity, holder);
}

} // namespace fw
