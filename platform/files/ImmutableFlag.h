#pragma once

#include "base/Error.h"

#include <functional>
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

/// The same for everything in a folder, however deep, but not the folder itself, which may be found
/// by a link; links in it are not followed, also when they take a folder's place meanwhile. Each is
/// tried; `failed` is told those that failed, with their paths. Whether all has been done. Safe
/// from any thread.
[[nodiscard]] bool
setContentsImmutable(const std::string& folder, bool isImmutable,
                     const std::function<void(const std::string& path, const Error&)>& failed);

} // namespace fw
