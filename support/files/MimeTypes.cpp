#include "platform/workspace/mimeTypes.h"
#include "base/text.h"
#include "support/FWFileManager.h"

namespace fw {

std::string FWFileManager::mimeTypeForFileExtension(const std::string& extension) {
    return mimeTypeOfExtension(extension).value_or("application/octet-stream");
}

std::string FWFileManager::mimeTypeForFileAtPath(const std::string& path) {
    return mimeTypeForFileExtension(std::string(pathExtension(path)));
}

} // namespace fw
