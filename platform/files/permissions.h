#pragma once

#include "base/Error.h"

#include <optional>
#include <string>

namespace fw {

/// Sets the lowest twelve bits as the mode of the file or folder, links followed. Nothing, or why
/// it failed (domain "POSIX"). Safe from any thread.
[[nodiscard]] std::optional<Error> setPermissions(const std::string& path, unsigned permissions);

} // namespace fw
