#pragma once

#include "platform/files/moveItem.h"

#include <string>

namespace fw {

/// Removes with an administrator's rights what a move has left of its source; whether that could be
/// done. It is compared once more when the rights are there, for which the user may take minutes to
/// answer: unless all of it is still as it was copied, it stays.
bool removeMovedSource(const std::string& source, const MoveFailure& failure);

} // namespace fw
