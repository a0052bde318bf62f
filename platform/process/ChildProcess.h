#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace fw {

/// How a child ended.
struct ExitedWithStatus {
    int status = 0; ///< 0 to 255; -1 when this process ignores SIGCHLD and the system kept none.
    bool operator==(const ExitedWithStatus&) const = default;
};
struct KilledBySignal {
    int signal = 0;
    bool operator==(const KilledBySignal&) const = default;
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

/// A program that runs as a child. Its standard input is empty; no descriptor of ours but the
/// output streams reaches it, and its signals are reset. It is killed and reaped when the object
/// goes. One thread uses it.
class ChildProcess {
public:
    /// The error of a program that could not be started has domain "POSIX" and the errno.
    static Result<std::unique_ptr<ChildProcess>> start(const ChildProcessOptions& options);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int processId() const { return processId_; }
    /// Readable once the child has ended; -1 when it had ended before anything could watch it.
    int endDescriptor() const { return processDescriptor_.get(); }
    /// The reading ends of the pipes, not blocking; -1 when there is none or it is closed.
    int outputDescriptor() const { return output_.get(); }
    int errorDescriptor() const { return error_.get(); }

    /// Appends what is available, up to a quarter of a megabyte at once; false once the stream
    /// has ended (the end is then closed).
    bool readOutput(std::string& into);
    bool readError(std::string& into);

    /// Sends a signal unless the child has ended.
    void signal(int number);
    /// Nothing while it runs.
    std::optional<ChildEnd> poll();
    /// Waits for the end; nothing when the time is over first.
    std::optional<ChildEnd> wait(std::chrono::milliseconds limit);

private:
    ChildProcess(int processId, FileDescriptor processDescriptor, FileDescriptor output,
                 FileDescriptor error);

    int processId_;
    FileDescriptor processDescriptor_;
    FileDescriptor output_;
    FileDescriptor error_;
    std::optional<ChildEnd> end_;
};

} // namespace fw
