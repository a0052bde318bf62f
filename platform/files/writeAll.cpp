#include "platform/files/writeAll.h"

#include <cerrno>

namespace fw {

int writeAll(const std::function<ssize_t(int, const void*, std::size_t)>& write, int to,
             const void* bytes, std::size_t count) {
    const auto* next = static_cast<const std::byte*>(bytes);
    while (count > 0) {
        const ssize_t written = write(to, next, count);
        if (written > 0) {
            next += written;
            count -= static_cast<std::size_t>(written);
        } else if (written == 0) {
            return EIO; // To ask again might never end.
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

} // namespace fw
