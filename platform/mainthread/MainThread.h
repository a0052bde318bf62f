#pragma once

#include <chrono>
#include <functional>
#include <thread>

// The way to the main thread: other threads post functions, and the main thread runs them when it
// finds the time (serviceMainThread), in the order of the posts. Posted functions do not throw.
// Everything but serviceMainThread may be called from any thread.
namespace fw {

/// Whether the caller is the thread that main() runs on.
bool isMainThread();

/// Has the main thread run the function, and waits until it has; false when it was dropped. On the
/// main thread itself it runs at once, always.
bool runOnMainThread(std::function<void()> function);

/// Whether the caller is the main thread and runs a function that this thread waits for
/// (runOnMainThread).
bool isMainThreadRunningFor(std::thread::id waiter);

/// Has the main thread run the function, sooner or later, and returns at once; false when it was
/// dropped. On the main thread too it waits for its turn.
bool postToMainThread(std::function<void()> function);

/// Runs what has been posted up to now. Elsewhere than on the main thread it does nothing.
void serviceMainThread();

/// Runs what has been posted and what is posted meanwhile, and returns when the time is over. A
/// function that runs then is waited for. Elsewhere than on the main thread it does nothing.
void serviceMainThread(std::chrono::milliseconds time);

/// For good: drops what has been posted and did not run and what will be posted, and releases
/// whoever waits for it.
void closeMainThread();

} // namespace fw
