#include "platform/connection/UnixSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>

namespace fw {
namespace {

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), std::min(path.size(), sizeof address.sun_path - 1));
    return address;
}

FileDescriptor newSocket() {
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

} // namespace

FileDescriptor connectToSocket(const std::string& path) {
    FileDescriptor socket = newSocket();
    const sockaddr_un address = addressOf(path);
    if (!socket ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return {};
    }
    return socket;
}

FileDescriptor listenAtSocket(const std::string& path) {
    FileDescriptor socket = newSocket();
    const sockaddr_un address = addressOf(path);
    // The file takes the mode that the socket has when it is bound.
    if (!socket || ::fchmod(socket.get(), 0600) != 0 ||
        ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0) {
        return {};
    }
    return socket;
}

FileDescriptor acceptFrom(const FileDescriptor& listener) {
    return FileDescriptor(
        ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

std::optional<SocketPeer> peerOfSocket(const FileDescriptor& socket) {
    ucred credentials = {};
    socklen_t length = sizeof credentials;
    if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        return std::nullopt;
    }
    return SocketPeer{credentials.pid, credentials.uid};
}

} // namespace fw
