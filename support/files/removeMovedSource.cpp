#include "support/files/removeMovedSource.h"

#include "platform/files/Originals.h"
#include "support/files/FileRights.h"

#include <cerrno>
#include <utility>

namespace fw {

bool removeMovedSource(const std::string& source, const MoveFailure& failure) {
    if (!withRights(&FileRights::obtain)) {
        return false;
    }
    Result<Location> place = Location::of(source);
    if (!place) {
        return false;
    }
    const auto left = removeOriginals(std::move(place).value(), failure.originals);
    return !left || (left->code != EBUSY && withRights(&FileRights::removeFile, source));
}

} // namespace fw
