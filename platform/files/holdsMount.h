#pragma once

#include <string>

namespace fw {

/// Whether anything is mounted on the entry at the path, a link itself, or below it, where the
/// folders may not even be readable; also when that cannot be told. False when nothing stands
/// there. Links below folders on the way that this process may not search are not seen. Safe from
/// any thread.
bool holdsMount(const std::string& path);

} // namespace fw
