#pragma once

#include "base/Error.h"

#include <optional>
#include <string>

namespace fw {

/// Whether the file or folder is immutable: nobody can write, remove or rename it. A link has no
/// such flag. False where the file system knows none. Safe from any thread.
bool isImmutable(const std::string& path);

/// Nothing, or why it failed (domain "POSIX"): only a process with the capability
/// CAP_LINUX_IMMUTABLE may, on files and folders of file systems that know the flag. One that is as
/// it shall be is not touched. Safe from any thread.
[[nodiscard]] std::optional<Error> setImmutable(const std::string& path, bool isImmutable);

} // namespace fw
