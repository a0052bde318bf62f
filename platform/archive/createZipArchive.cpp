#include "base/Result.h"
#include "base/text.h"
#include "platform/archive/ArchiveHandles.h"
#include "platform/archive/ArchiveLocale.h"
#include "platform/archive/NewArchiveFile.h"
#include "platform/archive/ZipArchive.h"
#include "platform/archive/archiveError.h"
#include "platform/archive/isReadBackUnchanged.h"
#include "platform/files/SizeLimitAsError.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <vector>

namespace fw {
namespace {

constexpr std::size_t kBlock = std::size_t{128} * 1024;

/// "." and ".." are no names; "/" has none.
std::string nameOf(const std::string& source) {
    std::string_view name = lastPathComponent(source);
    std::string whole;
    if (name == "." || name == "..") {
        std::error_code failure;
        whole = std::filesystem::canonical(source, failure).string();
        name = lastPathComponent(whole);
    }
    return name == "/" ? std::string() : std::string(name);
}

struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
};

/// Writes one source into one archive.
class ZipWriting {
public:
    /// `prefix` begins all names; `name` is that of a source that is a file.
    ZipWriting(std::string source, std::string prefix, std::string name)
        : source_(std::move(source)), prefix_(std::move(prefix)), name_(std::move(name)) {}

    std::optional<Error> writeTo(int descriptor);

private:
    std::optional<Error> writeTree(Identity own);
    std::optional<Error> writeEntry(archive_entry* entry);
    std::optional<Error> writeContents(archive_entry* entry, const std::string& path);
    std::string nameInArchive(archive_entry* entry, const std::string& path) const;

    std::string source_;
    std::string prefix_;
    std::string name_;
    ArchiveHandle disk_{archive_read_disk_new()};
    ArchiveHandle zip_{archive_write_new()};
    std::vector<char> block_ = std::vector<char>(kBlock);
};

std::optional<Error> ZipWriting::writeTo(int descriptor) {
    struct stat own {};
    archive_write_set_format_zip(zip_.get());
    archive_write_set_bytes_in_last_block(zip_.get(), 1); // Nothing is filled up at the end.
    if (::fstat(descriptor, &own) != 0 ||
        archive_write_open_fd(zip_.get(), descriptor) != ARCHIVE_OK) {
        return archiveError(zip_.get(), source_);
    }
    if (auto failure = writeTree({own.st_dev, own.st_ino})) {
        return failure;
    }
    return archive_write_close(zip_.get()) == ARCHIVE_OK
               ? std::nullopt
               : std::optional(archiveError(zip_.get(), source_));
}

/// What is not kept in a zip archive is not read. The archive may grow within its own source.
std::optional<Error> ZipWriting::writeTree(Identity own) {
    archive_read_disk_set_symlink_hybrid(disk_.get());
    archive_read_disk_set_behavior(disk_.get(),
                                   ARCHIVE_READDISK_NO_XATTR | ARCHIVE_READDISK_NO_ACL |
                                       ARCHIVE_READDISK_NO_FFLAGS | ARCHIVE_READDISK_NO_SPARSE);
    if (archive_read_disk_open(disk_.get(), source_.c_str()) != ARCHIVE_OK) {
        return archiveError(disk_.get(), source_);
    }
    const ArchiveEntryHandle entry(archive_entry_new());
    for (;;) {
        const int result = archive_read_next_header2(disk_.get(), entry.get());
        if (result == ARCHIVE_EOF) {
            return std::nullopt;
        }
        if (result != ARCHIVE_OK) {
            return archiveError(disk_.get(), source_);
        }
        const bool isOwn = archive_entry_dev(entry.get()) == own.device &&
                           archive_entry_ino64(entry.get()) == static_cast<la_int64_t>(own.inode);
        if (!isOwn) {
            if (auto failure = writeEntry(entry.get())) {
                return failure;
            }
        }
        if (archive_read_disk_descend(disk_.get()) < ARCHIVE_WARN) {
            return archiveError(disk_.get(), source_);
        }
    }
}

/// Readers take a backslash in a name without a slash for one.
std::string withSlashBesideBackslash(std::string name) {
    const bool isMistaken =
        name.find('\\') != std::string::npos && name.find('/') == std::string::npos;
    return isMistaken ? name.insert(0, "./") : name;
}

/// A folder's own entry has no name unless the prefix gives it one.
std::string ZipWriting::nameInArchive(archive_entry* entry, const std::string& path) const {
    const bool isTop = path.size() <= source_.size();
    if (isTop && archive_entry_filetype(entry) != AE_IFDIR) {
        return withSlashBesideBackslash(name_);
    }
    const std::string_view rest = isTop ? "" : std::string_view(path).substr(source_.size());
    return withSlashBesideBackslash(appendedPathComponent(prefix_, rest));
}

std::optional<Error> ZipWriting::writeEntry(archive_entry* entry) {
    const std::string path = archive_entry_pathname(entry);
    const auto type = archive_entry_filetype(entry);
    if (type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK) {
        return archiveError(path, "only files, folders and links can be archived");
    }
    const std::string name = nameInArchive(entry, path);
    if (name.empty()) {
        return std::nullopt;
    }
    archive_entry_set_pathname(entry, name.c_str());
    archive_entry_unset_atime(entry);
    archive_entry_unset_ctime(entry);
    const ArchiveLocale locale(isReadBackUnchanged(entry) ? NameBytes::kUtf8
                                                          : NameBytes::kAsTheyAre);
    if (archive_write_header(zip_.get(), entry) != ARCHIVE_OK) {
        return archiveError(zip_.get(), path);
    }
    return type == AE_IFREG ? writeContents(entry, path) : std::nullopt;
}

/// A file that grows meanwhile is taken as long as it was.
std::optional<Error> ZipWriting::writeContents(archive_entry* entry, const std::string& path) {
    la_int64_t left = archive_entry_size(entry);
    while (left > 0) {
        const la_ssize_t count = archive_read_data(disk_.get(), block_.data(), block_.size());
        if (count < 0) {
            return archiveError(disk_.get(), path);
        }
        if (count == 0) {
            return archiveError(path, "the file became shorter while it was read");
        }
        if (archive_write_data(zip_.get(), block_.data(), static_cast<std::size_t>(count)) !=
            count) {
            return archiveError(zip_.get(), path);
        }
        left -= count;
    }
    return archive_write_finish_entry(zip_.get()) == ARCHIVE_OK
               ? std::nullopt
               : std::optional(archiveError(zip_.get(), path));
}

std::string withoutSlashesAtEnd(const std::string& path) {
    return appendedPathComponent(path, "");
}

} // namespace

std::optional<Error> createZipArchive(const std::string& source, const std::string& archive,
                                      KeepParent keepParent) {
    const SizeLimitAsError limit; // What is unfinished is to go then, too.
    struct stat status {};
    if (::stat(source.c_str(), &status) != 0) {
        return fileError(errno, source);
    }
    const std::string name = nameOf(source);
    const bool isPrefixed = S_ISDIR(status.st_mode) && keepParent == KeepParent::kYes;
    NewArchiveFile file(archive);
    if (file.failure()) {
        return file.failure();
    }
    ZipWriting writing(withoutSlashesAtEnd(source), isPrefixed ? name : std::string(), name);
    if (auto failure = writing.writeTo(file.descriptor())) {
        return failure;
    }
    return file.putInPlace();
}

} // namespace fw
