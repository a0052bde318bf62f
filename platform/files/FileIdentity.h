#pragma once

#include "platform/FileDescriptor.h"

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
/// That of an open file.
std::optional<FileIdentity> fileIdentity(const FileDescriptor& file);
/// That of an entry of an open folder, a link itself.
std::optional<FileIdentity> fileIdentity(int folder, const std::string& name);

/// Whether what stands at the path, or what it points to when it is a link, is the place or lies in
/// it, under whatever names. Safe from any thread.
bool isAtOrIn(const std::string& path, const std::string& place);

} // namespace fw
