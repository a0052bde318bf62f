#include "platform/files/AtomicFile.h"

#include "base/Result.h"
#include "base/text.h"
#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/files/SizeLimitAsError.h"
#include "platform/files/fileModes.h"
#include "platform/files/writeAll.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace fw {
namespace {

/// The part of a path before its last component, with the slash.
std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

/// Where the link at `path` points to; the error is EINVAL when no link stands there.
Result<std::string> linkTarget(const std::string& path) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) {
        return posixError(errno);
    }
    target.resize(static_cast<std::size_t>(length));
    return target.starts_with('/') ? target : folderOf(path) + target;
}

/// `path` with links at its end followed, also when the last one points to nothing.
Result<std::string> linksFollowed(std::string path) {
    constexpr int kMostLinks = 40; // As many as the system itself follows.
    for (int i = 0; i < kMostLinks; ++i) {
        Result<std::string> target = linkTarget(path);
        if (!target) {
            return path;
        }
        path = std::move(target).value();
    }
    return posixError(ELOOP);
}

/// What is kept of the file that is replaced.
struct Identity {
    mode_t permissions = 0;
    bool isExisting = false;
    uid_t owner = 0;
    gid_t group = 0;
};

Result<Identity> identityOf(const std::string& path, mode_t modeOfNewFile) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            return posixError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
        }
        return Identity{status.st_mode & kPermissions, true, status.st_uid, status.st_gid};
    }
    if (errno != ENOENT) {
        return posixError(errno);
    }
    return Identity{modeOfNewFile, false, 0, 0};
}

/// A file beside the one to be replaced; it goes unless it takes its place.
class Replacement {
public:
    explicit Replacement(const std::string& target)
        : path_(folderOf(target) + ".fernwick-XXXXXX"), file_(::mkostemp(path_.data(), O_CLOEXEC)) {
        failure_ = file_ ? 0 : errno;
    }
    ~Replacement() {
        if (file_) {
            ::unlink(path_.c_str());
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// 0, or the errno of the first step that failed.
    int failure() const { return failure_; }

    void fill(std::string_view bytes) {
        const SizeLimitAsError limit;
        note(failure_ != 0 ? 0 : writeAll(::write, file_.get(), bytes.data(), bytes.size()));
    }

    void takeOver(const Identity& identity) {
        if (failure_ != 0) {
            return;
        }
        // Whoever may not give files away owns the new one: set-ID bits would lend other rights.
        const bool isOwnerKept = identity.isExisting && ownerSet(identity);
        const mode_t mask = isOwnerKept || !identity.isExisting ? kPermissions : kPlainPermissions;
        note(::fchmod(file_.get(), identity.permissions & mask) == 0 ? 0 : errno);
    }

    void moveTo(const std::string& target, Flush flush) {
        if (failure_ == 0 && flush == Flush::kYes) {
            note(::fsync(file_.get()) == 0 ? 0 : errno);
        }
        if (failure_ == 0) {
            note(std::rename(path_.c_str(), target.c_str()) == 0 ? 0 : errno);
        }
        if (failure_ == 0) {
            file_.reset();
        }
    }

private:
    void note(int failure) {
        if (failure_ == 0) {
            failure_ = failure;
        }
    }
    bool ownerSet(const Identity& identity) const {
        return ::fchown(file_.get(), identity.owner, identity.group) == 0;
    }

    std::string path_;
    FileDescriptor file_;
    int failure_ = 0;
};

/// So that the new name, too, outlives a power cut; not every file system can.
void flushFolder(const std::string& target) {
    const std::string folder = folderOf(target);
    const FileDescriptor descriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor) {
        static_cast<void>(::fsync(descriptor.get()));
    }
}

} // namespace

std::optional<Error> writeFileAtomically(const std::string& path, std::string_view bytes,
                                         mode_t modeOfNewFile, Flush flush) {
    if (path.empty() || holdsZeroByte(path)) {
        return posixError(path.empty() ? ENOENT : EINVAL);
    }
    const Result<std::string> target = linksFollowed(path);
    if (!target) {
        return target.error();
    }
    const Result<Identity> identity = identityOf(target.value(), modeOfNewFile);
    if (!identity) {
        return identity.error();
    }
    Replacement replacement(target.value());
    replacement.fill(bytes);
    replacement.takeOver(identity.value());
    replacement.moveTo(target.value(), flush);
    if (replacement.failure() != 0) {
        return posixError(replacement.failure());
    }
    if (flush == Flush::kYes) {
        flushFolder(target.value());
    }
    return std::nullopt;
}

} // namespace fw
