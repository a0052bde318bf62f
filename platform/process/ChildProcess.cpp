#include "platform/process/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

// The header of glibc 2.36 lacks it.
extern "C" {
#include <sys/pidfd.h>
}

namespace fw {
namespace {

/// Of a child that nobody can ask about any more.
constexpr ExitedWithStatus kUnknownEnd{-1};

Error posixError(int number) {
    return {"POSIX", number, std::strerror(number)};
}

/// What the child does with its descriptors between its birth and its program.
class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    int openNull(int descriptor, int flags) {
        return posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", flags, 0);
    }
    int duplicate(int from, int to) {
        return posix_spawn_file_actions_adddup2(&actions_, from, to);
    }
    int closeFrom(int descriptor) {
        return posix_spawn_file_actions_addclosefrom_np(&actions_, descriptor);
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

/// No signal blocked, none ignored.
class FreshSignals {
public:
    FreshSignals() {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~FreshSignals() { posix_spawnattr_destroy(&attributes_); }
    FreshSignals(const FreshSignals&) = delete;
    FreshSignals& operator=(const FreshSignals&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

struct Pipe {
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
};

/// 0, or an errno.
int openPipe(Pipe& pipe) {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    pipe.readingEnd = FileDescriptor(ends[0]);
    pipe.writingEnd = FileDescriptor(ends[1]);
    // Only our end: a child expects to wait when its output is not taken.
    return ::fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
}

/// Prepares one output stream of the child; 0, or an errno.
int directStream(ChildStream stream, int descriptor, FileActions& actions, Pipe& pipe) {
    switch (stream) {
    case ChildStream::kInherit:
        return 0;
    case ChildStream::kNull:
        return actions.openNull(descriptor, O_WRONLY);
    case ChildStream::kPipe:
        break;
    }
    const int failure = openPipe(pipe);
    return failure != 0 ? failure : actions.duplicate(pipe.writingEnd.get(), descriptor);
}

/// argv as the system wants it; the texts stay with the options.
std::vector<char*> argumentVector(const ChildProcessOptions& options) {
    std::vector<char*> arguments;
    arguments.push_back(const_cast<char*>(options.path.c_str()));
    for (const std::string& argument : options.arguments) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}

ChildEnd endOf(const siginfo_t& facts) {
    if (facts.si_code == CLD_EXITED) {
        return ExitedWithStatus{facts.si_status};
    }
    return KilledBySignal{facts.si_status};
}

bool readAvailable(FileDescriptor& from, std::string& into) {
    constexpr std::size_t kMostAtOnce = 256 * 1024;
    std::array<char, 16 * 1024> block;
    for (std::size_t taken = 0; from && taken < kMostAtOnce;) {
        const ssize_t length = ::read(from.get(), block.data(), block.size());
        if (length > 0) {
            into.append(block.data(), static_cast<std::size_t>(length));
            taken += static_cast<std::size_t>(length);
        } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
            from.reset();
        } else if (errno == EAGAIN) {
            break;
        }
    }
    return static_cast<bool>(from);
}

} // namespace

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildProcessOptions& options) {
    FileActions actions;
    Pipe output;
    Pipe error;
    int failure = actions.openNull(STDIN_FILENO, O_RDONLY);
    if (failure == 0) {
        failure = directStream(options.standardOutput, STDOUT_FILENO, actions, output);
    }
    if (failure == 0) {
        failure = directStream(options.standardError, STDERR_FILENO, actions, error);
    }
    if (failure == 0) {
        failure = actions.closeFrom(STDERR_FILENO + 1);
    }
    pid_t processId = 0;
    if (failure == 0) {
        failure = ::posix_spawn(&processId, options.path.c_str(), actions.get(),
                                FreshSignals().get(), argumentVector(options).data(), environ);
    }
    if (failure != 0) {
        return posixError(failure);
    }
    FileDescriptor processDescriptor(::pidfd_open(processId, 0));
    // Whoever ignores SIGCHLD has no children left to ask about: one that ended at once is gone.
    const bool isGone = !processDescriptor && errno == ESRCH;
    if (!processDescriptor && !isGone) {
        const Error reason = posixError(errno);
        ::kill(processId, SIGKILL);
        ::waitpid(processId, nullptr, 0);
        return reason;
    }
    std::unique_ptr<ChildProcess> child(new ChildProcess(processId, std::move(processDescriptor),
                                                         std::move(output.readingEnd),
                                                         std::move(error.readingEnd)));
    if (isGone) {
        child->end_ = kUnknownEnd;
    }
    return child;
}

ChildProcess::ChildProcess(int processId, FileDescriptor processDescriptor, FileDescriptor output,
                           FileDescriptor error)
    : processId_(processId), processDescriptor_(std::move(processDescriptor)),
      output_(std::move(output)), error_(std::move(error)) {}

ChildProcess::~ChildProcess() {
    while (!poll()) {
        signal(SIGKILL);
        wait(std::chrono::seconds(1));
    }
}

bool ChildProcess::readOutput(std::string& into) {
    return readAvailable(output_, into);
}

bool ChildProcess::readError(std::string& into) {
    return readAvailable(error_, into);
}

void ChildProcess::signal(int number) {
    if (!end_) {
        static_cast<void>(::pidfd_send_signal(processDescriptor_.get(), number, nullptr, 0));
    }
}

std::optional<ChildEnd> ChildProcess::poll() {
    if (end_) {
        return end_;
    }
    siginfo_t facts = {};
    const auto process = static_cast<id_t>(processDescriptor_.get());
    if (::waitid(P_PIDFD, process, &facts, WEXITED | WNOHANG) != 0) {
        if (errno == ECHILD) {
            end_ = kUnknownEnd;
        }
    } else if (facts.si_pid != 0) {
        end_ = endOf(facts);
    }
    return end_;
}

std::optional<ChildEnd> ChildProcess::wait(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!poll()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        pollfd end = {processDescriptor_.get(), POLLIN, 0};
        ::poll(&end, 1, static_cast<int>(std::min<std::int64_t>(left.count(), INT_MAX)));
    }
    return end_;
}

} // namespace fw
