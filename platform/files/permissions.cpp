#include "platform/files/permissions.h"

#include "platform/PosixError.h"
#include "platform/files/fileModes.h"

#include <sys/stat.h>

#include <cerrno>

namespace fw {

std::optional<Error> setPermissions(const std::string& path, unsigned permissions) {
    // A path with a zero byte would be cut there and name another file.
    if (path.find('\0') != std::string::npos) {
        return posixError(EINVAL);
    }
    return ::chmod(path.c_str(), permissions & kPermissions) == 0
               ? std::nullopt
               : std::optional(posixError(errno));
}

} // namespace fw
