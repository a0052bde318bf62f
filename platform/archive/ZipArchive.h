#pragma once

#include "base/Error.h"

#include <optional>
#include <string>

// Zip archives (libarchive). For programs of one thread: the process's current folder and umask are
// changed for moments. Errors have the domain "POSIX" or "Archive"; the description names what it
// is about. A write beyond the process's limit of a file's size is an error too, not its end.
namespace fw {

/// Whether a folder's own name begins the names in its archive.
enum class KeepParent : bool { kNo, kYes };

/// Puts a file, or a folder with all that is in it, into a new archive. Kept are names (whatever
/// their bytes), contents, modes, modification dates in whole seconds, and links as links; a link
/// at `source` itself is followed. Whole or not at all: when one thing cannot be read, or is
/// neither a file nor a folder nor a link, there is no archive. An archive that is there already
/// is replaced once the new one is complete and on the disk.
[[nodiscard]] std::optional<Error>
createZipArchive(const std::string& source, const std::string& archive, KeepParent keepParent);

/// Unpacks an archive. A folder that does not exist is made, with its parents, and appears when
/// everything is in it, or not at all. One that exists is filled up, files of the same name
/// replaced, and a failure leaves in it what came before.
///
/// It is refused when a name in it would lead out of the folder: an absolute path, one with "..",
/// or one through a link. So is what is neither a file nor a folder nor a link, and a file of fewer
/// bytes than the archive states. Owners and the set-ID bits of modes are not taken over.
[[nodiscard]] std::optional<Error> extractZipArchive(const std::string& archive,
                                                     const std::string& folder);

} // namespace fw
