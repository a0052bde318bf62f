#include "support/task/Task.h"

#include "base/PlatformException.h"
#include "platform/tools/toolPath.h"

#include <algorithm>
#include <csignal>
#include <utility>
#include <variant>

namespace fw {
namespace {

ChildProcessOptions leftAtRelease(ChildProcessOptions options) {
    options.whenReleased = WhenReleased::kLeave;
    return options;
}

Task::Bytes bytesOf(const std::string& text) {
    Task::Bytes bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

struct StatusOf {
    std::int64_t operator()(ExitedWithStatus end) const { return end.status; }
    std::int64_t operator()(KilledBySignal end) const { return end.signal; }
};

} // namespace

Task::Task(ChildProcessOptions options) : options_(leftAtRelease(std::move(options))) {}

bool Task::launch() {
    ChildProcessOptions options = options_;
    options.path = toolPath(options_.path);
    // Held until the child is known: it may be at work before its start returns, and whoever asks
    // meanwhile must not take it for one that does not run.
    const std::lock_guard lock(mutex_);
    if (isTerminated_) {
        return false;
    }
    auto started = ChildProcess::start(options);
    if (!started) {
        throw PlatformException(started.error().description);
    }
    child_ = std::move(started).value();
    return true;
}

std::int64_t Task::waitForTerminationStatus() {
    return std::visit(StatusOf(), child()->wait());
}

Task::Bytes Task::availableOutput() {
    return bytesOf(child()->availableOutput(&stopReading_));
}

Task::Bytes Task::availableError() {
    return bytesOf(child()->availableError());
}

void Task::letGo() {
    child()->letGo();
}

bool Task::isRunning() const {
    const auto running = child();
    return running && running->isRunning();
}

void Task::terminate() {
    std::shared_ptr<ChildProcess> running;
    {
        const std::lock_guard lock(mutex_);
        isTerminated_ = true;
        running = child_;
    }
    if (running) {
        running->signal(SIGTERM);
    }
}

std::shared_ptr<ChildProcess> Task::child() const {
    const std::lock_guard lock(mutex_);
    return child_;
}

} // namespace fw
