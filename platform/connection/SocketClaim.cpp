#include "platform/connection/SocketClaim.h"

#include "base/text.h"
#include "platform/connection/ParentServer.h"
#include "platform/connection/SocketPath.h"
#include "platform/connection/UnixSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>

namespace fw {
namespace {

Error serverError(ParentServer::ErrorCode code, std::string description) {
    return {ParentServer::kDomain, static_cast<std::int64_t>(code), std::move(description)};
}

Error systemError(const std::string& what) {
    return serverError(ParentServer::ErrorCode::kSystem, what + ": " + std::strerror(errno) + ".");
}

Error alreadyPublished(std::int64_t processId) {
    return serverError(ParentServer::ErrorCode::kAlreadyPublished,
                       "This movie is being scanned already (process " + std::to_string(processId) +
                           ").");
}

/// Makes what is missing; what is there already must be ours alone.
bool preparePrivateFolder(const std::string& path, bool isMadeByUs) {
    if (isMadeByUs && ::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        return false;
    }
    return isPrivateFolder(path);
}

/// In the first runtime folder that will do.
std::optional<std::string> preparedSocketPath(const std::vector<RuntimeFolder>& folders,
                                              const std::string& stem) {
    for (const RuntimeFolder& folder : folders) {
        std::optional<std::string> path = socketPath(folder, stem);
        if (path && preparePrivateFolder(folder.path, folder.isMadeByUs) &&
            preparePrivateFolder(socketFolder(folder), true)) {
            return path;
        }
    }
    return std::nullopt;
}

std::string noFolderDescription(const std::vector<RuntimeFolder>& folders) {
    std::string text = "No folder for the connection to the scanner belongs to this user alone";
    const char* separator = " (tried ";
    for (const RuntimeFolder& folder : folders) {
        text += separator + folder.path;
        separator = ", ";
    }
    return text + (folders.empty() ? "." : ").");
}

/// Whether a path still names the file that is open: its last holder may have taken it away
/// between our opening and our locking it.
bool isStillNamed(const FileDescriptor& file, const std::string& path) {
    struct stat open = {};
    struct stat named = {};
    return ::fstat(file.get(), &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

std::int64_t readProcessId(const FileDescriptor& lock) {
    std::array<char, 32> text = {};
    const ssize_t length = ::pread(lock.get(), text.data(), text.size(), 0);
    return length > 0 ? leadingInteger({text.data(), static_cast<std::size_t>(length)}) : 0;
}

/// The holder writes its number just after it has locked the file: give it that moment.
std::int64_t holderOf(const FileDescriptor& lock) {
    constexpr int kAttempts = 50;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (const std::int64_t processId = readProcessId(lock); processId != 0) {
            return processId;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return 0;
}

bool writeProcessId(const FileDescriptor& lock) {
    const std::string text = std::to_string(::getpid()) + "\n";
    return ::ftruncate(lock.get(), 0) == 0 &&
           ::pwrite(lock.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
}

Result<FileDescriptor> takeLock(const std::string& path) {
    while (true) {
        FileDescriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock) {
            return systemError("The lock file " + path + " cannot be opened");
        }
        if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            return errno == EWOULDBLOCK
                       ? alreadyPublished(holderOf(lock))
                       : systemError("The lock file " + path + " cannot be locked");
        }
        if (!isStillNamed(lock, path)) {
            continue;
        }
        if (!writeProcessId(lock)) {
            return systemError("The lock file " + path + " cannot be written");
        }
        return lock;
    }
}

/// A parent of another make may hold no lock: whoever still listens is alive.
std::optional<std::int64_t> listenerAt(const std::string& path) {
    const FileDescriptor probe = connectToSocket(path);
    if (!probe) {
        // A full queue of connections, too, has somebody behind it.
        return errno == EAGAIN ? std::optional<std::int64_t>(0) : std::nullopt;
    }
    const std::optional<SocketPeer> peer = peerOfSocket(probe);
    return peer ? peer->processId : 0;
}

} // namespace

SocketClaim::SocketClaim(std::string socketPath, std::string lockPath, FileDescriptor lock,
                         FileDescriptor listener)
    : socketPath_(std::move(socketPath)), lockPath_(std::move(lockPath)), lock_(std::move(lock)),
      listener_(std::move(listener)) {}

SocketClaim::~SocketClaim() {
    ::unlink(socketPath_.c_str());
    // While we still hold it, so that nobody else's file is taken away.
    ::unlink(lockPath_.c_str());
}

Result<std::unique_ptr<SocketClaim>> SocketClaim::take(const std::string& connectionName,
                                                       const std::vector<RuntimeFolder>& folders) {
    const std::string stem = socketFileStem(connectionName);
    const std::optional<std::string> path = preparedSocketPath(folders, stem);
    if (!path) {
        return serverError(ParentServer::ErrorCode::kNoFolder, noFolderDescription(folders));
    }
    const std::string lockPath = path->substr(0, path->rfind('/') + 1) + stem + ".lock";
    Result<FileDescriptor> lock = takeLock(lockPath);
    if (!lock) {
        return lock.error();
    }
    if (const std::optional<std::int64_t> other = listenerAt(*path)) {
        ::unlink(lockPath.c_str());
        return alreadyPublished(*other);
    }
    ::unlink(path->c_str());
    FileDescriptor listener = listenAtSocket(*path);
    if (!listener) {
        const Error error = systemError("The socket " + *path + " cannot be made");
        ::unlink(lockPath.c_str());
        return error;
    }
    return std::make_unique<SocketClaim>(*path, lockPath, std::move(lock).value(),
                                         std::move(listener));
}

} // namespace fw
