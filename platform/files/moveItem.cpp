#include "platform/files/moveItem.h"

#include "platform/PosixError.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/Location.h"
#include "platform/files/Originals.h"
#include "platform/files/copyItem.h"
#include "platform/files/fileCalls.h"
#include "platform/files/holdsMount.h"
#include "platform/files/removeItem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace fw {
namespace {

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
    return fileIdentity(to.folder.get(), to.name) ? EEXIST : rename(0);
}

/// For flush(); opened before anything is written, so that no failure to write goes unheard.
FileDescriptor openFileSystem(const Location& place) {
    return FileDescriptor(::openat(place.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// Has the disk take what was written to the file system; 0, or an errno.
int flush(const FileDescriptor& fileSystem) {
    if (!fileSystem) {
        ::sync(); // A folder that may be written need not be readable.
        return 0;
    }
    return currentFileCalls()->flushFileSystem(fileSystem.get()) == 0 ? 0 : errno;
}

/// 0, or why it is known beforehand that the entry cannot be removed.
int removalObstacle(const std::string& path, const Location& place) {
    if (holdsMount(path)) {
        return EBUSY;
    }
    return ::faccessat(place.folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

/// 0, or why what has been copied is not to be removed for its copy.
int reasonToStay(const Location& from, const Originals& originals, const FileDescriptor& written) {
    const int failure = flush(written);
    return failure == 0 && hasChanged(from, originals.front()) ? EBUSY : failure;
}

std::optional<MoveFailure> moveAcross(Location from, Location to) {
    const FileDescriptor fileSystem = openFileSystem(to);
    Originals originals;
    const Result<FileIdentity> made = copyItem(from, to, originals);
    if (!made) {
        return MoveFailure{made.error()};
    }
    if (const int failure = reasonToStay(from, originals, fileSystem); failure != 0) {
        // The first failure is the one to tell.
        static_cast<void>(removeUnfinished(std::move(to), made.value()));
        return MoveFailure{posixError(failure)};
    }
    if (const std::optional<Error> failure = removeOriginals(std::move(from), originals)) {
        return MoveFailure{*failure, true, std::move(originals)};
    }
    return std::nullopt;
}

} // namespace

std::optional<MoveFailure> moveItem(const std::string& source, const std::string& destination) {
    Result<Location> from = Location::of(source);
    if (!from) {
        return MoveFailure{from.error()};
    }
    Result<Location> to = Location::of(destination);
    if (!to) {
        return MoveFailure{to.error()};
    }
    int failure = renameEntry(from.value(), to.value());
    if (failure == EXDEV) {
        failure = removalObstacle(source, from.value()); // It would be copied for nothing.
        if (failure == 0) {
            return moveAcross(std::move(from).value(), std::move(to).value());
        }
    }
    return failure == 0 ? std::nullopt : std::optional(MoveFailure{posixError(failure)});
}

} // namespace fw
