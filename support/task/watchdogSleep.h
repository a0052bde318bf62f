#pragma once

#include <chrono>
#include <functional>

namespace fw {

/// The sleep of a run's watchdog.
void watchdogSleep(std::chrono::seconds time);

/// Puts another sleep in its place, for tests; an empty one puts the real one back. Safe from any
/// thread. Returns the one before.
using WatchdogSleep = std::function<void(std::chrono::seconds)>;
WatchdogSleep setWatchdogSleep(WatchdogSleep sleep);

} // namespace fw
