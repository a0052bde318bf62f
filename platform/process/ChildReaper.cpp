#include "platform/process/ChildReaper.h"

#include "platform/process/WakeEvent.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// Reaps the child when it has ended.
bool isReaped(const FileDescriptor& process) {
    siginfo_t facts = {};
    const int failure =
        ::waitid(P_PIDFD, static_cast<id_t>(process.get()), &facts, WEXITED | WNOHANG);
    return failure != 0 ? errno == ECHILD : facts.si_pid != 0;
}

class ChildReaper {
public:
    void take(FileDescriptor process) {
        const std::lock_guard lock(mutex_);
        arrivals_.push_back(std::move(process));
        if (!wake_) {
            start();
        } else {
            wake_->set();
        }
    }

private:
    /// With every signal blocked: those of the process belong to threads that expect them.
    void start() {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        try {
            auto wake = std::make_unique<WakeEvent>();
            std::thread([this, event = wake.get()] { run(*event); }).detach();
            wake_ = std::move(wake);
        } catch (const std::exception&) {
            // No thread to be had: the arrivals wait for the next one.
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    [[noreturn]] void run(const WakeEvent& wake) {
        std::vector<FileDescriptor> children;
        for (;;) {
            addArrivals(children);
            waitForAny(children, wake);
            children.erase(std::remove_if(children.begin(), children.end(), isReaped),
                           children.end());
        }
    }

    void addArrivals(std::vector<FileDescriptor>& children) {
        const std::lock_guard lock(mutex_);
        std::move(arrivals_.begin(), arrivals_.end(), std::back_inserter(children));
        arrivals_.clear();
    }

    static void waitForAny(const std::vector<FileDescriptor>& children, const WakeEvent& wake) {
        std::vector<pollfd> watched = {{wake.descriptor(), POLLIN, 0}};
        for (const FileDescriptor& child : children) {
            watched.push_back({child.get(), POLLIN, 0});
        }
        ::poll(watched.data(), watched.size(), -1);
        wake.clear();
    }

    std::mutex mutex_;
    std::vector<FileDescriptor> arrivals_;
    std::unique_ptr<WakeEvent> wake_; ///< Of the running thread.
};

} // namespace

void reapWhenEnded(FileDescriptor process) {
    // Never destroyed: its thread runs as long as the process.
    static auto* const reaper = new ChildReaper;
    reaper->take(std::move(process));
}

} // namespace fw
