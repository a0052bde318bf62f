#include "platform/files/Originals.h"

#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/mountRoot.h"
#include "platform/files/unlinkEntry.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <set>
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

/// Whether unlinkat(2) has met something else than the file or empty folder that was to go.
bool tellsOfSomethingElse(int failure) {
    return failure == ENOTEMPTY || failure == EBUSY || failure == EISDIR || failure == ENOTDIR;
}

/// One removal. It goes on behind what it cannot remove: whoever has the rights to remove that may
/// do so only when nothing is left but what was copied.
class OriginalsRemoval {
public:
    explicit OriginalsRemoval(FileDescriptor folder) : way_(std::move(folder)) {}

    /// 0, or an errno.
    int run(const Originals& originals) {
        const bool isAllSeen =
            std::all_of(originals.begin(), originals.end(), [this](const Original& next) {
                return passedOver_ > 0 ? passOver(next) : remove(next);
            });
        return isAllSeen && !isAnythingElseLeft_ ? failure_ : EBUSY;
    }

private:
    /// A folder on the way.
    struct Level {
        std::string name;
        std::set<std::string> left; ///< What could not be removed, and is as it was copied.
    };

    /// False when the way ends here, as passOver() and leave().
    bool remove(const Original& original) {
        if (original.name.empty()) {
            return leave();
        }
        if (S_ISDIR(original.type)) {
            enter(original.name);
        } else {
            removeFile(original);
        }
        return true;
    }

    void removeFile(const Original& original) {
        struct stat status {};
        if (::fstatat(way_.folder(), original.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            noteElse(errno != ENOENT);
        } else if (!isUnchanged(original, status)) {
            noteElse(true);
        } else {
            unlink(original.name, 0);
        }
    }

    void enter(const std::string& name) {
        const int failure = isMountRoot(way_.folder(), name) ? EBUSY : way_.enter(name);
        if (failure == 0) {
            levels_.push_back({name, {}});
            return;
        }
        noteElse(failure != ENOENT); // What is in it cannot be compared.
        passedOver_ = 1;
    }

    bool leave() {
        const Level level = std::move(levels_.back());
        levels_.pop_back();
        noteElse(!holdsOnly(level.left));
        if (way_.leave() != 0) {
            return false;
        }
        if (level.left.empty()) {
            unlink(level.name, AT_REMOVEDIR);
        } else {
            levels_.back().left.insert(level.name);
        }
        return true;
    }

    /// Whether that is all that is in the folder where the way has come to.
    bool holdsOnly(const std::set<std::string>& left) const {
        std::vector<std::string> names;
        return listNames(way_.folder(), names) == 0 &&
               std::all_of(names.begin(), names.end(),
                           [&](const std::string& name) { return left.count(name) != 0; });
    }

    void unlink(const std::string& name, int flags) {
        const int failure = unlinkEntry(way_.folder(), name, flags);
        if (failure == 0) {
            return;
        }
        if (tellsOfSomethingElse(failure)) {
            noteElse(true);
            return;
        }
        failure_ = failure_ == 0 ? failure : failure_;
        levels_.back().left.insert(name);
    }

    /// What was in a folder that is not there, or that cannot be looked into.
    bool passOver(const Original& original) {
        if (original.name.empty()) {
            --passedOver_;
        } else if (S_ISDIR(original.type)) {
            ++passedOver_;
        }
        return true;
    }

    /// Of what is left: whether it is not as it was copied, or nobody can tell.
    void noteElse(bool isSomethingElse) {
        isAnythingElseLeft_ = isAnythingElseLeft_ || isSomethingElse;
    }

    FolderDescent way_;
    std::vector<Level> levels_{1}; ///< That of the place is never left.
    int passedOver_ = 0;           ///< Folders that were begun and are passed over.
    int failure_ = 0;              ///< The first.
    bool isAnythingElseLeft_ = false;
};

} // namespace

Original Original::of(std::string name, const struct stat& status) {
    return {std::move(name), status.st_mode & S_IFMT, status.st_size, status.st_mtim};
}

std::optional<Original> originalAt(const std::string& path) {
    const Result<Location> place = Location::of(path);
    struct stat status {};
    if (!place || ::fstatat(place.value().folder.get(), place.value().name.c_str(), &status,
                            AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return Original::of(place.value().name, status);
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
