#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

namespace fw::test {

/// Why a test that needs one is skipped.
constexpr const char* kNoLeases = "the temporary folder's file system has no leases";

/// A lease on a file that another process holds, as a file server does for a client that writes:
/// it gives it up a moment after somebody else has opened the file, who waits until then.
class LeasedFile {
public:
    explicit LeasedFile(const std::string& path,
                        std::chrono::milliseconds moment = std::chrono::milliseconds(100));
    ~LeasedFile();
    LeasedFile(const LeasedFile&) = delete;
    LeasedFile& operator=(const LeasedFile&) = delete;

    /// Not every file system has leases, and not every user may take one.
    bool isHeld() const { return isHeld_; }
    /// Ends the moment, or keeps it from beginning.
    void giveUp() const;
    /// Whether it has been given up to somebody; waits until the process has ended.
    bool wasGivenUp();

private:
    void end();

    pid_t holder_ = -1;
    int status_ = -1;
    bool isHeld_ = false;
};

} // namespace fw::test
