#pragma once

#include "platform/volumes/Volumes.h"

#include <string_view>
#include <vector>

namespace fw {

/// The volumes in a text of the form of /proc/self/mountinfo (proc(5)). Lines of another form are
/// passed over.
std::vector<Volume> volumesInMountTable(std::string_view table);

} // namespace fw
