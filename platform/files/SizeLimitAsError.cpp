#include "platform/files/SizeLimitAsError.h"

#include <cerrno>
#include <ctime>

namespace fw {
namespace {

sigset_t sizeLimitSignal() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGXFSZ);
    return signals;
}

/// Takes the signal that waits for this thread, if one does, before it can strike.
void discard(const sigset_t& signals) {
    constexpr timespec kNoTime = {0, 0};
    while (::sigtimedwait(&signals, nullptr, &kNoTime) < 0 && errno == EINTR) {
    }
}

} // namespace

SizeLimitAsError::SizeLimitAsError() {
    const sigset_t signals = sizeLimitSignal();
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SizeLimitAsError::~SizeLimitAsError() {
    // Whoever blocked the signal before may want to see it.
    if (::sigismember(&before_, SIGXFSZ) == 0) {
        discard(sizeLimitSignal());
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
}

} // namespace fw
