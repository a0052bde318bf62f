#pragma once

#include "base/Result.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace fw {

/// How a child ended.
struct ExitedWithStatus {
    int status = 0;
};
struct KilledBySignal {
    int signal = 0;
};
using ChildEnd = std::variant<ExitedWithStatus, KilledBySignal>;

/// Where a child's standard output or error goes.
enum class ChildStream { kInherit, kNull, kPipe };

struct ChildProcessOptions {
    std::string path;                   ///< Taken as it is; no search.
    std::vector<std::string> arguments; ///< Without the program itself.
    ChildStream standardOutput = ChildStream::kInherit;
    ChildStream standardError = ChildStream::kInherit;
};

/// A program that runs as a child. No descriptor of ours but the streams reaches it, its signals
/// are reset. It is killed and reaped when the object goes. One thread uses it.
class ChildProcess {
public:
    /// The error of a program that could not be started has domain "POSIX" and the errno.
    static Result<std::unique_ptr<ChildProcess>> start(const ChildProcessOptions& options);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int processId() const;
    /// Readable once the child has ended.
    int endDescriptor() const;
    /// The reading ends of the pipes, not blocking; -1 when there is none or it is closed.
    int outputDescriptor() const;
    int errorDescriptor() const;

    /// Appends what is available; false once the stream has ended (the end is then closed).
    bool readOutput(std::string& into);
    bool readError(std::string& into);

    /// Sends a signal unless the child has ended.
    void signal(int number);
    /// Nothing while it runs.
    std::optional<ChildEnd> poll();
    /// Waits for the end; nothing when the time is over first.
    std::optional<ChildEnd> wait(std::chrono::milliseconds limit);

private:
    struct State;
    explicit ChildProcess(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace fw
