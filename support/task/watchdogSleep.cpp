#include "support/task/watchdogSleep.h"

#include <mutex>
#include <thread>
#include <utility>

namespace fw {
namespace {

struct Sleep {
    std::mutex mutex;
    WatchdogSleep function;
};

/// Never destroyed: watchdogs may wake while the program ends.
Sleep& sleepInUse() {
    static auto* const instance = new Sleep;
    return *instance;
}

} // namespace

void watchdogSleep(std::chrono::seconds time) {
    WatchdogSleep sleep;
    {
        const std::lock_guard lock(sleepInUse().mutex);
        sleep = sleepInUse().function;
    }
    if (sleep) {
        sleep(time);
    } else {
        std::this_thread::sleep_for(time);
    }
}

WatchdogSleep setWatchdogSleep(WatchdogSleep sleep) {
    const std::lock_guard lock(sleepInUse().mutex);
    return std::exchange(sleepInUse().function, std::move(sleep));
}

} // namespace fw
