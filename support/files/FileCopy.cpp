#include "support/files/FileCopy.h"

#include "base/FormattedText.h"
#include "base/systemLog.h"
#include "platform/files/Folders.h"
#include "support/FWFileManager.h"
#include "support/FWLog.h"
#include "support/files/ChunkBuffer.h"
#include "support/files/checksumText.h"
#include "support/files/guardedCall.h"
#include "support/files/leadingAttributes.h"

#include <algorithm>
#include <utility>

namespace fw {
namespace {

constexpr std::uint64_t kLeastProgress = 20'971'520; // 20 MiB.
constexpr std::uint64_t kMostReports = 500;
constexpr Timeout kFolderTimeout(10);

/// The digest of nothing; none for a copy that is not verified.
std::optional<Digest> digestFor(FileVerification verification) {
    switch (verification) {
    case FileVerification::kNone:
        return std::nullopt;
    case FileVerification::kMd5:
        return Digest(DigestKind::kMd5);
    case FileVerification::kSha1:
        return Digest(DigestKind::kSha1);
    case FileVerification::kSha256:
        return Digest(DigestKind::kSha256);
    case FileVerification::kSha512:
        return Digest(DigestKind::kSha512);
    }
    return std::nullopt;
}

} // namespace

FileCopy::FileCopy(FileCopySettings settings, FileVerification verification)
    : settings_(std::move(settings)), digest_(digestFor(verification)),
      settingsAtStart_(std::make_shared<const FileCopySettings>(settings_)) {}

bool FileCopy::run() {
    const std::optional<FileIdentity> source = fileIdentity(settings_.source);
    if (!source) {
        systemLog(formattedText("Error: File %@ doesn't exist. Aborting copy process...",
                                settings_.source));
        return false;
    }
    if (settings_.destinations.empty()) {
        systemLog("Error: You must have at least one destination. Aborting copy process...");
        return false;
    }
    // Before a folder is made, and once more when there are folders: a path can lead through them.
    if (!sparesSource(*source) || !prepareFolders() || !openSource() || !openDestinations() ||
        !copyContents()) {
        return false;
    }
    closeFiles();
    // Deliberate: only here, when the whole file has been copied.
    if (cancellation_.isCancelled()) {
        return false;
    }
    if (copied_ < sourceSize_) {
        systemLog(formattedText("Error: copied file size does not match original source %@",
                                settings_.source));
        return false;
    }
    finish();
    return true;
}

bool FileCopy::prepareFolders() const {
    for (const std::string& destination : settings_.destinations) {
        const std::string folder = parentFolder(destination);
        if (!FWFileManager::fileExistsAtPath(folder) &&
            !FWFileManager::createDirectory(folder, kFolderTimeout)) {
            systemLog(formattedText("Unable to copy file %@ - destination directory %@ doesn't "
                                    "exist. Aborting copy process...",
                                    settings_.source, folder));
            return false;
        }
    }
    return true;
}

bool FileCopy::openSource() {
    Result<ByteFile> file = ByteFile::openForReading(settings_.source);
    if (!file) {
        systemLog(formattedText("Error: Unable to read source file %@. Aborting copy process...",
                                settings_.source));
        return false;
    }
    source_ = std::move(file).value();
    sourceAttributes_ = fileAttributes(settings_.source);
    sourceSize_ = source_->sizeAtOpening();
    return true;
}

bool FileCopy::refuseDestination(const std::string& path) const {
    systemLog(
        formattedText("Error: Unable to open destination file %@. Aborting copy process...", path));
    return false;
}

/// To empty the source would be to lose it.
bool FileCopy::sparesSource(const FileIdentity& source) const {
    for (const std::string& path : settings_.destinations) {
        if (fileIdentity(path) == source) {
            return refuseDestination(path);
        }
    }
    return true;
}

/// No file is made before it is known that no destination is the source, and nothing is emptied
/// before all are open.
bool FileCopy::openDestinations() {
    if (!sparesSource(source_->identity())) {
        return false;
    }
    for (const std::string& path : settings_.destinations) {
        Result<ByteFile> file = ByteFile::openForUpdating(path);
        if (!file || file.value().identity() == source_->identity()) {
            return refuseDestination(path);
        }
        destinations_.emplace_back(path, std::move(file).value());
    }
    for (DestinationFile& destination : destinations_) {
        if (!destination.truncate()) {
            return refuseDestination(destination.path());
        }
    }
    return true;
}

bool FileCopy::copyContents() {
    SourceChunks chunks(digest_, sourceSize_);
    const ChunkBuffer readBack;
    if (!chunks || !readBack) {
        FWLog::appendLogAndPrint("Error copying file %@ - out of memory", settings_.source);
        return false;
    }
    while (!source_->isAtEnd()) {
        const std::span<std::byte> room = chunks.room();
        const std::size_t count = source_->read(room);
        if (count == 0 && !source_->isAtEnd()) {
            FWLog::appendLogAndPrint("Error reading file %@ - aborting...", settings_.source);
            return false;
        }
        copyChunk(room.first(count), readBack, chunks);
        chunks.take(count);
        copied_ += count;
        reportWhenDue();
    }
    digest_ = chunks.digest();
    return true;
}

void FileCopy::copyChunk(std::span<const std::byte> chunk, const ChunkBuffer& readBack,
                         SourceChunks& before) {
    for (DestinationFile& destination : destinations_) {
        if (digest_) {
            destination.writeAndReadBack(chunk, readBack, before);
        } else {
            destination.write(chunk);
        }
    }
}

void FileCopy::reportWhenDue() {
    if (copied_ - reported_ < std::max(kLeastProgress, sourceSize_ / kMostReports)) {
        return;
    }
    reported_ = copied_;
    if (delegate() == nullptr) {
        return;
    }
    // The settings of the start: those of this object change while the background reads them.
    cancellation_.ask([settings = settingsAtStart_, copied = copied_]() -> std::optional<bool> {
        const FileCopyDelegate& delegate = *settings->delegate;
        if (delegate.fileCopyBytesWritten) {
            guardedCall([&] { delegate.fileCopyBytesWritten(copied, *settings); });
        }
        return delegate.fileCopyShouldContinue ? delegate.fileCopyShouldContinue(*settings) : true;
    });
}

void FileCopy::closeFiles() {
    source_.reset();
    for (DestinationFile& destination : destinations_) {
        destination.close();
    }
}

void FileCopy::finish() {
    if (delegate() != nullptr && delegate()->fileCopyBytesWritten) {
        guardedCall([&] { delegate()->fileCopyBytesWritten(copied_, settings_); });
    }
    if (digest_) {
        verify();
    }
    copyAttributes();
    if (delegate() != nullptr && delegate()->fileCopyFinished) {
        guardedCall([&] { delegate()->fileCopyFinished(settings_); });
    }
}

/// A mismatch does not make the copy fail.
void FileCopy::verify() {
    const std::string expected = checksumText(*digest_);
    if (!expected.empty()) {
        settings_.sourceChecksum = expected;
    }
    std::vector<std::string> checksums;
    for (const DestinationFile& destination : destinations_) {
        checksums.push_back(checksumText(destination.digest(*digest_)));
        // A checksum that could not be made verifies nothing, also where the source has none
        // either.
        const bool isVerified = !checksums.back().empty() && checksums.back() == expected;
        if (!isVerified && delegate() != nullptr && delegate()->fileCopyVerificationFailed) {
            settings_.destChecksum = checksums.back();
            guardedCall(
                [&] { delegate()->fileCopyVerificationFailed(settings_, destination.path()); });
        }
    }
    settings_.destChecksums = std::move(checksums);
}

void FileCopy::copyAttributes() const {
    const FileAttributes attributes = leadingAttributes(sourceAttributes_);
    for (const std::string& path : settings_.destinations) {
        if (const std::optional<Error> failure = setFileAttributes(path, attributes)) {
            systemLog(formattedText("Error setting metadata for file %@ - %@", path,
                                    failure->description));
        }
    }
}

} // namespace fw
