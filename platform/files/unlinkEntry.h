#pragma once

#include <string>

namespace fw {

/// Removes an entry of an open folder, with flags as for unlinkat(2): 0, also when somebody else
/// has been faster, or an errno. Safe from any thread.
[[nodiscard]] int unlinkEntry(int folder, const std::string& name, int flags);

} // namespace fw
