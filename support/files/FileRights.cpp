#include "support/files/FileRights.h"

#include "support/files/administratorRights.h"

#include <mutex>
#include <utility>

namespace fw {
namespace {

struct Installed {
    std::mutex mutex;
    FileRights rights = administratorRights();
};

/// Never destroyed: threads may ask while the program ends.
Installed& installed() {
    static auto* const instance = new Installed;
    return *instance;
}

} // namespace

FileRights setFileRights(FileRights rights) {
    const std::lock_guard lock(installed().mutex);
    return std::exchange(installed().rights, std::move(rights));
}

FileRights fileRights() {
    const std::lock_guard lock(installed().mutex);
    return installed().rights;
}

} // namespace fw
