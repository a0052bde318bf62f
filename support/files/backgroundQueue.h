#pragma once

#include <functional>

namespace fw {

/// So many run at once, so that a delegate that is slow to answer does not hold up others.
constexpr int kBackgroundThreads = 4;

/// Runs the function on one of a few background threads of the process, beside others and in no
/// promised order, and returns at once. The function does not throw. Functions that have not run
/// when the process exits are dropped. Safe from any thread.
void runInBackground(std::function<void()> function);

} // namespace fw
