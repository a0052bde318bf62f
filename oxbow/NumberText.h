#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Numbers as they stand on the command line. Whoever types one means all of it: trailing text,
// blanks and hexadecimal forms are refused.
namespace fw {

/// Decimal digits only, within 64 bits.
std::optional<std::int64_t> wholeNumber(std::string_view text);

/// "2.39" or "16:9": a number above zero, or the quotient of two.
std::optional<double> aspectRatio(std::string_view text);

/// The shortest text that reads back as the same double.
std::string shortestText(double number);

} // namespace fw
