#include "platform/files/Folders.h"

#include "platform/PosixError.h"

#include <sys/stat.h>

#include <cerrno>

namespace fw {
namespace {

bool isFolder(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Without the last component; empty when only one is left.
std::string parentOf(const std::string& path) {
    const std::size_t nameEnd = path.find_last_not_of('/');
    const std::size_t slash = path.rfind('/', nameEnd);
    const std::size_t end = slash == std::string::npos ? slash : path.find_last_not_of('/', slash);
    return end == std::string::npos ? std::string() : path.substr(0, end + 1);
}

/// One folder whose parent exists; 0, or an errno.
int makeOne(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) != 0) {
        return errno;
    }
    return ::chmod(path.c_str(), mode) == 0 ? 0 : errno;
}

/// 0, or an errno.
int makeWithParents(const std::string& path, mode_t mode) {
    int failure = makeOne(path, mode);
    const std::string parent = parentOf(path);
    if (failure == ENOENT && !parent.empty()) {
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

} // namespace

std::optional<Error> makeFolder(const std::string& path, mode_t mode) {
    // A path with a zero byte would be cut there and name another folder.
    const bool isWhole = path.find('\0') == std::string::npos;
    const int failure = isWhole ? makeWithParents(path, mode) : EINVAL;
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

} // namespace fw
