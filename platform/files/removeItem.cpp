#include "platform/files/removeItem.h"

#include "platform/PosixError.h"
#include "platform/files/FolderDescent.h"
#include "platform/files/Location.h"
#include "platform/files/mountRoot.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// One removal. Results are 0 or an errno.
class Removal {
public:
    explicit Removal(Location place) : way_(std::move(place.folder)) {
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

    int unlink(const std::string& name, int flags) const {
        // Somebody else may have been faster.
        const bool isGone = ::unlinkat(way_.folder(), name.c_str(), flags) == 0 || errno == ENOENT;
        return isGone ? 0 : errno;
    }

    int removeNext() {
        const std::string name = std::move(levels_.back().left.back());
        levels_.back().left.pop_back();
        const int failure = unlink(name, 0);
        return failure == EISDIR ? enter(name) : failure;
    }

    int enter(const std::string& name) {
        if (isMountRoot(way_.folder(), name)) {
            return EBUSY;
        }
        if (const int failure = way_.enter(name); failure != 0) {
            // An empty folder need not be readable to be removed.
            return unlink(name, AT_REMOVEDIR) == 0 ? 0 : failure;
        }
        levels_.push_back({name, {}});
        return listNames(way_.folder(), levels_.back().left);
    }

    int leave() {
        const std::string name = std::move(levels_.back().name);
        levels_.pop_back();
        const int failure = way_.leave();
        return failure != 0 ? failure : unlink(name, AT_REMOVEDIR);
    }

    FolderDescent way_;
    std::vector<Level> levels_;
};

} // namespace

std::optional<Error> removeItem(const std::string& path) {
    Result<Location> place = Location::of(path);
    if (!place) {
        return place.error();
    }
    const int failure = Removal(std::move(place).value()).run();
    return failure == 0 ? std::nullopt : std::optional(posixError(failure));
}

} // namespace fw
