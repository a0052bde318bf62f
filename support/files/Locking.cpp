#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/files/FileFacts.h"
#include "platform/files/ImmutableFlag.h"
#include "support/FWFileManager.h"

namespace fw {
namespace {

/// Deliberate: one message for locking and unlocking.
void logFailure(const std::string& path, const Error& failure) {
    systemLog(formattedText("Unable to unlock file %@: %@", path, failure.description));
}

bool setLocked(const std::string& path, bool isLocked) {
    const std::optional<Error> failure = setImmutable(path, isLocked);
    if (failure) {
        logFailure(path, *failure);
    }
    return !failure;
}

} // namespace

bool FWFileManager::isFileLocked(const std::string& path) {
    return isImmutable(path);
}

bool FWFileManager::lockFile(const std::string& path) {
    return setLocked(path, true);
}

bool FWFileManager::unlockFile(const std::string& path) {
    return isMissing(path) || setLocked(path, false);
}

bool FWFileManager::lockFolder(const std::string& path) {
    return setContentsImmutable(path, true, logFailure);
}

bool FWFileManager::unlockFolder(const std::string& path) {
    return isMissing(path) || setContentsImmutable(path, false, logFailure);
}

} // namespace fw
