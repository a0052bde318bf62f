#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/Folders.h"
#include "platform/files/moveItem.h"
#include "support/FWFileManager.h"
#include "support/FWLocalPaths.h"
#include "support/files/FileRights.h"
#include "support/files/waitUntil.h"

#include <cerrno>

namespace fw {
namespace {

constexpr mode_t kOwnerOnly = 0700;

bool movedToTrash(const std::string& path) {
    const std::string trash = FWLocalPaths::trashDirectory();
    if (trash.empty() || (!isFolder(trash) && makeFolder(trash, kOwnerOnly))) {
        return false;
    }
    const std::string wanted = appendedPathComponent(trash, lastPathComponent(path));
    // Others may take a free name first, so often at most.
    constexpr int kMostTries = 100;
    for (int i = 0; i < kMostTries; ++i) {
        const std::optional<MoveFailure> failure =
            moveItem(path, FWFileManager::uniqueFilename(wanted));
        if (!failure || failure->error.code != EEXIST) {
            return !failure;
        }
    }
    return false;
}

} // namespace

bool FWFileManager::trashFile(const std::string& path) {
    return trashFile(path, ShouldAuth::kYes);
}

bool FWFileManager::trashFile(const std::string& path, ShouldAuth shouldAuth) {
    unlockFile(path);
    if (!isEntry(path) || movedToTrash(path)) {
        return true;
    }
    return shouldAuth == ShouldAuth::kYes && withRights(&FileRights::trashFile, path);
}

bool FWFileManager::trashFile(const std::string& path, Timeout timeout) {
    return trashFile(path, ShouldAuth::kYes) && waitUntil(timeout, [&] { return !isEntry(path); });
}

} // namespace fw
