#include "platform/files/writeAll.h"

#include <cerrno>

namespace fw {

Written writePieces(const std::function<ssize_t(int, const void*, std::size_t)>& write, int to,
                    const void* bytes, std::size_t count) {
    const auto* const first = static_cast<const std::byte*>(bytes);
    Written done;
    while (done.bytes < count && done.failure == 0) {
        const ssize_t written = write(to, first + done.bytes, count - done.bytes);
        if (written > 0) {
            done.bytes += static_cast<std::size_t>(written);
        } else if (written == 0) {
            done.failure = EIO; // To ask again might never end.
        } else if (errno != EINTR) {
            done.failure = errno;
        }
    }
    return done;
}

int writeAll(const std::function<ssize_t(int, const void*, std::size_t)>& write, int to,
             const void* bytes, std::size_t count) {
    return writePieces(write, to, bytes, count).failure;
}

} // namespace fw
