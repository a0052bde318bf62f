#pragma once

#include <string_view>

namespace fw {

/// Begins the names of the suite's files and applications, in reverse DNS order.
inline constexpr std::string_view kSuiteIdentifier = "com.fernwick";

} // namespace fw
