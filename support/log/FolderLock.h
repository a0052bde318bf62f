#pragma once

#include "platform/FileDescriptor.h"

#include <string>

namespace fw {

/// Keeps other processes that take this lock out of a folder, which exists, for as long as it
/// lives. A process that was stopped while it held the lock must not stop the others: after a
/// second of waiting, once in the life of this process, and where the file system knows no locks,
/// it goes on without.
class FolderLock {
public:
    explicit FolderLock(const std::string& folder);

private:
    FileDescriptor folder_;
};

} // namespace fw
