#include "platform/files/FileAttributes.h"
#include "platform/files/FileFacts.h"
#include "platform/files/FileIdentity.h"
#include "platform/workspace/filePackage.h"
#include "support/FWFileManager.h"

namespace fw {

bool FWFileManager::fileExistsAtPath(const std::string& path) {
    return fileIdentity(path).has_value();
}

bool FWFileManager::isDirectoryAtPath(const std::string& path) {
    return isFolder(path);
}

bool FWFileManager::isPackageAtPath(const std::string& path) {
    return isFilePackage(path);
}

bool FWFileManager::isSymbolicLinkAtPath(const std::string& path) {
    return isLink(path);
}

std::uint64_t FWFileManager::fileSize(const std::string& path) {
    return fileLength(path);
}

std::optional<FWFileManager::Date> FWFileManager::modificationDateForFile(const std::string& path) {
    return fileAttributes(path).modificationDate;
}

std::optional<FWFileManager::Date> FWFileManager::creationDateForFile(const std::string& path) {
    return fileAttributes(path).creationDate;
}

} // namespace fw
