#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "base/text.h"
#include "platform/files/ExtendedAttributes.h"
#include "support/FWFileManager.h"

namespace fw {

std::string FWFileManager::metadataValueForKey(const std::string& key, const std::string& path) {
    if (!isMacFilesystemAtPath(path)) {
        systemLog("Unable to get Finder metadata - this is not an Apple-formatted drive.");
        return {};
    }
    const Result<std::string> value = extendedAttribute(path, key);
    if (!value) {
        systemLog(formattedText("Error retrieving file attribute: %i", value.error().code));
        return {};
    }
    const bool isText = repairedUtf8(value.value()) == value.value();
    return isText ? value.value() : std::string();
}

void FWFileManager::setMetadataValue(const std::string& value, const std::string& key,
                                     const std::string& path) {
    if (!isMacFilesystemAtPath(path)) {
        systemLog("Unable to set Finder metadata - this is not an Apple-formatted drive.");
        return;
    }
    if (const std::optional<Error> failure = setExtendedAttribute(path, key, value)) {
        systemLog(formattedText("Error setting extended attribute for file %@ - %i", path,
                                failure->code));
    }
}

} // namespace fw
