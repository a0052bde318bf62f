#pragma once

#include "platform/FileDescriptor.h"

#include <fcntl.h>

#include <csignal>
#include <string>

namespace fw::test {

/// Whoever starts this tool waits until it is released, as for a file on a server that does not
/// answer; the system gives up holding it after half a minute or more.
class HeldTool {
public:
    explicit HeldTool(const std::string& path)
        : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
          isHeld_(::fcntl(file_.get(), F_SETSIG, SIGURG) == 0 && // Which nobody minds.
                  ::fcntl(file_.get(), F_SETLEASE, F_WRLCK) == 0) {}

    /// False where the file system cannot do that.
    bool isHeld() const { return isHeld_; }
    /// Whether its start has begun and waits.
    bool isWaitedFor() const { return ::fcntl(file_.get(), F_GETLEASE) != F_WRLCK; }
    void release() { file_.reset(); }

private:
    FileDescriptor file_;
    bool isHeld_;
};

} // namespace fw::test
