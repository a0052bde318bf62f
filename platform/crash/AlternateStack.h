#pragma once

#include <csignal>
#include <cstddef>

namespace fw {

/// A stack of its own for the signal handlers of the thread that makes it, which goes back to the
/// one before when the object goes. Without it, the overflow of a thread's stack leaves the crash
/// handler no place to run, and the program dies without a report. A thread makes it first of all
/// and on itself; where the system gives no memory, it does nothing.
class AlternateStack {
public:
    AlternateStack();
    ~AlternateStack();
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;

private:
    void* memory_ = nullptr; ///< A page that nobody may touch, then the stack.
    std::size_t size_ = 0;
    stack_t before_ = {};
};

} // namespace fw
