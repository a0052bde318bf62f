#include "platform/process/Spawn.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/process/ChildEnvironment.h"
#include "platform/process/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

// The header of glibc 2.36 lacks it.
extern "C" {
#include <sys/pidfd.h>
}

namespace fw {
namespace {

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
class FreshAttributes {
public:
    explicit FreshAttributes(ChildSession session) {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        const int ownSession = session == ChildSession::kOwn ? POSIX_SPAWN_SETSID : 0;
        posix_spawnattr_setflags(
            &attributes_,
            static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | ownSession));
    }
    ~FreshAttributes() { posix_spawnattr_destroy(&attributes_); }
    FreshAttributes(const FreshAttributes&) = delete;
    FreshAttributes& operator=(const FreshAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

struct Pipe {
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
};

/// Moves a descriptor away from the places of the standard streams, which are free where this
/// process was started without them: the child opens its own streams there. 0, or an errno.
int moveOffStandardStreams(FileDescriptor& descriptor) {
    if (descriptor.get() > STDERR_FILENO) {
        return 0;
    }
    FileDescriptor moved = FileDescriptor::duplicateOf(descriptor.get(), STDERR_FILENO + 1);
    if (!moved) {
        return errno;
    }
    descriptor = std::move(moved);
    return 0;
}

/// 0, or an errno.
int openPipe(Pipe& pipe) {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    pipe.readingEnd = FileDescriptor(ends[0]);
    pipe.writingEnd = FileDescriptor(ends[1]);
    const int failure = moveOffStandardStreams(pipe.readingEnd);
    return failure != 0 ? failure : moveOffStandardStreams(pipe.writingEnd);
}

/// A descriptor of our own for the same thing, away from the places of the standard streams.
int copyDescriptor(int descriptor, FileDescriptor& copy) {
    copy = FileDescriptor::duplicateOf(descriptor, STDERR_FILENO + 1);
    return copy ? 0 : errno;
}

/// Prepares the child's input; 0, or an errno.
int directInput(const ChildProcessOptions& options, FileActions& actions, Pipe& pipe) {
    int failure = 0;
    switch (options.standardInput) {
    case ChildInput::kInherit:
        return 0;
    case ChildInput::kNull:
        return actions.openNull(STDIN_FILENO, O_RDONLY);
    case ChildInput::kPipe:
        failure = openPipe(pipe);
        break;
    case ChildInput::kGiven:
        failure = copyDescriptor(options.givenInput, pipe.readingEnd);
        break;
    }
    return failure != 0 ? failure : actions.duplicate(pipe.readingEnd.get(), STDIN_FILENO);
}

/// Prepares one output stream of the child; 0, or an errno.
int directOutput(ChildStream stream, int descriptor, FileActions& actions, Pipe& pipe) {
    switch (stream) {
    case ChildStream::kInherit:
        return 0;
    case ChildStream::kNull:
        return actions.openNull(descriptor, O_WRONLY);
    case ChildStream::kPipe:
        break;
    }
    if (const int failure = openPipe(pipe)) {
        return failure;
    }
    // Only our end: a child expects to wait when its output is not taken.
    if (::fcntl(pipe.readingEnd.get(), F_SETFL, O_NONBLOCK) != 0) {
        return errno;
    }
    return actions.duplicate(pipe.writingEnd.get(), descriptor);
}

struct Pipes {
    Pipe input;
    Pipe output;
    Pipe error;
};

/// 0, or an errno.
int directStreams(const ChildProcessOptions& options, FileActions& actions, Pipes& pipes) {
    int failure = directInput(options, actions, pipes.input);
    if (failure == 0) {
        failure = directOutput(options.standardOutput, STDOUT_FILENO, actions, pipes.output);
    }
    if (failure == 0) {
        failure = directOutput(options.standardError, STDERR_FILENO, actions, pipes.error);
    }
    return failure != 0 ? failure : actions.closeFrom(STDERR_FILENO + 1);
}

/// Once the child has ends of its own. A stream without a pipe has none here.
void closeEndsOfChild(Pipes& pipes) {
    pipes.input.readingEnd.reset();
    pipes.output.writingEnd.reset();
    pipes.error.writingEnd.reset();
}

/// Texts as the system wants them; they stay with their owner.
class TextVector {
public:
    void add(const std::string& text) { texts_.push_back(const_cast<char*>(text.c_str())); }
    void add(const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            add(text);
        }
    }
    char* const* ended() {
        texts_.push_back(nullptr);
        return texts_.data();
    }

private:
    std::vector<char*> texts_;
};

bool isCutByTheSystem(const ChildProcessOptions& options) {
    const auto anyCut = [](const std::vector<std::string>& texts) {
        return std::any_of(texts.begin(), texts.end(), holdsZeroByte);
    };
    return holdsZeroByte(options.path) || anyCut(options.arguments) ||
           (options.environment && anyCut(*options.environment));
}

/// 0, or an errno.
int startProgram(const ChildProcessOptions& options, const FileActions& actions, pid_t& processId) {
    TextVector arguments;
    arguments.add(options.path);
    arguments.add(options.arguments);
    const std::vector<std::string> variables =
        options.environment ? *options.environment : environmentOfChildren();
    TextVector environment;
    environment.add(variables);
    const FreshAttributes attributes(options.session);
    return ::posix_spawn(&processId, options.path.c_str(), actions.get(), attributes.get(),
                         arguments.ended(), environment.ended());
}

/// A descriptor of the child, which may be at work already and must not fail for want of one any
/// more: where another thread took the room that was kept for it, this waits for other room. None
/// of a child that is gone: whoever ignores SIGCHLD has none left to ask about.
FileDescriptor descriptorOfStarted(pid_t child) {
    FileDescriptor descriptor(::pidfd_open(child, 0));
    while (!descriptor && errno != ESRCH) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        descriptor = FileDescriptor(::pidfd_open(child, 0));
    }
    return descriptor;
}

} // namespace

Result<SpawnedChild> spawn(const ChildProcessOptions& options) {
    if (isCutByTheSystem(options)) {
        return posixError(EINVAL);
    }
    // Keeps the room for the child's, and shows that there are such descriptors.
    FileDescriptor room(::pidfd_open(::getpid(), 0));
    if (!room) {
        return posixError(errno);
    }
    FileActions actions;
    Pipes pipes;
    SpawnedChild child;
    int failure = directStreams(options, actions, pipes);
    if (failure == 0) {
        failure = startProgram(options, actions, child.processId);
    }
    if (failure != 0) {
        return posixError(failure);
    }
    closeEndsOfChild(pipes); // Room, too, where another thread takes and keeps what is next.
    room.reset();
    child.process = descriptorOfStarted(child.processId);
    child.input = std::move(pipes.input.writingEnd);
    child.output = std::move(pipes.output.readingEnd);
    child.error = std::move(pipes.error.readingEnd);
    return child;
}

} // namespace fw
