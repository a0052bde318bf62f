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

class WakeEvent;
struct SpawnedChild;

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

/// What a child finds at its standard input: nothing, ours, a pipe that nothing is written into and
/// that ends when the object goes, or what its starter gives.
enum class ChildInput { kNull, kInherit, kPipe, kGiven };

/// Where a child's standard output or error goes.
enum class ChildStream { kInherit, kNull, kPipe };

/// What becomes of a child that still runs when its object goes: it is killed, or it is left to run
/// on, unseen, and reaped at its end.
enum class WhenReleased { kKill, kLeave };

/// Whether a child belongs to our session, with our terminal, or to one of its own.
enum class ChildSession { kOurs, kOwn };

/// A zero byte in one of the texts is an error (EINVAL).
struct ChildProcessOptions {
    std::string path;                   ///< Taken as it is; no search.
    std::vector<std::string> arguments; ///< Without the program itself.
    /// "NAME=value", all that the child has; without it the child has ours (environmentOfChildren).
    std::optional<std::vector<std::string>> environment;
    ChildInput standardInput = ChildInput::kNull;
    int givenInput = -1; ///< The descriptor of kGiven; it stays the caller's.
    ChildStream standardOutput = ChildStream::kInherit;
    ChildStream standardError = ChildStream::kInherit;
    ChildSession session = ChildSession::kOurs;
    WhenReleased whenReleased = WhenReleased::kKill;
};

/// A program that runs as a child. No descriptor of ours but the standard streams reaches it, and
/// its signals are reset. It is reaped in any case. One thread uses it; what is const may be called
/// from any.
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

    /// Waits until something is available, and gives that, up to a quarter of a megabyte; empty at
    /// the end of the stream and as soon as another thread has set `stop`.
    std::string availableOutput(const WakeEvent* stop = nullptr);
    std::string availableError();
    /// A child that writes on is ended by SIGPIPE.
    void closeOutput();
    void closeError();
    /// Closes all streams and leaves the child to itself: it is reaped as soon as it ends, also
    /// while this object lives on to signal it or to ask whether it runs. How it ended may then
    /// not be known any more.
    void letGo();

    /// Sends a signal unless the child has ended.
    void signal(int number) const;
    bool isRunning() const;
    /// Nothing while it runs.
    std::optional<ChildEnd> poll();
    /// Waits for the end; nothing when the time, of a day at most, is over first.
    std::optional<ChildEnd> wait(std::chrono::milliseconds limit);
    ChildEnd wait();

private:
    ChildProcess(SpawnedChild child, WhenReleased whenReleased);

    int processId_;
    WhenReleased whenReleased_;
    FileDescriptor processDescriptor_;
    FileDescriptor input_; ///< Only kept open.
    FileDescriptor output_;
    FileDescriptor error_;
    std::optional<ChildEnd> end_;
};

} // namespace fw
