#include "support/files/waitUntil.h"

#include "platform/mainthread/MainThread.h"

#include <chrono>
#include <thread>

namespace fw {
namespace {

/// One step of a wait: short on the main thread, 0.3 s elsewhere.
void waitAWhile() {
    using std::chrono::milliseconds;
    if (isMainThread()) {
        serviceMainThread(milliseconds(10));
    } else {
        std::this_thread::sleep_for(milliseconds(300));
    }
}

} // namespace

bool waitUntil(Timeout timeout, const std::function<bool()>& claim) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const auto isTimeLeft = [&] {
        return std::chrono::duration<double>(Clock::now() - start).count() < timeout.seconds;
    };
    while (!claim() && isTimeLeft()) {
        waitAWhile();
    }
    return claim();
}

} // namespace fw
