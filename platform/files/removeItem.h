#pragma once

#include "base/Error.h"
#include "platform/files/FileIdentity.h"
#include "platform/files/Location.h"

#include <optional>
#include <string>

namespace fw {

/// Removes what stands at the path, a link itself, a folder with all that is in it. Nothing when it
/// is gone or never was there, or why it failed (domain "POSIX"): what was removed up to then stays
/// removed. Other file systems that are mounted at the path or below are left alone (EBUSY). Safe
/// from any thread.
[[nodiscard]] std::optional<Error> removeItem(const std::string& path);

/// The same for what this process has begun to make, and does not finish: the modes that its
/// folders may have by now do not keep them.
[[nodiscard]] std::optional<Error> removeUnfinished(const std::string& path);
/// Nothing is done when something else stands at the place by now.
[[nodiscard]] std::optional<Error> removeUnfinished(Location place, FileIdentity made);

} // namespace fw
