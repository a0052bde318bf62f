#pragma once

#include <chrono>
#include <string>

namespace fw {

/// The destination in a Trash that has something under that name already, with the local time put
/// before the extension: "a_20240131235959.mov". Without an extension a full stop stays at the end.
std::string datedTrashPath(const std::string& destination,
                           std::chrono::system_clock::time_point date);

} // namespace fw
