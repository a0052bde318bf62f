#include "support/task/TaskRun.h"

#include "base/CurrentException.h"
#include "platform/mainthread/MainThread.h"
#include "platform/tools/toolPath.h"
#include "support/CrashReports.h"
#include "support/FWLog.h"
#include "support/task/Task.h"
#include "support/task/watchdogSleep.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace fw {
namespace {

void logMissingTask() {
    FWLog::appendLogAndPrint("Unable to launch async task - no task set");
}

} // namespace

/// Whom to tell of the output, and how.
struct TaskRun::Delegate {
    TaskDelegate tell;
    std::any object;
    FWTaskEx& owner;
};

/// One call of the delegate of a run, if the run is still on.
class TaskRun::DelegateCall {
public:
    DelegateCall(TaskRun& run, const std::shared_ptr<Task>& task) : run_(run) {
        const std::lock_guard lock(run_.mutex_);
        if (run_.delegate_ && run_.theTask.task() == task) {
            delegate_ = run_.delegate_;
            run_.calling_.push_back(std::this_thread::get_id());
        }
    }
    ~DelegateCall() {
        if (delegate_) {
            delegate_.reset(); // What it holds may go here, and with it this run's owner.
            leave();
        }
    }
    DelegateCall(const DelegateCall&) = delete;
    DelegateCall& operator=(const DelegateCall&) = delete;

    void tell(const TaskOutput& chunk) {
        if (delegate_) {
            delegate_->tell(chunk, delegate_->owner,
                            delegate_->object.has_value() ? &delegate_->object : nullptr);
        }
    }

private:
    void leave() {
        const std::lock_guard lock(run_.mutex_);
        run_.calling_.erase(
            std::find(run_.calling_.begin(), run_.calling_.end(), std::this_thread::get_id()));
        run_.callEnded_.notify_all();
    }

    TaskRun& run_;
    std::shared_ptr<const Delegate> delegate_;
};

// Time-outs

void TaskRun::startWatchdog(Timeout timeout) {
    std::thread([run = shared_from_this(), time = timeout.wholeSeconds()] {
        const CrashReportedThread reported;
        watchdogSleep(time);
        runOnMainThread([&run] { run->timeout(); });
    }).detach();
}

void TaskRun::timeout() {
    const std::shared_ptr<Task> task = theTask.task();
    if (task && task->isRunning()) {
        FWLog::appendLogAndPrint("Task %@ timed out. Terminating...", task->launchPath());
        task->terminate();
    }
}

// Asynchronous runs

void TaskRun::begin(std::shared_ptr<Task> task, TaskDelegate delegate, std::any object,
                    FWTaskEx& owner) {
    std::shared_ptr<const Delegate> next;
    if (delegate) {
        next = std::make_shared<Delegate>(Delegate{std::move(delegate), std::move(object), owner});
    }
    const std::lock_guard lock(mutex_);
    delegate_.swap(next); // The one before goes after the lock has gone.
    theTask.put(std::move(task));
}

void TaskRun::launchAsyncTask(const std::shared_ptr<Task>& task) {
    if (theTask.task() != task) {
        logMissingTask();
        return;
    }
    if (!isExecutableFile(toolPath(task->launchPath()))) {
        FWLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return;
    }
    try {
        handOnOutput(task);
    } catch (...) { // A delegate may throw anything.
        FWLog::appendLogAndPrint("Exception: %@", currentException()->reason());
    }
}

void TaskRun::handOnOutput(const std::shared_ptr<Task>& task) {
    if (!task->launch()) {
        logMissingTask(); // Terminated, and so forgotten, just now.
        return;
    }
    TaskOutput chunk;
    do {
        chunk = task->availableOutput();
        asyncTaskReturnData(task, chunk);
    } while (!chunk.empty());
}

void TaskRun::asyncTaskReturnData(const std::shared_ptr<Task>& task, const TaskOutput& chunk) {
    DelegateCall(*this, task).tell(chunk);
    if (chunk.empty()) {
        end(task);
    }
}

void TaskRun::terminateAsyncTask() {
    end(theTask.task());
}

/// Ends the run of this task, unless another one has begun since.
void TaskRun::end(const std::shared_ptr<Task>& task) {
    std::shared_ptr<const Delegate> forgotten; // Goes last: what it holds may go with it.
    const std::lock_guard lock(mutex_);
    if (theTask.task() != task) {
        return;
    }
    if (task) {
        task->stopReading();
        task->terminate();
    }
    delegate_.swap(forgotten);
    theTask.clear();
}

void TaskRun::abandon() {
    terminateAsyncTask();
    // A call that this comes from, also by way of the main thread, cannot end before it.
    const auto isNobodyElseCalling = [&] {
        return std::all_of(calling_.begin(), calling_.end(), [](std::thread::id caller) {
            return caller == std::this_thread::get_id() || isMainThreadRunningFor(caller);
        });
    };
    constexpr std::chrono::milliseconds kPause{1};
    std::unique_lock lock(mutex_);
    while (!callEnded_.wait_for(lock, kPause, isNobodyElseCalling)) {
        lock.unlock();
        serviceMainThread(); // The delegate may wait for the main thread, which this may be.
        lock.lock();
    }
}

} // namespace fw
