#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "platform/files/holdsMount.h"
#include "platform/files/moveItem.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/FileRights.h"
#include "support/files/removeMovedSource.h"
#include "support/files/waitUntil.h"

#include <cerrno>
#include <string_view>
#include <utility>

namespace fw {
namespace {

bool differInLetterCaseOnly(const std::string& first, const std::string& second) {
    return first != second && lowerCased(first) == lowerCased(second);
}

struct Failed : MoveFailure {
    bool isBetween = false; ///< It stands neither at the source nor at the destination.
};

std::optional<Failed> moveInOneStep(const std::string& source, const std::string& destination) {
    const std::optional<MoveFailure> failure = moveItem(source, destination);
    return failure ? std::optional(Failed{*failure}) : std::nullopt;
}

/// By a name between the two: where letter case does not count, the destination is the source.
/// Nobody would look for a file at that name, so the log tells of one that stays there.
std::optional<Failed> moveInTwoSteps(const std::string& source, const std::string& destination) {
    const std::string between = FWFileManager::uniqueFilename(destination);
    std::optional<Failed> failure = moveInOneStep(source, between);
    if (between == destination) {
        return failure;
    }
    if (failure) {
        failure->isBetween = std::exchange(failure->isDestinationWhole, false);
        if (failure->isBetween) {
            FWLog::appendLog("Error moving file on from %@ to %@: %@.", between, destination,
                             failure->error.description);
        }
        return failure;
    }
    failure = moveInOneStep(between, destination);
    if (!failure) {
        return std::nullopt;
    }
    // The first failure is the one to tell.
    if (const std::optional<MoveFailure> other = moveItem(between, source)) {
        failure->isBetween = true;
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
bool finishWithRights(const Failed& failure, const std::string& source,
                      const std::string& destination) {
    // Rights would not spare what is mounted there, or has changed since it was copied.
    if (failure.isBetween || failure.error.code == EBUSY || holdsMount(source)) {
        return false;
    }
    if (failure.isDestinationWhole) {
        return removeMovedSource(source, failure);
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
    const std::optional<Failed> failure = differInLetterCaseOnly(source, destination)
                                              ? moveInTwoSteps(source, destination)
                                              : moveInOneStep(source, destination);
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
