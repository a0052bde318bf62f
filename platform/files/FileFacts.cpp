#include "platform/files/FileFacts.h"

#include "base/text.h"
#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/FolderDescent.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace fw {
namespace {

std::optional<struct stat> statusOf(const std::string& path, int flags) {
    struct stat status {};
    if (holdsZeroByte(path) || ::fstatat(AT_FDCWD, path.c_str(), &status, flags) != 0) {
        return std::nullopt;
    }
    return status;
}

} // namespace

bool isEntry(const std::string& path) {
    return statusOf(path, AT_SYMLINK_NOFOLLOW).has_value();
}

bool isMissing(const std::string& path) {
    struct stat status {};
    if (holdsZeroByte(path)) {
        return true;
    }
    return ::lstat(path.c_str(), &status) != 0 &&
           (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == ELOOP);
}

bool isLink(const std::string& path) {
    const auto status = statusOf(path, AT_SYMLINK_NOFOLLOW);
    return status && S_ISLNK(status->st_mode);
}

bool isFolder(const std::string& path) {
    const auto status = statusOf(path, 0);
    return status && S_ISDIR(status->st_mode);
}

std::uint64_t fileLength(const std::string& path) {
    const auto status = statusOf(path, 0);
    return status ? static_cast<std::uint64_t>(status->st_size) : 0;
}

bool isOwnedByThisUser(const std::string& path) {
    const auto status = statusOf(path, 0);
    return status && status->st_uid == ::geteuid();
}

bool isSameFile(const std::string& first, const std::string& second) {
    const std::optional<FileIdentity> identity = fileIdentity(first);
    return identity && identity == fileIdentity(second);
}

Result<std::vector<std::string>> folderEntries(const std::string& path) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<std::string> names;
    if (const int failure = folder ? listNames(folder.get(), names) : errno; failure != 0) {
        return posixError(failure);
    }
    return names;
}

} // namespace fw
