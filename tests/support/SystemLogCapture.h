#pragma once

#include "base/systemLog.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace fw::test {

/// Keeps the lines of the system log while it lives; they do not reach standard error.
class SystemLogCapture {
public:
    SystemLogCapture() {
        previous_ = setSystemLogSink([this](std::string_view text) {
            const std::lock_guard lock(mutex_);
            lines.emplace_back(text);
        });
    }
    ~SystemLogCapture() { setSystemLogSink(std::move(previous_)); }
    SystemLogCapture(const SystemLogCapture&) = delete;
    SystemLogCapture& operator=(const SystemLogCapture&) = delete;

    /// At any time.
    std::vector<std::string> linesUpToNow() const {
        const std::lock_guard lock(mutex_);
        return lines;
    }

    /// Read it when nothing logs any more.
    std::vector<std::string> lines;

private:
    mutable std::mutex mutex_;
    SystemLogSink previous_;
};

} // namespace fw::test
