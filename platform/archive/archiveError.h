#pragma once

#include "base/Error.h"

#include <string>

struct archive;

namespace fw {

/// What the library says last of this handle, with the path that it is about.
Error archiveError(archive* handle, const std::string& path);
Error archiveError(const std::string& path, const std::string& reason);
/// The system's error `number` (an errno) with the path that it is about; domain "POSIX".
Error fileError(int number, const std::string& path);

} // namespace fw
