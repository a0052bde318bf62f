#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace fw {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool isAsciiSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The code points with the property White_Space (Unicode 15, PropList.txt).
bool isWhiteSpace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

/// White space within a line: a tab and the general category Zs.
bool isBlank(char32_t c) {
    return c == 0x09 || (isWhiteSpace(c) && !(c >= 0x0A && c <= 0x0D) && c != 0x85 && c != 0x2028 &&
                         c != 0x2029);
}

struct Sequence {
    char32_t codePoint = 0;
    std::size_t length = 1;
    bool wellFormed = false;
};

/// The sequence at the start of `bytes` (not empty); for an ill-formed one the length of its
/// maximal part (Unicode 15, table 3-7 gives the ranges of the second byte).
Sequence sequenceAt(std::string_view bytes) {
    const auto byte = [&](std::size_t i) {
        return static_cast<unsigned char>(bytes[i]);
    };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1, true};
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return {};
    }
    const std::size_t needed = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead == 0xE0) {
        low = 0xA0;
    } else if (lead == 0xED) {
        high = 0x9F;
    } else if (lead == 0xF0) {
        low = 0x90;
    } else if (lead == 0xF4) {
        high = 0x8F;
    }
    constexpr std::array<unsigned char, 5> kLeadBits = {0, 0, 0x1F, 0x0F, 0x07};
    char32_t codePoint = lead & kLeadBits[needed];
    for (std::size_t i = 1; i < needed; ++i) {
        if (i >= bytes.size() || byte(i) < low || byte(i) > high) {
            return {0, i, false};
        }
        codePoint = (codePoint << 6) | (byte(i) & 0x3FU);
        low = 0x80;
        high = 0xBF;
    }
    return {codePoint, needed, true};
}

template <typename Predicate>
std::string_view trimmedWhile(std::string_view text, Predicate drop) {
    while (!text.empty()) {
        const Sequence first = sequenceAt(text);
        if (!first.wellFormed || !drop(first.codePoint)) {
            break;
        }
        text.remove_prefix(first.length);
    }
    while (!text.empty()) {
        std::size_t start = text.size() - 1;
        while (start > 0 && text.size() - start < 4 &&
               (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80) {
            --start;
        }
        const Sequence last = sequenceAt(text.substr(start));
        if (!last.wellFormed || last.length != text.size() - start || !drop(last.codePoint)) {
            break;
        }
        text.remove_suffix(last.length);
    }
    return text;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

std::string_view withoutLeadingSpace(std::string_view text) {
    const auto first = std::find_if_not(text.begin(), text.end(), isAsciiSpace);
    return text.substr(static_cast<std::size_t>(first - text.begin()));
}

std::size_t digitCount(std::string_view text) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isDigit) -
                                    text.begin());
}

/// The length of the decimal number at the start of `text` (no sign), 0 when there is none.
std::size_t decimalLength(std::string_view text) {
    const std::size_t whole = digitCount(text);
    std::size_t length = whole;
    std::size_t fraction = 0;
    if (length < text.size() && text[length] == '.') {
        fraction = digitCount(text.substr(length + 1));
        if (whole + fraction > 0) {
            length += 1 + fraction;
        }
    }
    if (whole + fraction == 0) {
        return 0;
    }
    if (length < text.size() && (text[length] == 'e' || text[length] == 'E')) {
        std::size_t exponent = length + 1;
        if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) {
            ++exponent;
        }
        const std::size_t digits = digitCount(text.substr(exponent));
        if (digits > 0) {
            length = exponent + digits;
        }
    }
    return length;
}

/// Whether a number that std::from_chars found out of range is too large, not too small: the
/// place of its first digit that is not 0 and its exponent decide.
bool isTooLarge(std::string_view number) {
    const std::size_t exponentMark = number.find_first_of("eE");
    const std::string_view mantissa = number.substr(0, exponentMark);
    const std::int64_t exponent = exponentMark == std::string_view::npos
                                      ? 0
                                      : leadingInteger(number.substr(exponentMark + 1));
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_of("123456789");
    const auto place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    return exponent > -place;
}

} // namespace

std::string repairedUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Sequence sequence = sequenceAt(bytes);
        text += sequence.wellFormed ? bytes.substr(0, sequence.length) : kReplacement;
        bytes.remove_prefix(sequence.length);
    }
    return text;
}

