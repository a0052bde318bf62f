#include "support/log/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

namespace fw {
namespace {

constexpr std::chrono::milliseconds kPause{5};
constexpr int kTries = 200;

/// Whether another process had the lock for longer than anybody needs it.
std::atomic<bool> isHolderStuck = false;

bool isHeldElsewhere(int folder) {
    return ::flock(folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

FolderLock::FolderLock(const std::string& folder)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    for (int i = 0; isHeldElsewhere(folder_.get()) && !isHolderStuck; ++i) {
        isHolderStuck = i == kTries;
        std::this_thread::sleep_for(kPause);
    }
}

} // namespace fw
