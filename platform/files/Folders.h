#pragma once

#include "base/Error.h"

#include <sys/types.h>

#include <optional>
#include <string>

namespace fw {

/// Creates the folder at `path` and its missing parents, each with exactly `mode`, whatever the
/// umask. A folder that is there already is left as it is. Nothing, or why it failed (domain
/// "POSIX"); parents created before a failure stay. Safe from any thread, and beside other
/// processes that create the same folders.
[[nodiscard]] std::optional<Error> makeFolder(const std::string& path, mode_t mode);

} // namespace fw
