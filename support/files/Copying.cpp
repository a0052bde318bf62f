#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/copyItem.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/FileRights.h"
#include "support/files/waitUntil.h"

namespace fw {

bool FWFileManager::copyFile(const std::string& source, const std::string& destination) {
    return copyFile(source, destination, ShouldAuth::kYes);
}

bool FWFileManager::copyFile(const std::string& source, const std::string& destination,
                             ShouldAuth shouldAuth) {
    if (source.empty()) {
        FWLog::appendLog("Error copying file: source path is nil");
        return false;
    }
    if (destination.empty()) {
        FWLog::appendLog("Error copying file %@: destination path is nil", source);
        return false;
    }
    unlockFile(source);
    const std::optional<Error> failure = copyItem(source, destination);
    if (!failure) {
        return true;
    }
    FWLog::appendLog("Error copying file: %@. Authorizing...", failure->description);
    // No rights are needed to leave a file that is its own destination as it is.
    return shouldAuth == ShouldAuth::kYes && !isSameFile(source, destination) &&
           withRights(&FileRights::copyFile, source, destination);
}

bool FWFileManager::copyFile(const std::string& source, const std::string& destination,
                             Timeout timeout) {
    return copyFile(source, destination, ShouldAuth::kYes) &&
           waitUntil(timeout, [&] { return isEntry(destination); });
}

void FWFileManager::copyContentsOfDirectory(const std::string& folder,
                                            const std::string& destination, Timeout timeout) {
    const auto names = folderEntries(folder);
    if (!names) {
        return;
    }
    for (const std::string& name : names.value()) {
        FWLog::fastAppendLog("File: %@", name);
        copyFile(appendedPathComponent(folder, name), appendedPathComponent(destination, name),
                 timeout);
    }
}

} // namespace fw
