#pragma once

#include <string>
#include <string_view>

namespace fw {

/// The text on one line, without what a terminal takes for orders: the control characters of ASCII
/// (a name of a file may hold them) as "\xNN", everything else as it is.
std::string errorLine(std::string_view text);

} // namespace fw
