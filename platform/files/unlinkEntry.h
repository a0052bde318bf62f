#pragma once

#include <string>

namespace fw {

/// Removes an entry of an open folder, with flags as for unlinkat(2): 0, also when somebody else
/// has been faster, or an errno. A folder with something in it is ENOTEMPTY, also where the file
/// system tells of it by EEXIST. Safe from any thread.
[[nodiscard]] int unlinkEntry(int folder, const std::string& name, int flags);

} // namespace fw
