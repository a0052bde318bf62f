#include "platform/files/permissions.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/fileModes.h"

#include <sys/stat.h>

#include <cerrno>

namespace fw {

std::optional<Error> setPermissions(const std::string& path, unsigned permissions) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    return ::chmod(path.c_str(), permissions & kPermissions) == 0
               ? std::nullopt
               : std::optional(posixError(errno));
}

} // namespace fw
