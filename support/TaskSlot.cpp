#include "support/TaskSlot.h"

#include "support/task/Task.h"

#include <utility>

namespace fw {

std::string TaskSlot::launchPath() const {
    const auto current = task();
    return current ? current->launchPath() : std::string();
}

bool TaskSlot::isRunning() const {
    const auto current = task();
    return current && current->isRunning();
}

void TaskSlot::terminate() const {
    if (const auto current = task()) {
        current->terminate();
    }
}

void TaskSlot::put(std::shared_ptr<Task> task) {
    const std::lock_guard lock(mutex_);
    task_.swap(task); // The one before goes after the lock has gone.
}

std::shared_ptr<Task> TaskSlot::task() const {
    const std::lock_guard lock(mutex_);
    return task_;
}

} // namespace fw
