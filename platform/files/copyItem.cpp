#include "platform/files/copyItem.h"

#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/SizeLimitAsError.h"
#include "platform/files/copyMetadata.h"
#include "platform/files/fileCalls.h"
#include "platform/files/openFile.h"
#include "platform/files/removeItem.h"
#include "platform/files/writeAll.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace fw {
namespace {

constexpr std::size_t kBlockBytes = 262'144;
constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kOwnerMayWrite = 0600;

/// Results are 0 or an errno.
int failureOf(int result) {
    return result == 0 ? 0 : errno;
}

int copyBytes(int from, int to) {
    const std::shared_ptr<const FileCalls> calls = currentFileCalls();
    std::vector<std::byte> block(kBlockBytes);
    for (;;) {
        const ssize_t count = calls->read(from, block.data(), block.size());
        if (count == 0) {
            return 0;
        }
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        const std::size_t length = count < 0 ? 0 : static_cast<std::size_t>(count);
        if (const int failure = writeAll(calls->write, to, block.data(), length); failure != 0) {
            return failure;
        }
    }
}

/// One copy. Results are 0 or an errno.
class TreeCopy {
public:
    /// `originals`, unless null, gets what is copied.
    TreeCopy(Location from, Location to, Originals* originals)
        : from_(std::move(from.folder)), to_(std::move(to.folder)), originals_(originals) {
        sourceName_ = std::move(from.name);
        copyName_ = std::move(to.name);
    }

    int run() {
        int failure = copyEntry(sourceName_, copyName_);
        while (failure == 0 && !levels_.empty()) {
            failure = levels_.back().left.empty() ? leave() : copyNext();
        }
        return failure;
    }

    /// The copy, or the part of it that there is.
    const std::optional<FileIdentity>& made() const { return made_; }

private:
    /// A folder on the way, and what is left in it.
    struct Level {
        struct stat status {};
        std::vector<std::string> left;
    };

    /// Takes note of the copy when its first entry is made.
    int made(const FileDescriptor& file) {
        if (!file) {
            return errno;
        }
        made_ = made_ ? made_ : fileIdentity(file);
        return made_ ? 0 : errno;
    }

    /// The same for what is not open.
    int made(int result, const std::string& newName) {
        if (result < 0) {
            return errno;
        }
        made_ = made_ ? made_ : fileIdentity(to_.folder(), newName);
        return made_ ? 0 : errno;
    }

    void note(const std::string& name, const struct stat& status) {
        if (originals_ != nullptr) {
            originals_->push_back(Original::of(name, status));
        }
    }

    int copyNext() {
        const std::string name = std::move(levels_.back().left.back());
        levels_.back().left.pop_back();
        return copyEntry(name, name);
    }

