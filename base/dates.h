#pragma once

#include <chrono>
#include <string>

namespace fw {

/// A date as the suite writes it, in UTC with its offset: "2024-03-01 17:05:09 +0000". Fractions
/// of a second are cut towards the past. Safe from any thread.
std::string dateDescription(std::chrono::system_clock::time_point date);

} // namespace fw
