#include "platform/crash/PrintableText.h"

#include "base/text.h"

namespace fw {
namespace {

std::size_t lengthByFirstByte(unsigned char byte) {
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// The character at the front, or one byte when there is none.
std::string_view firstCharacter(std::string_view text) {
    const auto length = lengthByFirstByte(static_cast<unsigned char>(text.front()));
    const std::string_view character = text.substr(0, length);
    return repairedUtf8(character) == character ? character : text.substr(0, 1);
}

bool isControlOrSeparator(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (character.size() == 1) {
        return first < 0x20 || first >= 0x7F;
    }
    return (character >= "\xC2\x80" && character <= "\xC2\x9F") || character == "\u2028" ||
           character == "\u2029";
}

void appendEscaped(std::string_view bytes, std::string& to) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        to.append("\\x").append(1, kDigits[value / 16]).append(1, kDigits[value % 16]);
    }
}

void appendPrintable(std::string_view character, std::string& to) {
    if (isControlOrSeparator(character)) {
        appendEscaped(character, to);
    } else {
        to.append(character == "\\" ? "\\\\" : character);
    }
}

} // namespace

std::string printableText(std::string_view text, std::size_t mostBytes) {
    std::string line;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view character = firstCharacter(rest);
        const std::size_t before = line.size();
        appendPrintable(character, line);
        if (line.size() > mostBytes) {
            line.resize(before);
            return line.append("... (").append(std::to_string(text.size())).append(" bytes)");
        }
        rest.remove_prefix(character.size());
    }
    return line;
}

} // namespace fw
