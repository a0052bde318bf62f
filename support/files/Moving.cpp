#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/holdsMount.h"
#include "platform/files/moveItem.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/FileRights.h"
#include "support/files/waitUntil.h"

#include <cerrno>
#include <string_view>

namespace fw {
namespace {

bool differInLetterCaseOnly(const std::string& first, const std::string& second) {
    return first != second && lowerCased(first) == lowerCased(second);
}

/// By a name between the two: where letter case does not count, the destination is the source.
std::optional<MoveFailure> moveInTwoSteps(const std::string& source,
                                          const std::string& destination) {
    const std::string between = FWFileManager::uniqueFilename(destination);
    std::optional<MoveFailure> failure = moveItem(source, between);
    if (failure || between == destination) {
        return failure;
    }
    failure = moveItem(between, destination);
    if (!failure) {
        return std::nullopt;
    }
    // The first failure is the one to tell, but nobody would look for the file at that name.
    if (const std::optional<MoveFailure> other = moveItem(between, source)) {
        FWLog::appendLog("Error moving file back from %@ to %@: %@.", between, source,
                         other->error.description);
    }
    return failure;
}

/// What would be in the way if the destination is a folder to move into.
void unlockDestination(const std::string& source, const std::string& destination) {
    FWFileManager::unlockFile(destination);
    const std::string_view name = lastPathComponent(source);
    // The others name no entry of the destination, but what lies around it.
    if (!name.empty() && name != "/" && name != "." && name != "..") {
        FWFileManager::unlockFolder(appendedPathComponent(destination, name));
    }
}

/// What the plain move has left to do.
bool finishWithRights(const MoveFailure& failure, const std::string& source,
                      const std::string& destination) {
    // Rights would not spare what is mounted there.
    if (failure.error.code == EBUSY || holdsMount(source)) {
        return false;
    }
    if (failure.isDestinationWhole) {
        return withRights(&FileRights::removeFile, source);
    }
    // Nor a file that is its own destination.
    return !isSameFile(source, destination) &&
           withRights(&FileRights::moveFile, source, destination);
}

} // namespace

bool FWFileManager::moveFile(const std::string& source, const std::string& destination) {
    return moveFile(source, destination, ShouldAuth::kYes);
}

bool FWFileManager::moveFile(const std::string& source, const std::string& destination,
                             ShouldAuth shouldAuth) {
    unlockDestination(source, destination);
    const std::optional<MoveFailure> failure = differInLetterCaseOnly(source, destination)
                                                   ? moveInTwoSteps(source, destination)
                                                   : moveItem(source, destination);
    if (!failure) {
        return true;
    }
    FWLog::appendLog("Error moving file from %@ to %@: %@.", source, destination,
                     failure->error.description);
    FWLog::appendLog("Authorizing...");
    return shouldAuth == ShouldAuth::kYes && finishWithRights(*failure, source, destination);
}

bool FWFileManager::moveFile(const std::string& source, const std::string& destination,
                             Timeout timeout) {
    return moveFile(source, destination, ShouldAuth::kYes) &&
           waitUntil(timeout, [&] { return isMissing(source); });
}

} // namespace fw
