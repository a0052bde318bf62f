#include "platform/files/FileFacts.h"
#include "platform/files/emptyFolder.h"
#include "support/FWFileManager.h"

#include <string_view>

namespace fw {

bool FWFileManager::isFolderEmpty(const std::string& path) {
    // Kept by file browsers: how a folder is shown, and its icon.
    return isFolderWithoutFiles(
        path, [](std::string_view name) { return name == ".DS_Store" || name == "Icon\r"; });
}

bool FWFileManager::removeFolderIfEmpty(const std::string& path) {
    return isFolderEmpty(path) && removeFile(path);
}

} // namespace fw
