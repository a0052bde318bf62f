#pragma once

#include <string>
#include <vector>

namespace fw {

/// The machine's own openUrls() (Workspace.h).
bool launchDesktopEntry(const std::vector<std::string>& files, const std::string& identifier);

} // namespace fw
