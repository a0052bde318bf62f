#include "platform/files/moveItem.h"

#include "platform/PosixError.h"
#include "platform/files/Folders.h"
#include "platform/files/Location.h"
#include "platform/files/copyItem.h"
#include "platform/files/fileCalls.h"
#include "platform/files/holdsMount.h"
#include "platform/files/removeItem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace fw {
namespace {

bool isThere(const Location& place) {
    struct stat status {};
    return ::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// 0, or an errno. Nothing is replaced.
int renameEntry(const Location& from, const Location& to) {
    const auto calls = currentFileCalls();
    const auto rename = [&](unsigned flags) {
        return calls->rename(from.folder.get(), from.name.c_str(), to.folder.get(), to.name.c_str(),
                             flags) == 0
                   ? 0
                   : errno;
    };
    const int failure = rename(RENAME_NOREPLACE);
    if (failure != EINVAL && failure != ENOSYS) {
        return failure;
    }
    // Not every file system can refuse to replace by itself.
    return isThere(to) ? EEXIST : rename(0);
}

/// Has the disk take what was written to the file system of the folder.
std::optional<Error> flushFileSystemOf(const std::string& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor) {
        ::sync(); // A folder that may be written need not be readable.
        return std::nullopt;
    }
    return currentFileCalls()->flushFileSystem(descriptor.get()) == 0
               ? std::nullopt
               : std::optional(posixError(errno));
}

/// 0, or why it is known beforehand that the entry cannot be removed.
int removalObstacle(const std::string& path, const Location& place) {
    if (holdsMount(path)) {
        return EBUSY;
    }
    return ::faccessat(place.folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

std::optional<MoveFailure> moveAcross(const std::string& source, const std::string& destination) {
    if (const std::optional<Error> failure = copyItem(source, destination)) {
        return MoveFailure{*failure};
    }
    if (const std::optional<Error> failure = flushFileSystemOf(parentFolder(destination))) {
        static_cast<void>(removeUnfinished(destination)); // The first failure is the one to tell.
        return MoveFailure{*failure};
    }
    if (const std::optional<Error> failure = removeItem(source)) {
        return MoveFailure{*failure, true};
    }
    return std::nullopt;
}

} // namespace

std::optional<MoveFailure> moveItem(const std::string& source, const std::string& destination) {
    const Result<Location> from = Location::of(source);
    if (!from) {
        return MoveFailure{from.error()};
    }
    const Result<Location> to = Location::of(destination);
    if (!to) {
        return MoveFailure{to.error()};
    }
    int failure = renameEntry(from.value(), to.value());
    if (failure == EXDEV) {
        failure = removalObstacle(source, from.value()); // It would be copied for nothing.
        if (failure == 0) {
            return moveAcross(source, destination);
        }
    }
    return failure == 0 ? std::nullopt : std::optional(MoveFailure{posixError(failure)});
}

} // namespace fw
