#pragma once

#include "base/Result.h"

#include <cstdint>
#include <string>
#include <vector>

// What stands at a path. A path with a zero byte names nothing. Safe from any thread.
namespace fw {

/// Whether anything stands there: a link counts itself, wherever it points to.
bool isEntry(const std::string& path);
/// Whether it is certain that nothing does; where the folders on the way may not be searched, a
/// path is neither an entry nor missing.
bool isMissing(const std::string& path);
bool isLink(const std::string& path);

/// Links are followed.
bool isFolder(const std::string& path);
/// The length in bytes, links followed; 0 when there is nothing.
std::uint64_t fileLength(const std::string& path);

/// Whether what stands there, links followed, belongs to the user as whom this process acts; false
/// when there is nothing.
bool isOwnedByThisUser(const std::string& path);

/// Whether both are one and the same file or folder, links followed; false when one is missing.
bool isSameFile(const std::string& first, const std::string& second);

/// The names in a folder as the file system lists them, without "." and ".."; errors have the
/// domain "POSIX".
Result<std::vector<std::string>> folderEntries(const std::string& path);

} // namespace fw
