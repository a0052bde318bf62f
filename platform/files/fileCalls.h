#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace fw {

/// How open files are read, written, positioned and flushed, whole file systems flushed, and
/// entries of folders renamed and removed: as read(2), write(2), lseek(2), fdatasync(2), syncfs(2),
/// renameat2(2) and unlinkat(2), errno included. Tests put calls of their own in place; an empty
/// member is the system's own.
struct FileCalls {
    std::function<ssize_t(int, void*, std::size_t)> read;
    std::function<ssize_t(int, const void*, std::size_t)> write;
    std::function<off_t(int, off_t, int)> seek;
    std::function<int(int, const char*, int, const char*, unsigned)> rename = {};
    std::function<int(int)> flush = {};
    std::function<int(int)> flushFileSystem = {};
    std::function<int(int, const char*, int)> unlink = {};
};

/// Puts other calls in place, for what begins afterwards, and returns those before. Safe
/// from any thread.
FileCalls setFileCalls(FileCalls calls);

/// The calls in place, none of them empty.
std::shared_ptr<const FileCalls> currentFileCalls();

} // namespace fw
