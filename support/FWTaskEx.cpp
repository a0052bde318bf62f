#include "support/FWTaskEx.h"

#include "platform/tools/toolPath.h"
#include "support/CrashReports.h"
#include "support/FWLog.h"
#include "support/task/Task.h"
#include "support/task/TaskRun.h"

#include <exception>
#include <thread>
#include <utility>

namespace fw {
namespace {

using Data = std::optional<TaskOutput>;

constexpr std::int64_t kNotRun = -1;
constexpr const char* kExceptionFormat = "Exception running task %@: %@";

bool isRunnable(const std::string& path) {
    if (isExecutableFile(toolPath(path))) {
        return true;
    }
    FWLog::appendLogAndPrint("Error: %@ is not executable", path);
    return false;
}

ChildProcessOptions silentProgram(const std::string& path, const TaskArguments& arguments) {
    ChildProcessOptions options;
    options.path = path;
    options.arguments = arguments;
    options.standardInput = ChildInput::kInherit;
    options.standardOutput = ChildStream::kNull;
    options.standardError = ChildStream::kNull;
    return options;
}

std::optional<std::vector<std::string>>
environmentTexts(const std::optional<TaskEnvironment>& environment) {
    if (!environment) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    for (const auto& [name, value] : *environment) {
        std::string text = name;
        text += '=';
        text += value;
        texts.push_back(std::move(text));
    }
    return texts;
}

std::shared_ptr<Task> launchedTask(ChildProcessOptions options, TaskSlot& slot) {
    auto task = std::make_shared<Task>(std::move(options));
    slot.put(task);
    return task->launch() ? task : nullptr;
}

/// What `read` gives until it gives nothing more.
template <typename Read>
TaskOutput readToEnd(Read read) {
    TaskOutput whole;
    for (TaskOutput chunk = read(); !chunk.empty(); chunk = read()) {
        whole.insert(whole.end(), chunk.begin(), chunk.end());
    }
    return whole;
}

/// The streams that are not taken have no pipe and end at once.
TaskOutput readStreams(Task& task) {
    TaskOutput output = readToEnd([&] { return task.availableOutput(); });
    TaskOutput errors = readToEnd([&] { return task.availableError(); });
    task.letGo();
    return output.empty() ? errors : output;
}

std::string textOf(const Data& data, TextEncoding encoding) {
    return data ? decodedText(*data, encoding).value_or(std::string()) : std::string();
}

} // namespace

FWTaskEx::FWTaskEx() : run_(std::make_shared<TaskRun>()) {}

FWTaskEx::~FWTaskEx() {
    run_->abandon();
}

// Runs that are waited for

bool FWTaskEx::runTask(const std::string& path, const TaskArguments& arguments) {
    TaskSlot task;
    return runTask(path, arguments, task);
}

bool FWTaskEx::runTask(const std::string& path, const TaskArguments& arguments, TaskSlot& slot) {
    if (path.starts_with('/') && !isRunnable(path)) {
        return false;
    }
    try {
        const auto task = launchedTask(silentProgram(path, arguments), slot);
        if (!task) {
            return false;
        }
        task->waitForTerminationStatus();
        return true;
    } catch (const std::exception& exception) {
        FWLog::appendLog(kExceptionFormat, path, exception.what());
        return false;
    }
}

void FWTaskEx::runTaskAndReturn(const std::string& path, const TaskArguments& arguments) {
    if (!isRunnable(path)) {
        return;
    }
    try {
        TaskSlot slot;
        launchedTask(silentProgram(path, arguments), slot);
    } catch (const std::exception& exception) {
        FWLog::appendLog(kExceptionFormat, path, exception.what());
    }
}

std::int64_t FWTaskEx::terminationCodeFromTask(const std::string& path,
                                               const TaskArguments& arguments) {
    TaskSlot task;
    return terminationCodeFromTask(path, arguments, task);
}

std::int64_t FWTaskEx::terminationCodeFromTask(const std::string& path,
                                               const TaskArguments& arguments, TaskSlot& slot) {
    if (!isRunnable(path)) {
        return kNotRun;
    }
    try {
        const auto task = launchedTask(silentProgram(path, arguments), slot);
        return task ? task->waitForTerminationStatus() : kNotRun;
    } catch (const std::exception& exception) {
        FWLog::appendLog(kExceptionFormat, path, exception.what());
        return kNotRun;
    }
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments) {
    TaskSlot task;
    return dataFromTask(path, arguments, task);
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments,
                            TaskSlot& task) {
    return dataFromTask(path, arguments, task, std::nullopt);
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments, TaskSlot& task,
                            const std::optional<TaskEnvironment>& environment) {
    return dataFromTask(path, arguments, task, environment, LogOutput::kYes);
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments, TaskSlot& task,
                            const std::optional<TaskEnvironment>& environment,
                            LogOutput logOutput) {
    return dataFromTask(path, arguments, task, environment, logOutput, LogError::kYes);
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments, TaskSlot& slot,
                            const std::optional<TaskEnvironment>& environment, LogOutput logOutput,
                            LogError logError) {
    if (!isRunnable(path)) {
        return std::nullopt;
    }
    ChildProcessOptions options;
    options.path = path;
    options.arguments = arguments;
    options.environment = environmentTexts(environment);
    options.standardInput = ChildInput::kPipe;
    options.standardOutput =
        logOutput == LogOutput::kYes ? ChildStream::kPipe : ChildStream::kInherit;
    options.standardError = logError == LogError::kYes ? ChildStream::kPipe : ChildStream::kNull;
    try {
        const auto task = launchedTask(std::move(options), slot);
        return task ? Data(readStreams(*task)) : std::nullopt;
    } catch (const std::exception& exception) {
        FWLog::appendLogAndPrint(kExceptionFormat, path, exception.what());
        return std::nullopt;
    }
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments) {
    return stringFromTask(path, arguments, TextEncoding::kAscii);
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     TaskSlot& task) {
    return stringFromTask(path, arguments, TextEncoding::kAscii, task);
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     TextEncoding encoding) {
    TaskSlot task;
    return stringFromTask(path, arguments, encoding, task);
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     TextEncoding encoding, TaskSlot& task) {
    return textOf(dataFromTask(path, arguments, task), encoding);
}

// Runs with a time-out

/// One run, watched: `operation` puts its child into the slot that it is given.
template <typename Failed, typename Operation>
auto FWTaskEx::runWithin(Timeout timeout, const std::string& path, Failed failed,
                         Operation operation) {
    using Result = decltype(operation(run_->theTask));
    try {
        run_->startWatchdog(timeout);
    } catch (const std::exception& exception) {
        FWLog::appendLog(kExceptionFormat, path, exception.what());
        return Result(failed);
    }
    run_->theTask.clear();
    Result result = operation(run_->theTask);
    run_->theTask.clear(); // The watchdog, whenever it wakes, finds nothing to do.
    return result;
}

void FWTaskEx::runTask(const std::string& path, const TaskArguments& arguments, Timeout timeout) {
    FWTaskEx().runWithin(timeout, path, false,
                         [&](TaskSlot& task) { return runTask(path, arguments, task); });
}

std::int64_t FWTaskEx::terminationCodeFromTask(const std::string& path,
                                               const TaskArguments& arguments, Timeout timeout) {
    return FWTaskEx().runWithin(timeout, path, kNotRun, [&](TaskSlot& task) {
        return terminationCodeFromTask(path, arguments, task);
    });
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments,
                            Timeout timeout) {
    return dataFromTask(path, arguments, timeout, LogOutput::kYes, LogError::kYes);
}

Data FWTaskEx::dataFromTask(const std::string& path, const TaskArguments& arguments,
                            Timeout timeout, LogOutput logOutput, LogError logError) {
    return FWTaskEx().runWithin(timeout, path, std::nullopt, [&](TaskSlot& task) {
        return dataFromTask(path, arguments, task, std::nullopt, logOutput, logError);
    });
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     Timeout timeout) {
    return stringFromTask(path, arguments, TextEncoding::kAscii, timeout);
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     TextEncoding encoding, Timeout timeout) {
    return stringFromTask(path, arguments, encoding, timeout, LogOutput::kYes, LogError::kYes);
}

std::string FWTaskEx::stringFromTask(const std::string& path, const TaskArguments& arguments,
                                     TextEncoding encoding, Timeout timeout, LogOutput logOutput,
                                     LogError logError) {
    return textOf(dataFromTask(path, arguments, timeout, logOutput, logError), encoding);
}

// Asynchronous runs

void FWTaskEx::asyncDataFromTask(const std::string& path, const TaskArguments& arguments,
                                 TaskDelegate delegate, std::any object) {
    asyncDataFromTask(path, arguments, std::move(delegate), std::move(object), std::nullopt);
}

void FWTaskEx::asyncDataFromTask(const std::string& path, const TaskArguments& arguments,
                                 TaskDelegate delegate, std::any object,
                                 const std::optional<TaskEnvironment>& environment) {
    ChildProcessOptions options = silentProgram(path, arguments);
    options.environment = environmentTexts(environment);
    options.standardOutput = ChildStream::kPipe;
    try {
        const auto task = std::make_shared<Task>(std::move(options), TaskReading::kUntilStopped);
        run_->begin(task, std::move(delegate), std::move(object), *this);
        std::thread([run = run_, task] {
            const CrashReportedThread reported;
            run->launchAsyncTask(task);
        }).detach();
    } catch (const std::exception& exception) {
        FWLog::appendLogAndPrint("Exception: %@", exception.what());
    }
}

void FWTaskEx::terminateTask() {
    terminateAsyncTask();
}

void FWTaskEx::terminateAsyncTask() {
    run_->terminateAsyncTask();
}

} // namespace fw
