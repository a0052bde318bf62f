#include "platform/archive/isReadBackUnchanged.h"

#include "platform/archive/ArchiveHandles.h"
#include "platform/archive/ArchiveLocale.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace fw {
namespace {

std::string_view textOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// An archive with nothing but an empty file, or a link, of this name; empty when it cannot be.
std::string archiveWith(archive_entry* entry) {
    constexpr std::size_t kFrame = 1024;
    std::vector<char> bytes(4 * (textOf(archive_entry_pathname(entry)).size() +
                                 textOf(archive_entry_symlink(entry)).size()) +
                            kFrame);
    std::size_t used = 0;
    const ArchiveEntryHandle copy(archive_entry_clone(entry));
    if (archive_entry_filetype(entry) != AE_IFLNK) {
        archive_entry_set_size(copy.get(), 0);
    }
    const ArchiveHandle writer(archive_write_new());
    archive_write_set_format_zip(writer.get());
    archive_write_set_bytes_per_block(writer.get(), 0);
    const bool isWritten =
        archive_write_open_memory(writer.get(), bytes.data(), bytes.size(), &used) == ARCHIVE_OK &&
        archive_write_header(writer.get(), copy.get()) == ARCHIVE_OK &&
        archive_write_close(writer.get()) == ARCHIVE_OK;
    return isWritten ? std::string(bytes.data(), used) : std::string();
}

} // namespace

bool isReadBackUnchanged(archive_entry* entry) {
    const std::string_view name = textOf(archive_entry_pathname(entry));
    const std::string_view target = textOf(archive_entry_symlink(entry));
    if (isAscii(name) && isAscii(target)) {
        return true;
    }
    const ArchiveLocale locale(NameBytes::kUtf8);
    const std::string bytes = archiveWith(entry);
    const ArchiveHandle reader(archive_read_new());
    archive_read_support_format_zip_seekable(reader.get());
    archive_entry* back = nullptr;
    return archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) == ARCHIVE_OK &&
           archive_read_next_header(reader.get(), &back) == ARCHIVE_OK &&
           textOf(archive_entry_pathname(back)) == name &&
           textOf(archive_entry_symlink(back)) == target;
}

} // namespace fw
