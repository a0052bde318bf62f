#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/plist/PropertyListFile.h"
#include "support/FWFileManager.h"
#include "support/FWTaskEx.h"

#include <utility>

namespace fw {

PropertyListDictionary FWFileManager::infoForDiskAtMountpoint(const std::string& mountPoint) {
    const std::optional<TaskOutput> output =
        FWTaskEx::dataFromTask("/usr/sbin/diskutil", {"info", "-plist", mountPoint});
    if (!output || output->empty()) {
        return {};
    }
    Result<PropertyListDictionary> information =
        propertyListFromBytes({reinterpret_cast<const char*>(output->data()), output->size()});
    if (!information) {
        systemLog(
            formattedText("Error converting diskutil output: %@", information.error().description));
        return {};
    }
    return std::move(information).value();
}

} // namespace fw
