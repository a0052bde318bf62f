#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"

#include <string>

namespace fw {

/// Where an entry of a folder stands, whether it is there or not: the open folder, good for calls
/// that take a name in it but not for reading, and the entry's name. What is done to the entry is
/// done to a link itself, and in that very folder even when it is moved meanwhile.
struct Location {
    FileDescriptor folder;
    std::string name;

    /// Slashes at the end are left off. An error (domain "POSIX") for a path that names no entry:
    /// an empty one, the root, and what ends in "." or "..".
    static Result<Location> of(const std::string& path);

    /// The same place once more, with a descriptor of its own.
    Result<Location> duplicate() const;
};

} // namespace fw
