#include "support/files/createdFolder.h"

#include "base/systemLog.h"
#include "platform/files/Folders.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"

namespace fw {

std::string parentFolder(const std::string& path) {
    const std::size_t nameEnd = path.find_last_not_of('/');
    const std::size_t slash = path.rfind('/', nameEnd);
    if (nameEnd == std::string::npos || slash == std::string::npos) {
        return path.starts_with('/') ? "/" : ".";
    }
    const std::size_t end = path.find_last_not_of('/', slash);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

bool createdFolder(const std::string& path) {
    constexpr mode_t kMode = 0755;
    if (!FWFileManager::isDriveMountedForPath(path)) {
        systemLog("Unable to create directory. Drive is not mounted.");
        return false;
    }
    if (const std::optional<Error> failure = makeFolder(path, kMode)) {
        FWLog::appendLog("Error creating folder: %@. Authorizing...", failure->description);
        return false;
    }
    return true;
}

} // namespace fw
