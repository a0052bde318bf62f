#pragma once

#include <map>
#include <string>

// Where the machine keeps the tools that the suite runs. Safe from any thread.
namespace fw {

/// The path to run for a tool that the suite knows under `path`: that path itself where it exists
/// or the tool is not known, else where this machine has it. For "/usr/sbin/diskutil",
/// "/usr/bin/ditto" and "/usr/bin/xattr" that is a program of ours (tools/), found from the folder
/// of the running program, else where it was installed.
std::string toolPath(const std::string& path);

/// Whether the path, with links followed, is a file that this process may run. A folder, and so a
/// bundle, is none.
bool isExecutableFile(const std::string& path);

/// From the path that the suite knows to the file that is run in its place.
using StandInTools = std::map<std::string, std::string>;

/// Puts files in the place of tools, whatever the machine has, for tests; an empty map takes them
/// away. Returns those before.
StandInTools setStandInTools(StandInTools tools);

} // namespace fw
