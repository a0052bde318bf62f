#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/files/ByteFile.h"
#include "platform/files/FileFacts.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/Originals.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/ChunkBuffer.h"
#include "support/files/DestinationFile.h"

#include <algorithm>
#include <utility>

namespace fw {
namespace {

using Paths = std::vector<std::string>;

constexpr Timeout kRemoveTimeout(5);
constexpr Timeout kMoveTimeout(10);

/// Says why there is no combination.
bool refused(const char* format, const std::string& path) {
    systemLog(formattedText(format, path));
    return false;
}

bool destinationRefused(const std::string& path) {
    return refused("Error: Unable to open destination file %@. Aborting combination process...",
                   path);
}

/// Whether there is something to combine.
bool isWellGiven(const Paths& sources, const std::string& destination) {
    if (sources.empty()) {
        systemLog("Error: No source file URLs specified. Aborting combination process...");
        return false;
    }
    if (destination.empty()) {
        systemLog("Error: No destination specified. Aborting combination process...");
        return false;
    }
    const auto missing =
        std::find_if_not(sources.begin(), sources.end(), FWFileManager::fileExistsAtPath);
    return missing == sources.end() ||
           refused("Error: File %@ doesn't exist. Aborting combination process...", *missing);
}

/// Deliberate: one source is moved, whether sources are to be deleted or not.
bool moveOnly(const std::string& source, const std::string& destination) {
    if (isSameFile(source, destination)) {
        return true; // To remove the destination would be to lose the source.
    }
    if (isFolder(source) && !isLink(source) && isAtOrIn(destination, source)) {
        return destinationRefused(destination); // To remove it would be to lose a part.
    }
    if (isFolder(destination) && !isLink(destination) && isAtOrIn(source, destination)) {
        return destinationRefused(destination); // To remove it would be to lose the source.
    }
    if (isEntry(destination)) {
        FWFileManager::removeFile(destination, kRemoveTimeout);
    }
    return FWFileManager::moveFile(source, destination, kMoveTimeout);
}

/// Nothing is cut off the file before it is known to be none of the sources.
std::optional<DestinationFile> opened(const std::string& path, const Paths& sources) {
    const auto isSource = [&](const FileIdentity& identity) {
        return std::any_of(sources.begin(), sources.end(), [&](const std::string& source) {
            return fileIdentity(source) == identity;
        });
    };
    Result<ByteFile> file = ByteFile::openForUpdating(path);
    if (!file || isSource(file.value().identity())) {
        return std::nullopt;
    }
    DestinationFile destination(path, std::move(file).value());
    return destination.truncate() ? std::optional(std::move(destination)) : std::nullopt;
}

bool isAsItWas(const std::string& path, const Original& source) {
    const Result<Location> place = Location::of(path);
    return place && !hasChanged(place.value(), source);
}

/// Several files on their way into one.
class Combination {
public:
    Combination(DestinationFile destination, DeleteSourceFiles deleteSourceFiles)
        : destination_(std::move(destination)), deleteSourceFiles_(deleteSourceFiles) {}

    /// The source at the end of what there is; false when the combination ends here.
    bool append(const std::string& path) {
        if (deleteSourceFiles_ == DeleteSourceFiles::kNo) {
            return take(path);
        }
        const std::optional<Original> source = originalAt(path); // As it is before it is opened.
        if (!take(path)) {
            return false;
        }
        if (source) {
            deleteWhenSafe(path, *source);
        }
        return true;
    }

private:
    /// Opens the source, copies it and closes it.
    bool take(const std::string& path) {
        Result<ByteFile> source = ByteFile::openForReading(path);
        if (!source) {
            return refused("Error: Unable to open source file %@. Aborting combination process...",
                           path);
        }
        const ChunkBuffer buffer;
        if (!buffer) {
            FWLog::appendLogAndPrint("Error combining file %@ - out of memory", path);
            return false;
        }
        if (!copyAll(source.value(), buffer)) {
            FWLog::appendLogAndPrint("Error reading file %@ - aborting...", path);
            return false;
        }
        return true;
    }

    /// False after a read error.
    bool copyAll(ByteFile& source, const ChunkBuffer& buffer) {
        while (!source.isAtEnd()) {
            const std::size_t count = source.read(buffer.all());
            if (count == 0 && !source.isAtEnd()) {
                return false;
            }
            isWhole_ = destination_.write(buffer.first(count)) && isWhole_;
        }
        return true;
    }

    /// Once something has not been written, the sources are all that is left of it. One that has
    /// changed since may hold more than was read.
    void deleteWhenSafe(const std::string& path, const Original& source) {
        isWhole_ = isWhole_ && destination_.flush() && isNameKept();
        if (isWhole_ && isAsItWas(path, source)) {
            FWFileManager::removeFile(path, ShouldAuth::kNo);
        }
    }

    /// Without its name in its folder all that the disk has taken of a new file is lost.
    bool isNameKept() {
        isNameKept_ = isNameKept_ || destination_.flushFileSystem();
        return isNameKept_;
    }

    DestinationFile destination_;
    DeleteSourceFiles deleteSourceFiles_;
    bool isWhole_ = true;
    bool isNameKept_ = false;
};

} // namespace

bool FWFileManager::combineFiles(const std::vector<std::string>& sources,
                                 const std::string& destination,
                                 DeleteSourceFiles deleteSourceFiles) {
    if (!isWellGiven(sources, destination)) {
        return false;
    }
    if (sources.size() == 1) {
        return moveOnly(sources.front(), destination);
    }
    std::optional<DestinationFile> file = opened(destination, sources);
    if (!file) {
        return destinationRefused(destination);
    }
    Combination combination(std::move(*file), deleteSourceFiles);
    return std::all_of(sources.begin(), sources.end(),
                       [&](const std::string& source) { return combination.append(source); });
}

} // namespace fw
