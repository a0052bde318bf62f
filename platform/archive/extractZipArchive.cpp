#include "base/text.h"
#include "platform/archive/ArchiveHandles.h"
#include "platform/archive/ArchiveLocale.h"
#include "platform/archive/UnpackFolder.h"
#include "platform/archive/ZipArchive.h"
#include "platform/archive/archiveError.h"
#include "platform/files/SizeLimitAsError.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace fw {
namespace {

constexpr std::size_t kBlock = std::size_t{128} * 1024;
constexpr mode_t kTakenPermissions = 0777; // Without set-user-ID, set-group-ID and sticky.

std::string refusal(const std::string& name, const char* reason) {
    std::string text = "refused: \"";
    return text.append(name).append("\" ").append(reason);
}

bool leadsOut(std::string_view name) {
    const auto components = splitAtAnyOf(name, "/");
    return name.starts_with('/') ||
           std::find(components.begin(), components.end(), "..") != components.end();
}

/// The library knows no archive without entries: nothing but its end record.
bool isEmptyArchive(const std::string& path) {
    constexpr std::string_view kEndRecord = "PK\5\6";
    std::array<char, kEndRecord.size()> start = {};
    std::ifstream(path, std::ios::binary).read(start.data(), start.size());
    return std::string_view(start.data(), start.size()) == kEndRecord;
}

/// Unpacks one archive into one folder.
class ZipReading {
public:
    /// `shown` is the folder's path in errors.
    ZipReading(std::string path, std::string folder, std::string shown)
        : path_(std::move(path)), folder_(std::move(folder)), shown_(std::move(shown)) {}

    std::optional<Error> read();

private:
    std::optional<Error> checkFile() const;
    std::optional<Error> open();
    std::optional<Error> unpackEntry(archive_entry* entry);
    std::optional<Error> unpackContents(const std::string& name, std::int64_t statedSize);

    std::string path_;
    std::string folder_;
    std::string shown_;
    ArchiveHandle zip_{archive_read_new()};
    ArchiveHandle disk_{archive_write_disk_new()};
};

/// Only regular files: to open a pipe can wait.
std::optional<Error> ZipReading::checkFile() const {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        return fileError(errno, path_);
    }
    if (!S_ISREG(status.st_mode)) {
        return fileError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL, path_);
    }
    return std::nullopt;
}

std::optional<Error> ZipReading::open() {
    archive_read_support_format_zip_seekable(zip_.get());
    archive_write_disk_set_options(disk_.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM |
                                                    ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                    ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    return archive_read_open_filename(zip_.get(), path_.c_str(), kBlock) == ARCHIVE_OK
               ? std::nullopt
               : std::optional(archiveError(zip_.get(), path_));
}

std::optional<Error> ZipReading::read() {
    const ArchiveLocale locale(NameBytes::kUtf8);
    if (auto failure = checkFile()) {
        return failure;
    }
    if (isEmptyArchive(path_)) {
        return std::nullopt;
    }
    if (auto failure = open()) {
        return failure;
    }
    for (;;) {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(zip_.get(), &entry);
        if (result == ARCHIVE_EOF) {
            break;
        }
        // Warnings are about what is not taken over, or about a name, which is then missing.
        if (result < ARCHIVE_WARN) {
            return archiveError(zip_.get(), path_);
        }
        if (auto failure = unpackEntry(entry)) {
            return failure;
        }
    }
    // Modes and dates of folders are set last.
    return archive_write_close(disk_.get()) == ARCHIVE_OK
               ? std::nullopt
               : std::optional(archiveError(disk_.get(), path_));
}

std::optional<Error> ZipReading::unpackEntry(archive_entry* entry) {
    const char* const bytes = archive_entry_pathname(entry);
    if (bytes == nullptr) {
        return archiveError(zip_.get(), path_);
    }
    const std::string name = bytes;
    const auto type = archive_entry_filetype(entry);
    if (name.empty() || leadsOut(name)) {
        return archiveError(path_, refusal(name, "leads out of the folder"));
    }
    if (type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK) {
        return archiveError(path_, refusal(name, "is no file, folder or link"));
    }
    archive_entry_set_pathname(entry, appendedPathComponent(folder_, name).c_str());
    archive_entry_set_perm(entry, archive_entry_perm(entry) & kTakenPermissions);
    if (archive_write_header(disk_.get(), entry) != ARCHIVE_OK) {
        return archiveError(disk_.get(), path_);
    }
    const bool hasSize = type == AE_IFREG && archive_entry_size_is_set(entry) != 0;
    return unpackContents(name, hasSize ? archive_entry_size(entry) : 0);
}

/// The library fills up a file that is shorter than the archive states with zeros, and says nothing
/// when there is not one byte of it.
std::optional<Error> ZipReading::unpackContents(const std::string& name, std::int64_t statedSize) {
    std::int64_t size = 0;
    for (;;) {
        const void* bytes = nullptr;
        std::size_t count = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(zip_.get(), &bytes, &count, &offset);
        if (result == ARCHIVE_EOF) {
            break;
        }
        if (result != ARCHIVE_OK) {
            return archiveError(zip_.get(), appendedPathComponent(path_, name));
        }
        if (archive_write_data_block(disk_.get(), bytes, count, offset) != ARCHIVE_OK) {
            return archiveError(disk_.get(), appendedPathComponent(shown_, name));
        }
        size = offset + static_cast<std::int64_t>(count);
    }
    if (size < statedSize) {
        return archiveError(appendedPathComponent(path_, name),
                            "is shorter than the archive states");
    }
    return archive_write_finish_entry(disk_.get()) == ARCHIVE_OK
               ? std::nullopt
               : std::optional(archiveError(disk_.get(), appendedPathComponent(shown_, name)));
}

} // namespace

std::optional<Error> extractZipArchive(const std::string& archive, const std::string& folder) {
    const SizeLimitAsError limit; // What is unfinished is to go then, too.
    UnpackFolder destination(folder);
    if (destination.failure()) {
        return destination.failure();
    }
    if (auto failure = ZipReading(archive, destination.path(), folder).read()) {
        return failure;
    }
    return destination.putInPlace();
}

} // namespace fw
