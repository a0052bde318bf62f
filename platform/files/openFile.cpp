#include "platform/files/openFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace fw {
namespace {

/// Opens what is known to be a regular file, under no name that could be another file's by now.
FileDescriptor openWhenLeaseEnds(int folder, const std::string& path, int flags) {
    const FileDescriptor place(
        ::openat(folder, path.c_str(), O_PATH | O_CLOEXEC | (flags & O_NOFOLLOW)));
    struct stat status {};
    if (!place || ::fstat(place.get(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EWOULDBLOCK;
        return {};
    }
    const std::string itself = "/proc/self/fd/" + std::to_string(place.get());
    return FileDescriptor(
        ::open(itself.c_str(), (flags & ~(O_CREAT | O_NOFOLLOW)) | O_CLOEXEC | O_NOCTTY));
}

} // namespace

FileDescriptor openFile(int folder, const std::string& path, int flags, mode_t modeOfNewFile) {
    FileDescriptor file(
        ::openat(folder, path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, modeOfNewFile));
    if (!file && errno == EWOULDBLOCK) {
        return openWhenLeaseEnds(folder, path, flags);
    }
    return file;
}

} // namespace fw
