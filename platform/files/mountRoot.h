#pragma once

#include <string>

namespace fw {

/// Whether another file system, or another part of one, is mounted on this entry of an open folder.
bool isMountRoot(int folder, const std::string& name);

} // namespace fw
