#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace fw {

struct FreeArchive {
    void operator()(archive* handle) const { archive_free(handle); }
};
struct FreeArchiveEntry {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

/// An archive that is read or written, or the disk in its place.
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;
using ArchiveEntryHandle = std::unique_ptr<archive_entry, FreeArchiveEntry>;

} // namespace fw