    int copyEntry(const std::string& name, const std::string& newName) {
        struct stat status {};
        if (::fstatat(from_.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno;
        }
        switch (status.st_mode & S_IFMT) {
        case S_IFREG:
            return copyRegularFile(name, newName);
        case S_IFLNK:
            return copyLink(name, newName, status);
        case S_IFDIR:
            return enter(name, newName, status);
        default:
            return copySpecialFile(name, newName, status);
        }
    }

    int copyRegularFile(const std::string& name, const std::string& newName) {
        // The name may be another file's by now, which must not be waited for.
        const FileDescriptor from = openFile(from_.folder(), name, O_RDONLY | O_NOFOLLOW);
        struct stat status {};
        if (!from || ::fstat(from.get(), &status) != 0) {
            return errno;
        }
        if (!S_ISREG(status.st_mode)) {
            return EINVAL;
        }
        FileDescriptor to(::openat(to_.folder(), newName.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerMayWrite));
        if (const int failure = made(to); failure != 0) {
            return failure;
        }
        note(name, status); // As it is before it is read.
        if (const int failure = copyBytes(from.get(), to.get()); failure != 0) {
            return failure;
        }
        copyMetadata(from.get(), to.get(), status);
        // Some file systems tell only now that they could not keep what was written.
        return failureOf(::close(to.release()));
    }

    int copyLink(const std::string& name, const std::string& newName, const struct stat& status) {
        std::string target(PATH_MAX, '\0');
        const ssize_t length =
            ::readlinkat(from_.folder(), name.c_str(), target.data(), target.size());
        if (length < 0) {
            return errno;
        }
        target.resize(static_cast<std::size_t>(length));
        const int failure =
            made(::symlinkat(target.c_str(), to_.folder(), newName.c_str()), newName);
        if (failure == 0) {
            note(name, status);
            copyEntryMetadata(to_.folder(), newName, status);
        }
        return failure;
    }

    int copySpecialFile(const std::string& name, const std::string& newName,
                        const struct stat& status) {
        const mode_t mode = (status.st_mode & S_IFMT) | kOwnerMayWrite;
        if (const int failure =
                made(::mknodat(to_.folder(), newName.c_str(), mode, status.st_rdev), newName);
            failure != 0) {
            return failure;
        }
        note(name, status);
        copyEntryMetadata(to_.folder(), newName, status);
        // A link may have taken its place.
        return failureOf(
            ::fchmodat(to_.folder(), newName.c_str(), status.st_mode & 0777U, AT_SYMLINK_NOFOLLOW));
    }

    int enter(const std::string& name, const std::string& newName, const struct stat& status) {
        if (made_ == FileIdentity{status.st_dev, status.st_ino}) {
            return EINVAL; // It would never end.
        }
        if (const int failure = made(::mkdirat(to_.folder(), newName.c_str(), kOwnerOnly), newName);
            failure != 0) {
            return failure;
        }
        if (const int failure = from_.enter(name); failure != 0) {
            return failure;
        }
        if (const int failure = to_.enter(newName); failure != 0) {
            return failure;
        }
        note(name, status);
        levels_.push_back({status, {}});
        return listNames(from_.folder(), levels_.back().left);
    }

    int leave() {
        copyMetadata(from_.folder(), to_.folder(), levels_.back().status);
        note({}, levels_.back().status);
        levels_.pop_back();
        const int failure = from_.leave();
        return failure != 0 ? failure : to_.leave();
    }

    FolderDescent from_;
    FolderDescent to_;
    std::string sourceName_;
    std::string copyName_;
    std::vector<Level> levels_;
    std::optional<FileIdentity> made_; ///< The copy's own top.
    Originals* originals_;
};

Result<FileIdentity> copyBetween(const Location& source, const Location& destination,
                                 Originals* originals) {
    Result<Location> from = source.duplicate();
    Result<Location> to = destination.duplicate();
    Result<Location> unfinished = destination.duplicate();
    for (const auto* place : {&from, &to, &unfinished}) {
        if (!*place) {
            return place->error();
        }
    }
    const SizeLimitAsError limit;
    TreeCopy copy(std::move(from).value(), std::move(to).value(), originals);
    const int failure = copy.run();
    if (failure == 0) {
        return *copy.made();
    }
    if (copy.made()) { // The first failure is the one to tell.
        static_cast<void>(removeUnfinished(std::move(unfinished).value(), *copy.made()));
    }
    return posixError(failure);
}

} // namespace

std::optional<Error> copyItem(const std::string& source, const std::string& destination) {
    const Result<Location> from = Location::of(source);
    if (!from) {
        return from.error();
    }
    const Result<Location> to = Location::of(destination);
    if (!to) {
        return to.error();
    }
    const Result<FileIdentity> made = copyBetween(from.value(), to.value(), nullptr);
    return made ? std::nullopt : std::optional(made.error());
}

Result<FileIdentity> copyItem(const Location& source, const Location& destination,
                              Originals& originals) {
    return copyBetween(source, destination, &originals);
}

} // namespace fw
