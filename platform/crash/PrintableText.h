#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fw {

/// The text on one line, readable whatever it holds: control characters, line separators and bytes
/// that are not UTF-8 as "\xHH", a backslash doubled. Text that would become longer than so many
/// bytes is cut between two characters and followed by "..." and the number of its bytes.
std::string printableText(std::string_view text, std::size_t mostBytes);

} // namespace fw
