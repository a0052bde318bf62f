#include "platform/files/FileIdentity.h"
#include "support/FWFileManager.h"
#include "support/FWTaskEx.h"

namespace fw {
namespace {

constexpr const char* kTool = "/usr/bin/ditto";

/// Makes room for a result; false when something stays in the way, or `source` would go with it.
bool clearedFor(const std::string& source, const std::string& place, ShouldAuth shouldAuth) {
    return !FWFileManager::fileExistsAtPath(place) ||
           (!isAtOrIn(source, place) && FWFileManager::trashFile(place, shouldAuth));
}

} // namespace

bool FWFileManager::compressFile(const std::string& source, const std::string& archive,
                                 IncludeParent includeParent) {
    if (!clearedFor(source, archive, ShouldAuth::kYes)) {
        return false;
    }
    TaskArguments arguments = {"-ck", source, archive};
    if (includeParent == IncludeParent::kYes) {
        arguments.insert(arguments.begin() + 1, "--keepParent");
    }
    FWTaskEx::runTask(kTool, arguments);
    return fileExistsAtPath(archive);
}

bool FWFileManager::compressFile(const std::string& source, const std::string& archive) {
    return compressFile(source, archive, IncludeParent::kNo);
}

bool FWFileManager::decompressFile(const std::string& archive, const std::string& folder) {
    if (!clearedFor(archive, folder, ShouldAuth::kNo)) {
        return false;
    }
    FWTaskEx::runTask(kTool, {"-xk", archive, folder});
    return fileExistsAtPath(folder);
}

} // namespace fw
