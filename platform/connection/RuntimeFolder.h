#pragma once

#include <string>
#include <vector>

namespace fw {

/// A folder under which the sockets of this user may lie.
struct RuntimeFolder {
    std::string path;
    /// Whether a parent makes it (with mode 0700) when it does not exist.
    bool isMadeByUs = false;
};

/// In the order in which they are tried: $XDG_RUNTIME_DIR when it is an absolute path,
/// /run/user/UID, /tmp/oxbow-UID. Reads the environment anew.
std::vector<RuntimeFolder> standardRuntimeFolders();

/// A folder, not a link to one, that belongs to us and is closed to everybody else (mode 0700).
bool isPrivateFolder(const std::string& path);

} // namespace fw
