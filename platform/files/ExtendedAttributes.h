#pragma once

#include "base/Error.h"
#include "base/Result.h"

#include <optional>
#include <string>
#include <string_view>

namespace fw {

// Named pieces of bytes that a file carries besides its contents. The system keeps those of users
// apart: an attribute stands on the disk under its name with "user." before it. Links are followed.
// Errors have the domain "POSIX": ENODATA when there is none of that name, EOPNOTSUPP where the
// file system has none at all. Safe from any thread.

Result<std::string> extendedAttribute(const std::string& path, const std::string& name);

/// Nothing, or why it failed.
[[nodiscard]] std::optional<Error>
setExtendedAttribute(const std::string& path, const std::string& name, std::string_view bytes);
[[nodiscard]] std::optional<Error> removeExtendedAttribute(const std::string& path,
                                                           const std::string& name);

/// Whether the name of an attribute as it stands on the disk is that of a user.
bool isAttributeOfUsers(std::string_view nameOnDisk);

} // namespace fw
