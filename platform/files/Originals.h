#pragma once

#include "base/Error.h"
#include "platform/files/Location.h"

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

namespace fw {

/// An entry as it was when it was copied. Inode numbers are not kept: not every file system gives a
/// file the same one again.
struct Original {
    std::string name; ///< Empty: the end of the folder that was begun last.
    mode_t type = 0;
    off_t length = 0;
    timespec modified{};

    static Original of(std::string name, const struct stat& status);
};

/// All that was copied, in that order: a folder, what is in it, its end.
using Originals = std::vector<Original>;

/// Whether something else stands at the place by now, or it has been written to. Of a folder only
/// that it is one counts. Safe from any thread.
bool hasChanged(const Location& place, const Original& original);

/// Removes what was copied from the place, and nothing that has changed or come since (then EBUSY,
/// when all else is removed); or why it failed (domain "POSIX"). What has gone meanwhile is no
/// failure. Safe from any thread.
[[nodiscard]] std::optional<Error> removeOriginals(Location place, const Originals& originals);

} // namespace fw
