#pragma once

#include "support/TaskSlot.h"
#include "support/TextEncoding.h"
#include "support/Timeout.h"

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fw {

class FWTaskEx;
class TaskRun;

/// Whether a tool's standard output is taken, or goes where this program's goes.
enum class LogOutput : bool { kNo, kYes };
/// Whether a tool's standard error is taken, or dropped.
enum class LogError : bool { kNo, kYes };

using TaskArguments = std::vector<std::string>;
/// All the variables that a tool is given, by name.
using TaskEnvironment = std::map<std::string, std::string>;
using TaskOutput = std::vector<std::byte>;

/// Is told of the output of an asynchronous run: a chunk, never empty but at the end, where it is;
/// the object that runs the tool; and what was handed over with the run, or null. It may destroy
/// that object, itself or in a function that it has the main thread run (runOnMainThread).
using TaskDelegate =
    std::function<void(const TaskOutput& chunk, FWTaskEx& task, const std::any* object)>;

/// Runs command-line tools. Paths are taken as they are, without a search; relative ones begin in
/// the current folder. Failures never reach the caller but as a neutral result: they are logged
/// (FWLog).
///
/// Runs without a time-out are class-level operations and safe from any thread. They wait until the
/// tool has ended or, where its output is taken, until its streams have. A TaskSlot receives the
/// child before it is launched, so that another thread can terminate it; one terminated that early
/// is not launched, and the run fails.
///
/// Runs with a Timeout terminate the tool (SIGTERM) when the whole seconds are over, log that, and
/// give what it produced. The main thread does that: it must be serviced meanwhile
/// (serviceMainThread), and a run on the main thread itself is not cut off. Every such run leaves a
/// thread that sleeps to the end of its time.
///
/// An object is needed for an asynchronous run only, one at a time.
class FWTaskEx {
public:
    FWTaskEx();
    /// Ends an asynchronous run, and waits for a call of its delegate that another thread is in:
    /// that call must not wait for this in turn, unless by runOnMainThread.
    ~FWTaskEx();
    FWTaskEx(const FWTaskEx&) = delete;
    FWTaskEx& operator=(const FWTaskEx&) = delete;

    /// Whether the tool was launched and waited for; its output is dropped and its exit status not
    /// looked at. Deliberate: only an absolute path is checked beforehand.
    static bool runTask(const std::string& path, const TaskArguments& arguments);
    static bool runTask(const std::string& path, const TaskArguments& arguments, TaskSlot& task);
    static void runTask(const std::string& path, const TaskArguments& arguments, Timeout timeout);

    /// Launches the tool, which runs on by itself; its output is dropped.
    static void runTaskAndReturn(const std::string& path, const TaskArguments& arguments);

    /// The exit status, the signal's number when a signal ended the tool, -1 when it was not run.
    static std::int64_t terminationCodeFromTask(const std::string& path,
                                                const TaskArguments& arguments);
    static std::int64_t terminationCodeFromTask(const std::string& path,
                                                const TaskArguments& arguments, TaskSlot& task);
    static std::int64_t terminationCodeFromTask(const std::string& path,
                                                const TaskArguments& arguments, Timeout timeout);

    /// What the tool wrote to its standard output or, when that is nothing, to its standard error;
    /// nothing at all when it was not run. Its standard input is a pipe that stays open and empty.
    /// An environment given is all that the tool has.
    ///
    /// Deliberate: standard error is read when the output has ended, so a tool that fills that pipe
    /// before stands still. When neither is taken, this returns at once.
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments);
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments, TaskSlot& task);
    static std::optional<TaskOutput>
    dataFromTask(const std::string& path, const TaskArguments& arguments, TaskSlot& task,
                 const std::optional<TaskEnvironment>& environment);
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments, TaskSlot& task,
                                                  const std::optional<TaskEnvironment>& environment,
                                                  LogOutput logOutput);
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments, TaskSlot& task,
                                                  const std::optional<TaskEnvironment>& environment,
                                                  LogOutput logOutput, LogError logError);
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments, Timeout timeout);
    static std::optional<TaskOutput> dataFromTask(const std::string& path,
                                                  const TaskArguments& arguments, Timeout timeout,
                                                  LogOutput logOutput, LogError logError);

    /// dataFromTask as text (decodedText); empty when there is none or it is no such text. The
    /// encoding is ASCII unless another is given.
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      TaskSlot& task);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      TextEncoding encoding);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      TextEncoding encoding, TaskSlot& task);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      Timeout timeout);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      TextEncoding encoding, Timeout timeout);
    static std::string stringFromTask(const std::string& path, const TaskArguments& arguments,
                                      TextEncoding encoding, Timeout timeout, LogOutput logOutput,
                                      LogError logError);

    /// Runs the tool while the caller goes on. The delegate is told of its standard output, on a
    /// thread of the run's own; standard error is dropped. After the last call, delegate and
    /// `object` are forgotten and the tool is terminated if it still runs. An empty `object` is
    /// none; without a delegate the output is dropped.
    void asyncDataFromTask(const std::string& path, const TaskArguments& arguments,
                           TaskDelegate delegate, std::any object);
    void asyncDataFromTask(const std::string& path, const TaskArguments& arguments,
                           TaskDelegate delegate, std::any object,
                           const std::optional<TaskEnvironment>& environment);
    /// terminateAsyncTask().
    void terminateTask();
    /// Ends the run: the delegate and its object are forgotten without another call, and the tool
    /// is terminated. Safe from any thread.
    void terminateAsyncTask();

private:
    template <typename Failed, typename Operation>
    auto runWithin(Timeout timeout, const std::string& path, Failed failed, Operation operation);

    std::shared_ptr<TaskRun> run_;
};

} // namespace fw
