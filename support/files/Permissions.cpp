#include "platform/files/permissions.h"
#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "support/FWFileManager.h"

namespace fw {

bool FWFileManager::setPosixPermissions(unsigned permissions, const std::string& path) {
    const std::optional<Error> failure = setPermissions(path, permissions);
    if (failure) {
        systemLog(
            formattedText("Error setting permissions for file %@: %@", path, failure->description));
    }
    return !failure;
}

} // namespace fw
