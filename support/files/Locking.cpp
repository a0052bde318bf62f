#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/ImmutableFlag.h"
#include "support/FWFileManager.h"

#include <utility>
#include <vector>

namespace fw {
namespace {

/// Deliberate: one message for locking and unlocking.
bool setLocked(const std::string& path, bool isLocked) {
    const std::optional<Error> failure = setImmutable(path, isLocked);
    if (failure) {
        systemLog(formattedText("Unable to unlock file %@: %@", path, failure->description));
    }
    return !failure;
}

/// A link is not followed: what lies outside of the folder is none of its contents. The way is
/// kept in a list, so that no depth is too much for the stack.
bool setContentsLocked(const std::string& folder, bool isLocked) {
    bool isDone = true;
    std::vector<std::string> folders = {folder};
    while (!folders.empty()) {
        const std::string current = std::move(folders.back());
        folders.pop_back();
        const auto names = folderEntries(current);
        if (!names) {
            isDone = false;
            continue;
        }
        for (const std::string& name : names.value()) {
            std::string path = appendedPathComponent(current, name);
            isDone = setLocked(path, isLocked) && isDone;
            if (isFolder(path) && !isLink(path)) {
                folders.push_back(std::move(path));
            }
        }
    }
    return isDone;
}

} // namespace

bool FWFileManager::isFileLocked(const std::string& path) {
    return isImmutable(path);
}

bool FWFileManager::lockFile(const std::string& path) {
    return setLocked(path, true);
}

bool FWFileManager::unlockFile(const std::string& path) {
    return !isEntry(path) || setLocked(path, false);
}

bool FWFileManager::lockFolder(const std::string& path) {
    return setContentsLocked(path, true);
}

bool FWFileManager::unlockFolder(const std::string& path) {
    return !isEntry(path) || setContentsLocked(path, false);
}

} // namespace fw
