#pragma once

#include <string>

namespace fw {

/// The absolute path of the file that this process runs, in the bytes of the file system; empty
/// when the system does not tell. The path stays when the file has been removed since.
std::string runningExecutable();

} // namespace fw
