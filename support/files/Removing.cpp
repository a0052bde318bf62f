#include "platform/files/FileFacts.h"
#include "platform/files/holdsMount.h"
#include "platform/files/removeItem.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/FileRights.h"
#include "support/files/waitUntil.h"

#include <cerrno>

namespace fw {

bool FWFileManager::removeFile(const std::string& path) {
    return removeFile(path, ShouldAuth::kYes);
}

bool FWFileManager::removeFile(const std::string& path, ShouldAuth shouldAuth) {
    unlockFile(path);
    if (isMissing(path)) {
        return true;
    }
    const std::optional<Error> failure = removeItem(path);
    if (!failure) {
        return true;
    }
    FWLog::appendLog("Error removing file: %@. Authorizing...", failure->description);
    // Rights would not spare what is mounted there.
    const bool isMounted = failure->code == EBUSY || holdsMount(path);
    return shouldAuth == ShouldAuth::kYes && !isMounted &&
           withRights(&FileRights::removeFile, path);
}

bool FWFileManager::removeFile(const std::string& path, Timeout timeout) {
    return removeFile(path, ShouldAuth::kYes) &&
           waitUntil(timeout, [&] { return isMissing(path); });
}

} // namespace fw
