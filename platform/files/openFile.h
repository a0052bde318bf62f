#pragma once

#include "platform/FileDescriptor.h"

#include <string>
#include <sys/types.h>

namespace fw {

/// As openat(2) with O_CLOEXEC, but a name that may be anything's waits for no other end of a
/// pipe, and no terminal becomes the process's own. Where another process holds a lease on a
/// regular file, as file servers do for their clients, this waits until it has been given up, as
/// every plain opening does; that needs /proc. Empty, with errno, when it fails. Safe from any
/// thread.
FileDescriptor openFile(int folder, const std::string& path, int flags, mode_t modeOfNewFile = 0);

} // namespace fw
