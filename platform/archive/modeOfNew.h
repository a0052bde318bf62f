#pragma once

#include <sys/stat.h>

namespace fw {

/// `mode` as a new file or folder gets it. For programs of one thread.
inline mode_t modeOfNew(mode_t mode) {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mode & ~mask;
}

} // namespace fw
