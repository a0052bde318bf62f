#pragma once

#include <string>

namespace fw {

/// The machine's own openFile() (Workspace.h).
bool launchApplication(const std::string& file, const std::string& applicationPath);

} // namespace fw
