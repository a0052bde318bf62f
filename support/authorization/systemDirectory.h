#pragma once

#include <string>

namespace fw {

/// Whether an operation takes a link at the end of its path as what it is, or as what it leads to.
/// With a slash behind it, it is followed always.
enum class LinkAtEnd : bool { kTaken, kFollowed };

/// Whether privileged operations must keep away from a path: a system directory (FWLocalPaths,
/// exact match), one of the machine's other top folders, another name or way to one of them, or
/// anything below "/proc". Where this process may not look into a folder, links in it are unknown.
bool isRefusedDirectory(const std::string& path, LinkAtEnd linkAtEnd);

} // namespace fw