std::string utf8Text(char32_t character) {
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (isSurrogate || character > 0x10FFFF) {
        return std::string(kReplacement);
    }
    const auto byte = [](char32_t bits) {
        return static_cast<char>(static_cast<unsigned char>(bits));
    };
    const auto continuation = [&](unsigned shift) {
        return byte(0x80 | ((character >> shift) & 0x3F));
    };
    if (character < 0x80) {
        return {byte(character)};
    }
    if (character < 0x800) {
        return {byte(0xC0 | (character >> 6)), continuation(0)};
    }
    if (character < 0x10000) {
        return {byte(0xE0 | (character >> 12)), continuation(6), continuation(0)};
    }
    return {byte(0xF0 | (character >> 18)), continuation(12), continuation(6), continuation(0)};
}

bool holdsZeroByte(std::string_view text) {
    return text.find('\0') != std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
    return trimmedWhile(text, isWhiteSpace);
}

std::string_view trimmedBlanks(std::string_view text) {
    return trimmedWhile(text, isBlank);
}

std::size_t characterCount(std::string_view text) {
    const auto isAscii = [](char c) {
        return static_cast<unsigned char>(c) < 0x80;
    };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        return text.size();
    }
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        text.remove_prefix(sequenceAt(text).length);
    }
    return count;
}

std::vector<std::string_view> charactersOf(std::string_view text) {
    std::vector<std::string_view> characters;
    while (!text.empty()) {
        characters.push_back(text.substr(0, sequenceAt(text).length));
        text.remove_prefix(characters.back().size());
    }
    return characters;
}

std::string_view withoutLastCharacters(std::string_view text, std::size_t count) {
    const std::size_t whole = characterCount(text);
    std::size_t length = 0;
    for (std::size_t kept = count; kept < whole; ++kept) {
        length += sequenceAt(text.substr(length)).length;
    }
    return text.substr(0, length);
}

std::string lowerCased(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return result;
}

std::vector<std::string_view> splitAtAnyOf(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const std::size_t end = text.find_first_of(separators);
        pieces.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(end + 1);
    }
}

std::int64_t leadingInteger(std::string_view text) {
    text = withoutLeadingSpace(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::int64_t value = 0;
    for (const char c : text.substr(0, digitCount(text))) {
        const int digit = negative ? '0' - c : c - '0';
        if (__builtin_mul_overflow(value, std::int64_t{10}, &value) ||
            __builtin_add_overflow(value, std::int64_t{digit}, &value)) {
            return negative ? std::numeric_limits<std::int64_t>::min()
                            : std::numeric_limits<std::int64_t>::max();
        }
    }
    return value;
}

double leadingDouble(std::string_view text) {
    text = withoutLeadingSpace(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::string_view number = text.substr(0, decimalLength(text));
    if (number.empty()) {
        return 0;
    }
    double value = 0;
    const auto parsed = std::from_chars(number.data(), number.data() + number.size(), value);
    if (parsed.ec == std::errc::result_out_of_range) {
        value = isTooLarge(number) ? std::numeric_limits<double>::max() : 0.0;
    }
    return negative ? -value : value;
}

std::string_view lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    return path.size() == 1 || slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string appendedPathComponent(std::string_view path, std::string_view component) {
    std::string joined(withoutTrailingSlashes(path));
    while (component.starts_with('/')) {
        component.remove_prefix(1);
    }
    if (!joined.empty() && !component.empty() && joined.back() != '/') {
        joined += '/';
    }
    joined += component;
    return joined;
}

std::string pathInFolder(std::string_view folder, std::string_view component) {
    return folder.empty() ? std::string() : appendedPathComponent(folder, component);
}

std::string_view pathExtension(std::string_view path) {
    const std::string_view name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) {
        return {};
    }
    return name.substr(dot + 1);
}

namespace {

std::string escaped(char c) {
    switch (c) {
    case '"':
    case '\\':
        return {'\\', c};
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return {c};
    }
}

} // namespace

std::string listDescription(const std::vector<std::string>& elements) {
    const auto isPlain = [](char c) {
        return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               std::string_view("_$/:.").find(c) != std::string_view::npos;
    };
    std::string text = "(\n";
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const std::string& element = elements[i];
        text += "    ";
        if (!element.empty() && std::all_of(element.begin(), element.end(), isPlain)) {
            text += element;
        } else {
            text += '"';
            for (const char c : element) {
                text += escaped(c);
            }
            text += '"';
        }
        text += i + 1 < elements.size() ? ",\n" : "\n";
    }
    return text + ")";
}

} // namespace fw
