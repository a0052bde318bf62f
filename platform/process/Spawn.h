#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace fw {

struct ChildProcessOptions;

/// A child that has just been started, with our ends of its pipes.
struct SpawnedChild {
    int processId = 0;
    FileDescriptor process; ///< -1: it ended at once, and the system kept nothing of it.
    FileDescriptor input;   ///< The writing end.
    FileDescriptor output;  ///< The reading ends, not blocking.
    FileDescriptor error;
};

/// The error of a program that could not be started has domain "POSIX" and the errno.
Result<SpawnedChild> spawn(const ChildProcessOptions& options);

} // namespace fw
