#pragma once

#include "platform/process/ChildProcess.h"
#include "platform/process/WakeEvent.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace fw {

/// Whether a task's output is read to its end, or until another thread stops that, which takes a
/// descriptor.
enum class TaskReading { kToTheEnd, kUntilStopped };

/// A child of the suite's task runner, which exists before it is launched and is launched once.
/// When it goes, a child that still runs is left to run on.
class Task {
public:
    using Bytes = std::vector<std::byte>;

    /// `options.path` is the tool's path as the suite knows it. Throws PlatformException where the
    /// system has no descriptor left for kUntilStopped.
    explicit Task(ChildProcessOptions options, TaskReading reading = TaskReading::kToTheEnd);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    // For one thread, which launches it first.

    /// False when it was terminated before. Throws PlatformException with the reason when the
    /// program cannot be started.
    bool launch();
    /// Waits for the end. The exit status, or the number of the signal that ended it.
    std::int64_t waitForTerminationStatus();
    /// Wait until something can be read; empty at the end and after stopReading().
    Bytes availableOutput();
    Bytes availableError();
    /// Closes every stream; the tool, if it still runs, is reaped at its end.
    void letGo();

    // For any thread.

    const std::string& launchPath() const { return options_.path; }
    /// Also while the system starts the tool: it may be at work before that is known here.
    bool isRunning() const;
    /// Sends SIGTERM; one that is being started gets it then, and one that is not launched yet
    /// never will be.
    void terminate();
    /// With kUntilStopped: the output has an end for us from now on.
    void stopReading() const;

private:
    bool beginLaunch();
    void endLaunch(std::shared_ptr<ChildProcess> child);
    std::shared_ptr<ChildProcess> child() const;

    const ChildProcessOptions options_;
    const std::unique_ptr<const WakeEvent> stopReading_;
    mutable std::mutex mutex_; ///< Of what follows; never held while waiting.
    std::shared_ptr<ChildProcess> child_;
    bool isLaunching_ = false;
    bool isTerminated_ = false;
};

} // namespace fw
