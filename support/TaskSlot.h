#pragma once

#include <memory>
#include <mutex>
#include <string>

namespace fw {

class Task;

/// Where a run of FWTaskEx puts its child as soon as it is made, so that another thread can look
/// after it. It keeps the child when the run is over. Safe from any thread.
class TaskSlot {
public:
    TaskSlot() = default;
    TaskSlot(const TaskSlot&) = delete;
    TaskSlot& operator=(const TaskSlot&) = delete;

    bool isEmpty() const { return task() == nullptr; }
    /// The path of the tool; empty in an empty slot.
    std::string launchPath() const;
    /// Also while the system starts the child.
    bool isRunning() const;
    /// Sends the child SIGTERM; one that is being started gets it then, and one that is not
    /// launched yet never will be. Nothing in an empty slot.
    void terminate() const;

    void put(std::shared_ptr<Task> task);
    void clear() { put(nullptr); }
    std::shared_ptr<Task> task() const;

private:
    mutable std::mutex mutex_; ///< Never held while waiting.
    std::shared_ptr<Task> task_;
};

} // namespace fw
