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

/// What stands at the path, a link itself; nothing when that cannot be told. Safe from any thread.
std::optional<Original> originalAt(const std::string& path);

/// Whether something else stands at the place by now, or it has been written to. Of a folder only
/// that it is one counts. Safe from any thread.
bool hasChanged(const Location& place, const Original& original);

/// Removes what was copied from the place, as far as it can, and nothing that has changed or come
/// since. Nothing, or why something is left (domain "POSIX"): EBUSY unless all that is left is
/// exactly what was copied, whose removal failed for another reason. What cannot be compared, as in
/// a folder that can no longer be read, counts as changed; what has gone meanwhile is no failure.
/// Safe from any thread.
[[nodiscard]] std::optional<Error> removeOriginals(Location place, const Originals& originals);

} // namespace fw
