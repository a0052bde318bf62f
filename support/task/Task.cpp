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

/// Takes as long as the system takes to find and read the tool. Throws PlatformException with the
/// reason when it cannot be started.
std::shared_ptr<ChildProcess> startedChild(ChildProcessOptions options) {
    options.path = toolPath(options.path);
    auto started = ChildProcess::start(options);
    if (!started) {
        throw PlatformException(started.error().description);
    }
    return std::move(started).value();
}

struct StatusOf {
    std::int64_t operator()(ExitedWithStatus end) const { return end.status; }
    std::int64_t operator()(KilledBySignal end) const { return end.signal; }
};

} // namespace

Task::Task(ChildProcessOptions options, TaskReading reading)
    : options_(leftAtRelease(std::move(options))),
      stopReading_(reading == TaskReading::kUntilStopped ? std::make_unique<WakeEvent>()
                                                         : nullptr) {}

bool Task::launch() {
    if (!beginLaunch()) {
        return false;
    }
    try {
        endLaunch(startedChild(options_));
    } catch (...) {
        endLaunch(nullptr);
        throw;
    }
    return true;
}

bool Task::beginLaunch() {
    const std::lock_guard lock(mutex_);
    isLaunching_ = !isTerminated_;
    return isLaunching_;
}

void Task::endLaunch(std::shared_ptr<ChildProcess> child) {
    const std::lock_guard lock(mutex_);
    isLaunching_ = false;
    child_ = std::move(child);
    if (child_ && isTerminated_) {
        child_->signal(SIGTERM);
    }
}

std::int64_t Task::waitForTerminationStatus() {
    return std::visit(StatusOf(), child()->wait());
}

Task::Bytes Task::availableOutput() {
    return bytesOf(child()->availableOutput(stopReading_.get()));
}

Task::Bytes Task::availableError() {
    return bytesOf(child()->availableError());
}

void Task::letGo() {
    child()->letGo();
}

bool Task::isRunning() const {
    const std::lock_guard lock(mutex_);
    return isLaunching_ || (child_ && child_->isRunning());
}

void Task::terminate() {
    const std::lock_guard lock(mutex_);
    isTerminated_ = true;
    if (child_) {
        child_->signal(SIGTERM);
    }
}

void Task::stopReading() const {
    if (stopReading_) {
        stopReading_->set();
    }
}

std::shared_ptr<ChildProcess> Task::child() const {
    const std::lock_guard lock(mutex_);
    return child_;
}

} // namespace fw
