#include "platform/files/ImmutableFlag.h"

#include "base/text.h"
#include "platform/FileDescriptor.h"
#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/openFile.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// The flag of an entry of an open folder, found without opening the entry, so that it need not be
/// readable; nothing, and errno, when there is no such entry.
std::optional<bool> flagOf(int folder, const std::string& name) {
    struct statx status {};
    if (::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW, 0, &status) != 0) {
        return std::nullopt;
    }
    return (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

/// 0, or an errno.
int setFlag(int folder, const std::string& name, bool isImmutable) {
    const std::optional<bool> before = flagOf(folder, name);
    if (!before || before == isImmutable) {
        return before ? 0 : errno;
    }
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return EOPNOTSUPP; // Others are not even opened: that may wait, or set off a device.
    }
    const FileDescriptor file = openFile(folder, name, O_RDONLY | O_NOFOLLOW);
    int flags = 0;
    if (!file || ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) {
        return errno;
    }
    flags = isImmutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0 ? 0 : errno;
}

using Failed = std::function<void(const std::string& path, const Error&)>;

/// The way through a folder.
class ContentsChange {
public:
    ContentsChange(FileDescriptor top, const std::string& path, bool isImmutable,
                   const Failed& failed)
        : way_(std::move(top)), isImmutable_(isImmutable), failed_(failed) {
        begin(path);
    }

    /// Whether all has been done.
    bool run() {
        while (!levels_.empty()) {
            if (!levels_.back().left.empty()) {
                changeNext();
                continue;
            }
            levels_.pop_back();
            if (!levels_.empty() && way_.leave() != 0) {
                return false; // It is no longer where it was: there is no way back.
            }
        }
        return isDone_;
    }

private:
    /// A folder on the way, and what is left in it.
    struct Level {
        std::string name;
        std::vector<std::string> left;
    };

    void begin(const std::string& name) {
        levels_.push_back({name, {}});
        isDone_ = listNames(way_.folder(), levels_.back().left) == 0 && isDone_;
    }

    void changeNext() {
        const std::string name = std::move(levels_.back().left.back());
        levels_.back().left.pop_back();
        if (const int failure = setFlag(way_.folder(), name, isImmutable_); failure != 0) {
            isDone_ = false;
            failed_(pathOf(name), posixError(failure));
        }
        const int failure = way_.enter(name);
        if (failure == 0) {
            begin(name);
        } else if (failure != ENOTDIR) { // A link is none either.
            isDone_ = false;
        }
    }

    std::string pathOf(const std::string& name) const {
        std::string path = levels_.front().name;
        for (std::size_t i = 1; i < levels_.size(); ++i) {
            path = appendedPathComponent(path, levels_[i].name);
        }
        return appendedPathComponent(path, name);
    }

    FolderDescent way_;
    bool isImmutable_;
    const Failed& failed_;
    bool isDone_ = true;
    std::vector<Level> levels_;
};

} // namespace

bool isImmutable(const std::string& path) {
    return !holdsZeroByte(path) && flagOf(AT_FDCWD, path).value_or(false);
}

std::optional<Error> setImmutable(const std::string& path, bool isImmutable) {
    const int failure = holdsZeroByte(path) ? EINVAL : setFlag(AT_FDCWD, path, isImmutable);
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

bool setContentsImmutable(const std::string& folder, bool isImmutable, const Failed& failed) {
    if (holdsZeroByte(folder)) {
        return false;
    }
    FileDescriptor top(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return top && ContentsChange(std::move(top), folder, isImmutable, failed).run();
}

} // namespace fw
