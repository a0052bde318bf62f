#include "oxbow/Output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fw {

void Output::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd writable = {descriptor_, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            throw OutputError(std::string("The output cannot be written: ") + std::strerror(errno) +
                              ".");
        }
    }
}

} // namespace fw
