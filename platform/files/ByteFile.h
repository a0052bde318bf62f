#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/fileCalls.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace fw {

/// An open file as a stream of bytes without a buffer: what is written is what another reader sees
/// next. Regular files only: to open a pipe can wait, and a device may never end. One thread at a
/// time.
class ByteFile {
public:
    /// Links are followed. Errors have the domain "POSIX".
    static Result<ByteFile> openForReading(const std::string& path);
    /// For reading and writing, created when missing. Nothing is cut off an existing one.
    static Result<ByteFile> openForUpdating(const std::string& path);

    FileIdentity identity() const { return identity_; }
    /// The length in bytes when the file was opened.
    std::uint64_t sizeAtOpening() const { return size_; }

    /// Makes the file empty; false, with an error number, when that fails.
    bool truncate();

    /// Reads until the bytes are full, the file ends or an error stops it; how many came.
    std::size_t read(std::span<std::byte> bytes);
    /// Writes until all are written or an error stops it, such as a full disk or a limit of a
    /// file's size; how many went.
    std::size_t write(std::span<const std::byte> bytes);

    /// Has the disk take what was written; false, with an error number, when that fails.
    bool flush();
    /// The same for all of its file system: folders, too, and so the file's own name.
    bool flushFileSystem();

    /// Where the next byte is read or written; nothing, with an error number, when that fails.
    std::optional<std::uint64_t> position();
    bool setPosition(std::uint64_t position);

    /// Whether a read met the end of the file.
    bool isAtEnd() const { return isAtEnd_; }
    /// Whether a read, a write or a flush failed, ever.
    bool hasFailed() const { return hasFailed_; }
    /// The last error's number; 0 before the first.
    int errorNumber() const { return errorNumber_; }

private:
    ByteFile() = default;
    static Result<ByteFile> open(const std::string& path, int flags);
    bool noted(bool isDone);
    bool flushed(int result);

    FileDescriptor descriptor_;
    FileIdentity identity_;
    std::uint64_t size_ = 0;
    std::shared_ptr<const FileCalls> calls_ = currentFileCalls();
    bool isAtEnd_ = false;
    bool hasFailed_ = false;
    int errorNumber_ = 0;
};

} // namespace fw
