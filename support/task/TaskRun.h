#pragma once

#include "support/FWTaskEx.h"
#include "support/TaskSlot.h"
#include "support/Timeout.h"

#include <any>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace fw {

class Task;

/// What an FWTaskEx shares with the threads that it starts: they may outlive it. Safe from any
/// thread.
class TaskRun : public std::enable_shared_from_this<TaskRun> {
public:
    /// Starts the watchdog of a run: it sleeps for the whole seconds, always to their end, and then
    /// has the main thread call timeout(). Throws std::system_error when there is no thread.
    void startWatchdog(Timeout timeout);
    /// Says so and terminates the child if it still runs.
    void timeout();

    /// Takes what an asynchronous run needs.
    void begin(std::shared_ptr<Task> task, TaskDelegate delegate, std::any object, FWTaskEx& owner);
    /// Launches the child that was taken, unless it has been forgotten since, and hands its output
    /// to the delegate to the end.
    void launchAsyncTask(const std::shared_ptr<Task>& task);
    /// Forgets the delegate and the child, and ends it.
    void terminateAsyncTask();
    /// The owner goes: the same, and when this returns no call of the delegate goes on but one that
    /// this comes from.
    void abandon();

    TaskSlot theTask;

private:
    struct Delegate;
    class DelegateCall;

    void handOnOutput(const std::shared_ptr<Task>& task);
    void asyncTaskReturnData(const std::shared_ptr<Task>& task, const TaskOutput& chunk);
    void end(const std::shared_ptr<Task>& task);

    std::mutex mutex_; ///< Of what follows; never held while waiting.
    std::shared_ptr<const Delegate> delegate_;
    std::vector<std::thread::id> calling_; ///< The threads that are in the delegate now.
    std::condition_variable callEnded_;
};

} // namespace fw
