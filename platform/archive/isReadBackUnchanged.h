#pragma once

struct archive_entry;

namespace fw {

/// Whether the name of an entry, and what it points to when it is a link, come back as they are
/// from an archive in which names are marked as UTF-8. They do not when they are no UTF-8, nor when
/// they hold letters and accents apart, which the library joins on reading.
bool isReadBackUnchanged(archive_entry* entry);

} // namespace fw
