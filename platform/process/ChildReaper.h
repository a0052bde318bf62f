#pragma once

#include "platform/FileDescriptor.h"

namespace fw {

/// Sees to it that a child that nobody looks after any more does not stay behind as a zombie when
/// it ends. Takes its process descriptor; one thread waits for all such children. Safe from any
/// thread. Where the system has no thread or descriptor for that, the children before wait for the
/// next call.
void reapWhenEnded(FileDescriptor process);

} // namespace fw
