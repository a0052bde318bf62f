#include "platform/files/ImmutableFlag.h"

#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/files/FileFacts.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>

namespace fw {
namespace {

/// 0, or an errno.
int setFlag(const std::string& path, bool isImmutable) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return EOPNOTSUPP; // Others are not even opened: that may wait, or set off a device.
    }
    const FileDescriptor file(
        ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    int flags = 0;
    if (!file || ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) {
        return errno;
    }
    flags = isImmutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno;
}

} // namespace

/// Without opening the file, so that it need not be readable.
bool isImmutable(const std::string& path) {
    struct statx status {};
    return path.find('\0') == std::string::npos &&
           ::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, 0, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

std::optional<Error> setImmutable(const std::string& path, bool isImmutable) {
    // A path with a zero byte would be cut there and name another file.
    if (path.find('\0') != std::string::npos) {
        return posixError(EINVAL);
    }
    if (isEntry(path) && fw::isImmutable(path) == isImmutable) {
        return std::nullopt;
    }
    const int failure = setFlag(path, isImmutable);
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

} // namespace fw
