#include "support/log/LogGenerations.h"

#include "base/FormattedText.h"
#include "base/text.h"
#include "platform/FileDescriptor.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/Folders.h"
#include "platform/files/openFile.h"
#include "platform/folders/folderServices.h"
#include "support/FWFileManager.h"
#include "support/FWLocalPaths.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

namespace fw {
namespace {

constexpr mode_t kLogMode = 0644;

std::string logFolder(bool userDomain) {
    return pathInFolder(FWLocalPaths::libraryDirectory(userDomain), "Logs/Fernwick");
}

std::string logFile(const std::string& folder, const std::string& appName, int generation) {
    return pathInFolder(folder, formattedText("%@.%li.log", appName, generation));
}

bool isTaken(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Moves a file to a name that must not be taken.
bool move(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Not every file system can do both in one step.
    const bool isUnknown = errno == EINVAL || errno == ENOSYS;
    return isUnknown && !isTaken(to) && std::rename(from.c_str(), to.c_str()) == 0;
}

/// Nothing, or why there is no empty file.
std::optional<Error> makeEmpty(const std::string& path) {
    const FileDescriptor existing = openFile(AT_FDCWD, path, O_WRONLY | O_TRUNC);
    return existing ? std::nullopt : writeFileAtomically(path, "", kLogMode, Flush::kNo);
}

/// Nothing, or the line that says which move failed.
std::optional<std::string> rotate(const LogPlace& place) {
    std::remove(place.generation(kOldestGeneration).c_str());
    for (int number = kOldestGeneration - 1; number > 0; --number) {
        const std::string from = place.generation(number);
        const std::string to = place.generation(number + 1);
        if (FWFileManager::fileExistsAtPath(from) && !move(from, to)) {
            return formattedText("Unable to move file %s to %s.\n", from, to);
        }
    }
    return std::nullopt;
}

} // namespace

std::string LogPlace::generation(int number) const {
    return logFile(folder, appName, number);
}

LogPlace logPlace(const std::string& appName) {
    LogPlace place;
    place.folder = logFolder(true);
    place.appName = appName;
    place.folderOfCurrent = isSuperuser() ? logFolder(false) : place.folder;
    place.current = logFile(place.folderOfCurrent, appName, 1);
    return place;
}

std::vector<std::string> existingGenerations(const LogPlace& place) {
    std::vector<std::string> logs;
    for (int number = 1; number <= kOldestGeneration; ++number) {
        if (FWFileManager::fileExistsAtPath(place.generation(number))) {
            logs.push_back(place.generation(number));
        }
    }
    return logs;
}

std::optional<std::string> makeLogFolder(const LogPlace& place) {
    if (!FWFileManager::fileExistsAtPath(place.folder) && makePrivateFolder(place.folder)) {
        return formattedText("Unable to create folder %s.\n", place.folder);
    }
    return std::nullopt;
}

std::optional<std::string> makeNewGeneration(const LogPlace& place) {
    if (FWFileManager::fileExistsAtPath(place.current)) {
        if (auto failure = rotate(place)) {
            return failure;
        }
    }
    if (const auto error = makeEmpty(place.current)) {
        return formattedText("Unable to create log file %s - %s\n", place.current,
                             error->description);
    }
    return std::nullopt;
}

} // namespace fw
