#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace fw {

/// What tells one file from every other, whatever names it has.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// That of the file at the path, links followed; nothing when there is none. Safe from any thread.
std::optional<FileIdentity> fileIdentity(const std::string& path);

} // namespace fw
