#pragma once

#include <string>
#include <string_view>

namespace fw {

/// Text as D-Bus takes it: ill-formed UTF-8, zero bytes and noncharacters (U+FDD0 to U+FDEF and
/// the last two code points of each plane) become U+FFFD.
std::string wireText(std::string_view text);

} // namespace fw
