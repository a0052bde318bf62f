#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Text is UTF-8; a character is a code point. All functions are pure and safe from any thread.
namespace fw {

/// The text with each ill-formed sequence replaced by U+FFFD, one for each maximal ill-formed
/// part (Unicode 15, table 3-8). Well-formed text comes back unchanged.
std::string repairedUtf8(std::string_view bytes);

/// One character in UTF-8; U+FFFD for what is no character (surrogates, beyond U+10FFFF).
std::string utf8Text(char32_t character);

/// Whether the system would take the text, a path or a name, only up to a zero byte and mean
/// another.
bool holdsZeroByte(std::string_view text);

/// Without white space and line ends (the Unicode property White_Space) at both ends.
std::string_view trimmed(std::string_view text);

/// Without blanks and tabs (U+0009 and general category Zs, no line ends) at both ends.
std::string_view trimmedBlanks(std::string_view text);

/// How many characters the text has; each maximal ill-formed part counts as one.
std::size_t characterCount(std::string_view text);

/// The characters one by one, as pieces of the text; each maximal ill-formed part is one.
std::vector<std::string_view> charactersOf(std::string_view text);

/// The text without its last `count` characters; empty when it has no more than that.
std::string_view withoutLastCharacters(std::string_view text, std::size_t count);

/// ASCII letters made small; everything else as it is.
std::string lowerCased(std::string_view text);

/// The pieces between the characters of `separators` (ASCII); always at least one piece.
std::vector<std::string_view> splitAtAnyOf(std::string_view text, std::string_view separators);

/// The integer that the text begins with: leading ASCII white space, an optional sign, digits up
/// to the first other character. No digits give 0; values beyond 64 bits are held at the end of
/// the range.
std::int64_t leadingInteger(std::string_view text);

/// The number that the text begins with: leading ASCII white space, an optional sign, decimal
/// digits with at most one point, an optional exponent. The locale plays no part, and nan, inf
/// and hexadecimal forms are not numbers. No digits give 0; what is too large for a double is
/// held at the largest finite one.
double leadingDouble(std::string_view text);

/// The last component of a path; trailing slashes add none. "/" gives "/".
std::string_view lastPathComponent(std::string_view path);

/// A path with one more component, and one slash between. An empty path gives the component alone,
/// an empty component the path without slashes at its end.
std::string appendedPathComponent(std::string_view path, std::string_view component);

/// The same in a folder whose path may be unknown, which is empty: so is the result then.
std::string pathInFolder(std::string_view folder, std::string_view component);

/// What follows the last dot of the last component when neither side of the dot is empty.
std::string_view pathExtension(std::string_view path);

/// A list as the suite writes it into notes and logs: "(", one element a line indented by four
/// blanks and followed by "," but for the last, ")". An element is quoted, with `"`, `\`, line
/// ends and tabs escaped by `\`, unless it consists of letters, digits and `_ $ / : .` only.
std::string listDescription(const std::vector<std::string>& elements);

} // namespace fw
