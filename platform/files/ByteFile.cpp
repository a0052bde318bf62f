#include "platform/files/ByteFile.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/SizeLimitAsError.h"
#include "platform/files/openFile.h"
#include "platform/files/writeAll.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace fw {
namespace {

constexpr mode_t kModeOfNewFile = 0666; // Less the umask.

/// 0, or why nothing of this kind is read or written as a stream of bytes.
int unsuitableKind(mode_t mode) {
    if (S_ISREG(mode)) {
        return 0;
    }
    return S_ISDIR(mode) ? EISDIR : EINVAL;
}

} // namespace

Result<ByteFile> ByteFile::openForReading(const std::string& path) {
    return open(path, O_RDONLY);
}

Result<ByteFile> ByteFile::openForUpdating(const std::string& path) {
    return open(path, O_RDWR | O_CREAT);
}

Result<ByteFile> ByteFile::open(const std::string& path, int flags) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    // Merely to open a device can have effects: a tape rewinds, a watchdog starts to count.
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (const int failure = unsuitableKind(status.st_mode); failure != 0) {
            return posixError(failure);
        }
    }
    ByteFile file;
    file.descriptor_ = openFile(AT_FDCWD, path, flags, kModeOfNewFile);
    if (!file.descriptor_ || ::fstat(file.descriptor_.get(), &status) != 0) {
        return posixError(errno);
    }
    if (const int failure = unsuitableKind(status.st_mode); failure != 0) {
        return posixError(failure);
    }
    file.identity_ = {status.st_dev, status.st_ino};
    file.size_ = static_cast<std::uint64_t>(status.st_size);
    return file;
}

bool ByteFile::noted(bool isDone) {
    if (!isDone) {
        errorNumber_ = errno;
    }
    return isDone;
}

bool ByteFile::truncate() {
    return noted(::ftruncate(descriptor_.get(), 0) == 0);
}

bool ByteFile::flushed(int result) {
    const bool isDone = noted(result == 0);
    hasFailed_ = hasFailed_ || !isDone;
    return isDone;
}

bool ByteFile::flush() {
    return flushed(calls_->flush(descriptor_.get()));
}

bool ByteFile::flushFileSystem() {
    return flushed(calls_->flushFileSystem(descriptor_.get()));
}

std::size_t ByteFile::read(std::span<std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            calls_->read(descriptor_.get(), bytes.data() + done, bytes.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0) {
            isAtEnd_ = true;
            break;
        } else if (errno != EINTR) {
            hasFailed_ = !noted(false);
            break;
        }
    }
    return done;
}

std::size_t ByteFile::write(std::span<const std::byte> bytes) {
    const SizeLimitAsError limit;
    const Written written =
        writePieces(calls_->write, descriptor_.get(), bytes.data(), bytes.size());
    if (written.failure != 0) {
        errorNumber_ = written.failure;
        hasFailed_ = true;
    }
    return written.bytes;
}

std::optional<std::uint64_t> ByteFile::position() {
    const off_t position = calls_->seek(descriptor_.get(), 0, SEEK_CUR);
    return noted(position >= 0) ? std::optional(static_cast<std::uint64_t>(position))
                                : std::nullopt;
}

bool ByteFile::setPosition(std::uint64_t position) {
    return noted(calls_->seek(descriptor_.get(), static_cast<off_t>(position), SEEK_SET) >= 0);
}

} // namespace fw
