#include "platform/files/FileFacts.h"
#include "platform/files/FileIdentity.h"
#include "support/FWFileManager.h"
#include "support/FWTaskEx.h"
#include "support/files/waitUntil.h"

namespace fw {
namespace {

constexpr const char* kTool = "/usr/bin/ditto";

constexpr Timeout kTrashTimeout(5);

/// Makes room for a result; false when something stays in the way, or `source` would go with it.
/// With rights a move has only begun when it is allowed, and the tool must not come before it.
bool clearedFor(const std::string& source, const std::string& place, ShouldAuth shouldAuth) {
    if (!isEntry(place)) {
        return true;
    }
    return !isAtOrIn(source, place) && FWFileManager::trashFile(place, shouldAuth) &&
           waitUntil(kTrashTimeout, [&] { return !isEntry(place); });
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
