#pragma once

#include <string_view>

namespace fw {

/// The version of the whole suite, "MAJOR.MINOR.PATCH".
std::string_view projectVersion();

} // namespace fw
