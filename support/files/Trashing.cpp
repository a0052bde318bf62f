#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/Folders.h"
#include "platform/files/holdsMount.h"
#include "platform/files/moveItem.h"
#include "support/FWFileManager.h"
#include "support/FWLocalPaths.h"
#include "support/files/FileRights.h"
#include "support/files/removeMovedSource.h"
#include "support/files/waitUntil.h"

#include <cerrno>

namespace fw {
namespace {

std::optional<MoveFailure> moveToTrash(const std::string& path) {
    const std::string trash = FWLocalPaths::trashDirectory();
    if (auto failure = makePrivateFolder(trash)) {
        return MoveFailure{*failure}; // Also for an unknown, and so empty, path.
    }
    const std::string wanted = appendedPathComponent(trash, lastPathComponent(path));
    // Others may take a free name first, so often at most.
    constexpr int kMostTries = 100;
    std::optional<MoveFailure> failure;
    for (int i = 0; i < kMostTries; ++i) {
        failure = moveItem(path, FWFileManager::uniqueFilename(wanted));
        if (!failure) {
            return std::nullopt;
        }
        if (failure->error.code != EEXIST || failure->isDestinationWhole) {
            break;
        }
    }
    return failure;
}

/// What the plain move has left to do.
bool finishWithRights(const MoveFailure& failure, const std::string& path) {
    // Rights would not spare what is mounted there, or has changed since it was copied.
    if (failure.error.code == EBUSY || holdsMount(path)) {
        return false;
    }
    return failure.isDestinationWhole ? removeMovedSource(path, failure)
                                      : withRights(&FileRights::trashFile, path);
}

} // namespace

bool FWFileManager::trashFile(const std::string& path) {
    return trashFile(path, ShouldAuth::kYes);
}

bool FWFileManager::trashFile(const std::string& path, ShouldAuth shouldAuth) {
    unlockFile(path);
    if (isMissing(path)) {
        return true;
    }
    const std::optional<MoveFailure> failure = moveToTrash(path);
    return !failure || (shouldAuth == ShouldAuth::kYes && finishWithRights(*failure, path));
}

bool FWFileManager::trashFile(const std::string& path, Timeout timeout) {
    return trashFile(path, ShouldAuth::kYes) && waitUntil(timeout, [&] { return isMissing(path); });
}

} // namespace fw
