#include "oxbow/Output.h"

#include "oxbow/SignalWatch.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>

namespace fw {
namespace {

constexpr std::chrono::milliseconds kStep{200};
constexpr std::chrono::milliseconds kPatience{1000};

/// Returns when PIPE_BUF bytes can be written without waiting, or when writing would fail.
void waitUntilWritable(int descriptor) {
    if (descriptor < 0) {
        return; // poll would pass over it.
    }
    pollfd writable = {descriptor, POLLOUT, 0};
    std::chrono::milliseconds waited{0};
    while (::poll(&writable, 1, static_cast<int>(kStep.count())) == 0) {
        waited = isAskedToEnd() ? waited + kStep : std::chrono::milliseconds(0);
        if (waited >= kPatience) {
            throw OutputError("The output cannot be written: nobody takes it.");
        }
    }
}

} // namespace

void Output::write(std::string_view text) const {
    while (!text.empty()) {
        waitUntilWritable(descriptor_);
        const ssize_t written =
            ::write(descriptor_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            throw OutputError(std::string("The output cannot be written: ") + std::strerror(errno) +
                              ".");
        }
    }
}

} // namespace fw
