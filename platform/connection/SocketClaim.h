#pragma once

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/connection/RuntimeFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace fw {

/// A parent's hold on the socket of one name: a lock file beside the socket, and the socket
/// itself, which listens. Both files go with the object.
class SocketClaim {
public:
    /// The errors are those of ParentServer::publish.
    static Result<std::unique_ptr<SocketClaim>> take(const std::string& connectionName,
                                                     const std::vector<RuntimeFolder>& folders);

    SocketClaim(std::string socketPath, std::string lockPath, FileDescriptor lock,
                FileDescriptor listener);
    ~SocketClaim();
    SocketClaim(const SocketClaim&) = delete;
    SocketClaim& operator=(const SocketClaim&) = delete;

    const std::string& socketPath() const { return socketPath_; }
    const FileDescriptor& listener() const { return listener_; }

private:
    std::string socketPath_;
    std::string lockPath_;
    FileDescriptor lock_;
    FileDescriptor listener_;
};

} // namespace fw
