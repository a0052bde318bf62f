#include "base/systemLog.h"
#include "platform/files/Folders.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/FileRights.h"
#include "support/files/waitUntil.h"

namespace fw {

bool FWFileManager::createDirectory(const std::string& path) {
    return createDirectory(path, ShouldAuth::kYes);
}

bool FWFileManager::createDirectory(const std::string& path, ShouldAuth shouldAuth) {
    if (!isDriveMountedForPath(path)) {
        systemLog("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const std::optional<Error> failure = makeFolder(path);
    if (!failure) {
        return true;
    }
    FWLog::appendLog("Error creating folder: %@. Authorizing...", failure->description);
    return shouldAuth == ShouldAuth::kYes && withRights(&FileRights::createDirectory, path);
}

bool FWFileManager::createDirectory(const std::string& path, Timeout timeout) {
    return createDirectory(path, ShouldAuth::kYes) &&
           waitUntil(timeout, [&] { return fileExistsAtPath(path); });
}

} // namespace fw
