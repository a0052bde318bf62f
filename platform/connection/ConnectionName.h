#pragma once

#include <string>

namespace fw {

/// "Oxbow - " and the movie's path as it stands on the command line.
std::string connectionNameForMovie(const std::string& moviePath);

} // namespace fw
