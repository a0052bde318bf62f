#include "platform/files/removeItem.h"

#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/mountRoot.h"
#include "platform/files/unlinkEntry.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// Whether folders are given the mode in which their owner can empty them.
enum class Modes : bool { kKeep, kOpen };

/// One removal. Results are 0 or an errno.
class Removal {
public:
    Removal(Location place, Modes modes) : way_(std::move(place.folder)), modes_(modes) {
        levels_.push_back({{}, {std::move(place.name)}});
    }

    int run() {
        int failure = 0;
        while (failure == 0 && (levels_.size() > 1 || !levels_.front().left.empty())) {
            failure = levels_.back().left.empty() ? leave() : removeNext();
        }
        return failure;
    }

private:
    /// A folder on the way, and what is left in it.
    struct Level {
        std::string name;
        std::vector<std::string> left;
    };

    int removeNext() {
        const std::string name = std::move(levels_.back().left.back());
        levels_.back().left.pop_back();
        const int failure = unlinkEntry(way_.folder(), name, 0);
        return failure == EISDIR ? enter(name) : failure;
    }

    int enter(const std::string& name) {
        if (isMountRoot(way_.folder(), name)) {
            return EBUSY;
        }
        if (modes_ == Modes::kOpen) {
            constexpr mode_t kOwnerOnly = 0700;
            // Whether that was needed, and possible, shows below.
            static_cast<void>(
                ::fchmodat(way_.folder(), name.c_str(), kOwnerOnly, AT_SYMLINK_NOFOLLOW));
        }
        if (const int failure = way_.enter(name); failure != 0) {
            // An empty folder need not be readable to be removed.
            return unlinkEntry(way_.folder(), name, AT_REMOVEDIR) == 0 ? 0 : failure;
        }
        levels_.push_back({name, {}});
        return listNames(way_.folder(), levels_.back().left);
    }

    int leave() {
        const std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        const int failure = way_.leave();
        return failure != 0 ? failure : unlinkEntry(way_.folder(), name, AT_REMOVEDIR);
    }

    FolderDescent way_;
    Modes modes_;
    std::vector<Level> levels_;
};

std::optional<Error> remove(Location place, Modes modes) {
    const int failure = Removal(std::move(place), modes).run();
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

std::optional<Error> remove(const std::string& path, Modes modes) {
    Result<Location> place = Location::of(path);
    return place ? remove(std::move(place).value(), modes) : place.error();
}

} // namespace

std::optional<Error> removeItem(const std::string& path) {
    return remove(path, Modes::kKeep);
}

std::optional<Error> removeUnfinished(const std::string& path) {
    return remove(path, Modes::kOpen);
}

std::optional<Error> removeUnfinished(Location place, FileIdentity made) {
    return fileIdentity(place.folder.get(), place.name) == made
               ? remove(std::move(place), Modes::kOpen)
               : std::nullopt;
}

} // namespace fw
