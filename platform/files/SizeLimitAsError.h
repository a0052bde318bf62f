#pragma once

#include <csignal>

namespace fw {

/// While it lives, this thread's write beyond the process's limit of a file's size is an error
/// (EFBIG) and not the end of the process by SIGXFSZ. What the program does with that signal stays
/// as it is, and other threads are not concerned.
class SizeLimitAsError {
public:
    SizeLimitAsError();
    ~SizeLimitAsError();
    SizeLimitAsError(const SizeLimitAsError&) = delete;
    SizeLimitAsError& operator=(const SizeLimitAsError&) = delete;

private:
    sigset_t before_ = {}; ///< The signals that were blocked.
};

} // namespace fw
