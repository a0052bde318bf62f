#pragma once

#include "base/Error.h"
#include "platform/files/Originals.h"

#include <optional>
#include <string>

namespace fw {

struct MoveFailure {
    Error error; ///< Domain "POSIX".
    /// All of it stands at the destination; what is left at the source could not be removed, and is
    /// as it was copied unless the error is EBUSY.
    bool isDestinationWhole = false;
    Originals originals = {}; ///< What was copied, when the destination is whole.
};

/// Moves what stands at `source`, a link itself, to a path where nothing stands yet. Nothing, or
/// why it failed. Across file systems it is copied (copyItem) to its end and to the disk, and only
/// then removed: whatever fails, the source is as it was or the destination is whole. A source with
/// another file system mounted at it or below does not go across (EBUSY). Nor does one that changes
/// meanwhile (EBUSY, whatever else fails): a file stays where it is, and what changes or comes in a
/// folder stays there when the rest has gone. Safe from any thread.
[[nodiscard]] std::optional<MoveFailure> moveItem(const std::string& source,
                                                  const std::string& destination);

} // namespace fw
