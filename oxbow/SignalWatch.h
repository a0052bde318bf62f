#pragma once

#include "platform/FileDescriptor.h"

#include <csignal>

namespace fw {

/// While it lives, the signals that ask the program to end (SIGINT, SIGTERM, SIGHUP) can be read
/// from a descriptor instead of ending it. Those that were ignored from the start stay so. Make it
/// on the only thread, before others start. One may live within another: the inner one takes what
/// has come before it, too.
class SignalWatch {
public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Readable when a signal has come.
    int descriptor() const { return descriptor_.get(); }
    /// The signal that came, or 0.
    int take();

private:
    sigset_t before_;
    FileDescriptor descriptor_;
};

/// Whether such a signal has ever come to this process: it was taken, or is still pending.
bool isAskedToEnd();

} // namespace fw
