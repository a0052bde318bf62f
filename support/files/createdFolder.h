#pragma once

#include <string>

namespace fw {

/// The path of the folder that a path lies in; "." for a name alone.
std::string parentFolder(const std::string& path);

/// Creates the folder with its parents, with the rights that this process has; whether it is there.
/// A drive that is not mounted is told to the system log, another failure to the suite's log.
bool createdFolder(const std::string& path);

} // namespace fw
