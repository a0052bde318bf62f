#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// How bytes stand for characters, by the suite's numbers.
enum class TextEncoding : unsigned {
    kAscii = 1,
    kUtf8 = 4,
    kIsoLatin1 = 5,
};

/// The text that the bytes stand for; nothing when they are no text in that encoding: a byte above
/// 127 in ASCII, an ill-formed part in UTF-8, and anything in an unknown encoding.
std::optional<std::string> decodedText(const std::vector<std::byte>& bytes, TextEncoding encoding);

} // namespace fw
