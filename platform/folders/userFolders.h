#pragma once

#include <cstddef>
#include <string>

namespace fw {

// All functions read the environment anew and are safe from any thread as long as none changes it.

/// HOME when it is an absolute path, else the account database's folder of the real user; empty
/// when neither is known.
std::string homeFolder();

/// The account database's name of the real user, else LOGNAME, else empty.
std::string loginName();

/// TMPDIR when it is set and not empty, else /tmp.
std::string temporaryFolder();

/// Writes the path of the user's cache folder (XDG_CACHE_HOME when it is absolute, else ~/.cache)
/// with its terminating NUL and returns the length with the NUL. 0: there is none, or it does not
/// fit into `size` bytes; nothing is written then.
std::size_t userCacheFolder(char* buffer, std::size_t size);

} // namespace fw
