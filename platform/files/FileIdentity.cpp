#include "platform/files/FileIdentity.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace fw {
namespace {

namespace fs = std::filesystem;

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
    // A path with a zero byte would be cut there and name another file.
    if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<FileIdentity> fileIdentity(const FileDescriptor& file) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<FileIdentity> fileIdentity(const Location& place) {
    struct stat status {};
    if (::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
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
