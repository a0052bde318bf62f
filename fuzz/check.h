#pragma once

#include <string_view>

namespace fw::fuzz {

/// Ends the fuzzer with these words unless the rule holds; the input is then kept as a finding.
void check(bool holds, std::string_view rule);

} // namespace fw::fuzz
