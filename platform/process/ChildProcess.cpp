#include "platform/process/ChildProcess.h"

#include "platform/process/ChildReaper.h"
#include "platform/process/Spawn.h"
#include "platform/process/WakeEvent.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <utility>

// The header of glibc 2.36 lacks it.
extern "C" {
#include <sys/pidfd.h>
}

namespace fw {
namespace {

/// Of a child that nobody can ask about any more.
constexpr ExitedWithStatus kUnknownEnd{-1};

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

/// Waits until the descriptor can be read without waiting; false when `stop` was set first.
bool waitForInput(int descriptor, const WakeEvent* stop) {
    std::array<pollfd, 2> watched = {pollfd{descriptor, POLLIN, 0},
                                     pollfd{stop == nullptr ? -1 : stop->descriptor(), POLLIN, 0}};
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {
    }
    return watched[1].revents == 0;
}

/// Waits for something to read; empty at the end and when `stop` is set.
std::string availableOf(FileDescriptor& from, const WakeEvent* stop) {
    std::string available;
    while (from && available.empty() && waitForInput(from.get(), stop)) {
        readAvailable(from, available);
    }
    return available;
}

} // namespace

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildProcessOptions& options) {
    auto child = spawn(options);
    if (!child) {
        return child.error();
    }
    return std::unique_ptr<ChildProcess>(
        new ChildProcess(std::move(child).value(), options.whenReleased));
}

ChildProcess::ChildProcess(SpawnedChild child, WhenReleased whenReleased)
    : processId_(child.processId), whenReleased_(whenReleased),
      processDescriptor_(std::move(child.process)), input_(std::move(child.input)),
      output_(std::move(child.output)), error_(std::move(child.error)) {
    if (!processDescriptor_) {
        end_ = kUnknownEnd;
    }
}

ChildProcess::~ChildProcess() {
    if (whenReleased_ == WhenReleased::kLeave && !poll()) {
        reapWhenEnded(std::move(processDescriptor_));
        return;
    }
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

std::string ChildProcess::availableOutput(const WakeEvent* stop) {
    return availableOf(output_, stop);
}

std::string ChildProcess::availableError() {
    return availableOf(error_, nullptr);
}

void ChildProcess::closeOutput() {
    output_.reset();
}

void ChildProcess::closeError() {
    error_.reset();
}

void ChildProcess::letGo() {
    input_.reset();
    closeOutput();
    closeError();
    whenReleased_ = WhenReleased::kLeave;
    FileDescriptor copy = FileDescriptor::duplicateOf(processDescriptor_.get());
    if (!poll() && copy) {
        reapWhenEnded(std::move(copy));
    }
}

void ChildProcess::signal(int number) const {
    // The descriptor never means another process, also after this one has gone.
    static_cast<void>(::pidfd_send_signal(processDescriptor_.get(), number, nullptr, 0));
}

bool ChildProcess::isRunning() const {
    pollfd end = {processDescriptor_.get(), POLLIN, 0};
    // One that a signal interrupts has not found the end either.
    return processDescriptor_ && ::poll(&end, 1, 0) <= 0;
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
    constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24);
    const auto deadline = std::chrono::steady_clock::now() + std::min(limit, kLongest);
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

ChildEnd ChildProcess::wait() {
    for (;;) {
        if (const auto end = wait(std::chrono::hours(1))) {
            return *end;
        }
    }
}

} // namespace fw
