#include "platform/files/Folders.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/FileFacts.h"
#include "platform/files/actAsOwner.h"
#include "platform/files/fileModes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace fw {
namespace {

constexpr mode_t kEverything = 0777; // Less the umask.

/// Gives a folder just made its mode; 0, or an errno. Whoever may write to its parent can have put
/// a link into its place meanwhile, which is not followed.
int setMode(const std::string& path, mode_t mode) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno;
    }
    const bool isSet = S_ISDIR(status.st_mode) && (status.st_mode & kPermissions) == mode;
    return isSet || ::fchmodat(AT_FDCWD, path.c_str(), mode, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/// One folder whose parent exists; 0, or an errno. Without a mode the umask decides.
int makeOne(const std::string& path, std::optional<mode_t> mode) {
    if (::mkdir(path.c_str(), mode.value_or(kEverything)) != 0) {
        return errno;
    }
    return mode ? setMode(path, *mode) : 0;
}

/// 0, or an errno.
int makeWithParents(const std::string& path, std::optional<mode_t> mode) {
    int failure = makeOne(path, mode);
    const std::string parent = parentFolder(path);
    if (failure == ENOENT && !path.empty() && parent != path) {
        failure = makeWithParents(parent, mode);
        if (failure == 0) {
            failure = makeOne(path, mode);
        }
    }
    if (failure == EEXIST) {
        return isFolder(path) ? 0 : ENOTDIR;
    }
    return failure;
}

std::optional<Error> make(const std::string& path, std::optional<mode_t> mode) {
    const int failure = holdsZeroByte(path) ? EINVAL : makeWithParents(path, mode);
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

} // namespace

std::string parentFolder(const std::string& path) {
    const std::size_t nameEnd = path.find_last_not_of('/');
    const std::size_t slash = path.rfind('/', nameEnd);
    if (nameEnd == std::string::npos || slash == std::string::npos) {
        return path.starts_with('/') ? "/" : ".";
    }
    const std::size_t end = path.find_last_not_of('/', slash);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

std::optional<Error> makeFolder(const std::string& path, mode_t mode) {
    return make(path, mode);
}

std::optional<Error> makeFolder(const std::string& path) {
    return make(path, std::nullopt);
}

std::optional<Error> makePrivateFolder(const std::string& path) {
    std::optional<Error> failure = posixError(EPERM);
    actAsOwner(path, [&] { failure = makeFolder(path, S_IRWXU); });
    return failure;
}

} // namespace fw
