#include "platform/files/copyMetadata.h"

#include "platform/files/ExtendedAttributes.h"
#include "platform/files/FileAttributes.h"
#include "platform/files/fileModes.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace fw {
namespace {

/// The name by which the system knows an open file of this process.
std::string pathOf(int descriptor) {
    return std::string("/proc/self/fd/").append(std::to_string(descriptor));
}

void copyAttribute(int from, int to, const char* name) {
    const ssize_t length = ::fgetxattr(from, name, nullptr, 0);
    std::string bytes(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length >= 0 && ::fgetxattr(from, name, bytes.data(), bytes.size()) == length) {
        static_cast<void>(::fsetxattr(to, name, bytes.data(), bytes.size(), 0));
    }
}

void copyExtendedAttributes(int from, int to) {
    const ssize_t length = ::flistxattr(from, nullptr, 0);
    std::string names(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length <= 0 || ::flistxattr(from, names.data(), names.size()) != length) {
        return;
    }
    // Each name ends in a zero byte.
    for (std::size_t begin = 0; begin < names.size(); begin = names.find('\0', begin) + 1) {
        const char* const name = names.data() + begin;
        if (isAttributeOfUsers(name)) {
            copyAttribute(from, to, name);
        }
    }
}

/// A birth cannot be set: it is kept as an attribute.
void copyCreationDate(int from, int to) {
    FileAttributes attributes;
    attributes.creationDate = fileAttributes(pathOf(from)).creationDate;
    static_cast<void>(setFileAttributes(pathOf(to), attributes));
}

} // namespace

void copyMetadata(int from, int to, const struct stat& status) {
    copyExtendedAttributes(from, to);
    copyCreationDate(from, to);
    const bool isOwnerKept = ::fchown(to, status.st_uid, status.st_gid) == 0;
    static_cast<void>(
        ::fchmod(to, status.st_mode & (isOwnerKept ? kPermissions : kPlainPermissions)));
    const timespec times[] = {status.st_atim, status.st_mtim};
    static_cast<void>(::futimens(to, times));
}

void copyEntryMetadata(int folder, const std::string& name, const struct stat& status) {
    const char* const entry = name.c_str();
    static_cast<void>(
        ::fchownat(folder, entry, status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW) == 0);
    const timespec times[] = {status.st_atim, status.st_mtim};
    static_cast<void>(::utimensat(folder, entry, times, AT_SYMLINK_NOFOLLOW) == 0);
}

} // namespace fw
