#include "support/TextEncoding.h"

#include "base/text.h"

#include <algorithm>

namespace fw {
namespace {

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Each byte is the number of its character.
std::string fromLatin1(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        text += utf8Text(static_cast<unsigned char>(c));
    }
    return text;
}

} // namespace

std::optional<std::string> decodedText(const std::vector<std::byte>& bytes, TextEncoding encoding) {
    std::string text(bytes.size(), '\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](std::byte byte) { return static_cast<char>(byte); });
    switch (encoding) {
    case TextEncoding::kAscii:
        return isAscii(text) ? std::optional(std::move(text)) : std::nullopt;
    case TextEncoding::kUtf8:
        return repairedUtf8(text) == text ? std::optional(std::move(text)) : std::nullopt;
    case TextEncoding::kIsoLatin1:
        return fromLatin1(text);
    }
    return std::nullopt;
}

} // namespace fw
