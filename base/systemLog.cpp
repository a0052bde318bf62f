#include "base/systemLog.h"

#include <cerrno>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>

namespace fw {
namespace {

struct Receiver {
    std::mutex mutex;
    SystemLogSink sink;
};

/// Never destroyed: threads may log while the program ends.
Receiver& receiver() {
    static auto* const instance = new Receiver;
    return *instance;
}

void writeToStandardError(std::string_view text) {
    std::string line = program_invocation_short_name;
    line += ": ";
    line += text;
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return; // Nobody reads standard error; there is no further place to say so.
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace

void systemLog(std::string_view text) {
    SystemLogSink sink;
    {
        const std::lock_guard lock(receiver().mutex);
        sink = receiver().sink;
    }
    if (sink) {
        sink(text);
    } else {
        writeToStandardError(text);
    }
}

SystemLogSink setSystemLogSink(SystemLogSink sink) {
    const std::lock_guard lock(receiver().mutex);
    return std::exchange(receiver().sink, std::move(sink));
}

} // namespace fw
