#include "oxbow/SignalWatch.h"

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>

namespace fw {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> wasTaken = false;

bool isIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

SignalWatch::SignalWatch() {
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : kSignals) {
        if (!isIgnored(signal)) {
            sigaddset(&watched, signal);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &watched, &before_);
    descriptor_ = FileDescriptor(::signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_) {
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); // They end the program, as before.
    }
}

SignalWatch::~SignalWatch() {
    // What is pending must not end the program after all.
    while (take() != 0) {
    }
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

int SignalWatch::take() {
    signalfd_siginfo facts = {};
    const ssize_t length = ::read(descriptor_.get(), &facts, sizeof facts);
    if (length != sizeof facts) {
        return 0;
    }
    wasTaken = true;
    return static_cast<int>(facts.ssi_signo);
}

bool isAskedToEnd() {
    sigset_t pending;
    ::sigpending(&pending);
    return wasTaken || std::ranges::any_of(kSignals, [&pending](int signal) {
               return sigismember(&pending, signal) == 1;
           });
}

} // namespace fw
