#include "platform/files/FileAttributes.h"
#include "support/FWFileManager.h"
#include "support/files/FileRights.h"

#include <chrono>

namespace fw {
namespace {

constexpr const char* kTouch = "/usr/bin/touch";
constexpr const char* kAttributes = "/usr/bin/xattr";
using Arguments = std::vector<std::string>;

/// A tool that has run need not have been able to do it: its work is looked at.
bool modified(const std::string& path) {
    if (!touch(path)) {
        return true;
    }
    const auto before = fileAttributes(path).modificationDate;
    return withRights(&FileRights::runTool, std::string(kTouch), Arguments{"-c", "--", path}) &&
           fileAttributes(path).modificationDate != before;
}

bool created(const std::string& path, FileAttributes::Date date) {
    FileAttributes attributes;
    attributes.creationDate = date;
    if (!setFileAttributes(path, attributes)) {
        return true;
    }
    return withRights(&FileRights::runTool, std::string(kAttributes),
                      Arguments{"-w", kCreationDateAttribute, creationDateText(date), path}) &&
           fileAttributes(path).creationDate == date;
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
