#include "platform/files/Originals.h"

#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/mountRoot.h"
#include "platform/files/unlinkEntry.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace fw {
namespace {

bool isUnchanged(const Original& original, const struct stat& status) {
    if ((status.st_mode & S_IFMT) != original.type) {
        return false;
    }
    return S_ISDIR(original.type) || (status.st_size == original.length &&
                                      status.st_mtim.tv_sec == original.modified.tv_sec &&
                                      status.st_mtim.tv_nsec == original.modified.tv_nsec);
}

/// One removal. Results are 0 or an errno.
class OriginalsRemoval {
public:
    explicit OriginalsRemoval(FileDescriptor folder) : way_(std::move(folder)) {}

    int run(const Originals& originals) {
        int failure = 0;
        for (auto next = originals.begin(); failure == 0 && next != originals.end(); ++next) {
            failure = passedOver_ > 0 ? passOver(*next) : remove(*next);
        }
        return isAnyLeft_ ? EBUSY : failure;
    }

private:
    int remove(const Original& original) {
        if (original.name.empty()) {
            return leave();
        }
        return S_ISDIR(original.type) ? enter(original) : removeFile(original);
    }

    int removeFile(const Original& original) {
        struct stat status {};
        if (::fstatat(way_.folder(), original.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno == ENOENT ? 0 : errno;
        }
        if (!isUnchanged(original, status)) {
            isAnyLeft_ = true;
            return 0;
        }
        return unlinkEntry(way_.folder(), original.name, 0);
    }

    int enter(const Original& original) {
        if (isMountRoot(way_.folder(), original.name)) {
            return EBUSY;
        }
        const int failure = way_.enter(original.name);
        if (failure == ENOENT || failure == ENOTDIR) {
            isAnyLeft_ = isAnyLeft_ || failure == ENOTDIR;
            return passOver(original);
        }
        names_.push_back(original.name);
        return failure;
    }

    int leave() {
        const std::string name = std::move(names_.back());
        names_.pop_back();
        if (const int failure = way_.leave(); failure != 0) {
            return failure;
        }
        const int failure = unlinkEntry(way_.folder(), name, AT_REMOVEDIR);
        isAnyLeft_ = isAnyLeft_ || failure == ENOTEMPTY;
        return failure == ENOTEMPTY ? 0 : failure;
    }

    /// What was in a folder that is no longer there.
    int passOver(const Original& original) {
        if (original.name.empty()) {
            --passedOver_;
        } else if (S_ISDIR(original.type)) {
            ++passedOver_;
        }
        return 0;
    }

    FolderDescent way_;
    std::vector<std::string> names_; ///< Of the folders on the way.
    int passedOver_ = 0;             ///< Folders that were begun and are not there.
    bool isAnyLeft_ = false;
};

} // namespace

Original Original::of(std::string name, const struct stat& status) {
    return {std::move(name), status.st_mode & S_IFMT, status.st_size, status.st_mtim};
}

bool hasChanged(const Location& place, const Original& original) {
    struct stat status {};
    return ::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           !isUnchanged(original, status);
}

std::optional<Error> removeOriginals(Location place, const Originals& originals) {
    const int failure = OriginalsRemoval(std::move(place.folder)).run(originals);
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

} // namespace fw
