#include "platform/files/FileIdentity.h"

#include <sys/stat.h>

namespace fw {

std::optional<FileIdentity> fileIdentity(const std::string& path) {
    struct stat status {};
    // A path with a zero byte would be cut there and name another file.
    if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

} // namespace fw
