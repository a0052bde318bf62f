#pragma once

#include <cstddef>
#include <functional>
#include <sys/types.h>

namespace fw {

/// What became of bytes that were to be written.
struct Written {
    std::size_t bytes = 0; ///< Before the failure, or all.
    int failure = 0;       ///< 0, or an errno; EIO of a file that takes nothing without saying why.
};

/// Writes the bytes to an open file, in as many pieces as it takes, by calls as write(2).
[[nodiscard]] Written
writePieces(const std::function<ssize_t(int, const void*, std::size_t)>& write, int to,
            const void* bytes, std::size_t count);

/// The same where only the whole is of use. 0, or an errno.
[[nodiscard]] int writeAll(const std::function<ssize_t(int, const void*, std::size_t)>& write,
                           int to, const void* bytes, std::size_t count);

} // namespace fw
