#pragma once

#include <optional>
#include <string>

namespace fw {

/// The scanner program: beside this program, else where it is installed; nothing when it is in
/// neither place.
std::optional<std::string> scannerPath();

} // namespace fw
