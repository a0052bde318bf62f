#include "platform/files/FileAttributes.h"
#include "support/FWFileManager.h"
#include "support/files/FileRights.h"

#include <chrono>

namespace fw {
namespace {

constexpr const char* kTouch = "/usr/bin/touch";
constexpr const char* kAttributes = "/usr/bin/xattr";
using Arguments = std::vector<std::string>;

bool modified(const std::string& path) {
    return !touch(path) ||
           withRights(&FileRights::runTool, std::string(kTouch), Arguments{"-c", "--", path});
}

bool created(const std::string& path, FileAttributes::Date date) {
    FileAttributes attributes;
    attributes.creationDate = date;
    return !setFileAttributes(path, attributes) ||
           withRights(&FileRights::runTool, std::string(kAttributes),
                      Arguments{"-w", kCreationDateAttribute, creationDateText(date), path});
}

} // namespace

bool FWFileManager::touchFile(const std::string& path, SetCreationDate setCreationDate) {
    if (!fileExistsAtPath(path)) {
        return false;
    }
    const bool isModified = modified(path);
    return (setCreationDate == SetCreationDate::kNo ||
            created(path, std::chrono::system_clock::now())) &&
           isModified;
}

} // namespace fw
