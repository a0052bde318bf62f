#pragma once

#include <string>
#include <sys/stat.h>

namespace fw {

/// Gives an open file or folder the owners, mode, dates and extended attributes of users of
/// another, of which `status` tells. What cannot be given, or kept by the file system, is left.
/// Without the owner there are no set-user-ID and set-group-ID: they would lend other rights.
void copyMetadata(int from, int to, const struct stat& status);

/// Owners and dates of a link or a special file, by its name in an open folder; no mode.
void copyEntryMetadata(int folder, const std::string& name, const struct stat& status);

} // namespace fw
