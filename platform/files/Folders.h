#pragma once

#include "base/Error.h"

#include <sys/types.h>

#include <optional>
#include <string>

namespace fw {

/// The path of the folder that a path lies in; "." for a name alone.
std::string parentFolder(const std::string& path);

/// Creates the folder at `path` and its missing parents, each with exactly `mode`, whatever the
/// umask. A folder that is there already is left as it is. Nothing, or why it failed (domain
/// "POSIX"); parents created before a failure stay. Safe from any thread, and beside other
/// processes that create the same folders.
[[nodiscard]] std::optional<Error> makeFolder(const std::string& path, mode_t mode);

/// The same for folders of users: everybody may do everything in them, less the umask.
[[nodiscard]] std::optional<Error> makeFolder(const std::string& path);

/// The same for what a program keeps in a user's home: folders for their owner alone (0700). Made
/// by the superuser they belong to the user whose folder they are in (actAsOwner), who would be
/// locked out otherwise.
[[nodiscard]] std::optional<Error> makePrivateFolder(const std::string& path);

} // namespace fw
