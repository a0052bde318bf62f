#pragma once

#include "platform/FileDescriptor.h"

#include <sys/types.h>

#include <optional>
#include <string>

namespace fw {

/// Who is at the other end of a socket. The peer of a listening socket is who made it listen.
struct SocketPeer {
    pid_t processId = 0;
    uid_t userId = 0;
};

/// These close on exec and do not block; an empty descriptor means failure, with errno set. The
/// path has at most kMaximumSocketPathLength bytes.
FileDescriptor connectToSocket(const std::string& path);
/// The socket file, made anew, is for this user alone.
FileDescriptor listenAtSocket(const std::string& path);
FileDescriptor acceptFrom(const FileDescriptor& listener);

/// Nothing when the system does not tell.
std::optional<SocketPeer> peerOfSocket(const FileDescriptor& socket);

} // namespace fw
