#include "base/text.h"
#include "timecode/FWTimecode.h"
#include "timecode/Separators.h"

#include <array>
#include <string_view>
#include <vector>

namespace fw {
namespace {

constexpr std::size_t kTimecodeLength = 11;
constexpr std::size_t kMostDigits = 8;

struct Shorthand {
    std::string_view ending;
    std::string_view meaning;
};

/// The first that fits; no meaning ends in a shorthand itself. Four at the end give zeros that
/// push out whatever stands before them: deliberate.
constexpr std::array<Shorthand, 8> kShorthands = {{
    {"....", "00000000"},
    {"...", ".000000"},
    {"..", ".0000"},
    {".", ".00"},
    {",,,,", "00000000"},
    {",,,", ",000000"},
    {",,", ",0000"},
    {",", ",00"},
}};

std::string expanded(std::string_view typed) {
    for (const Shorthand& shorthand : kShorthands) {
        if (typed.ends_with(shorthand.ending)) {
            typed.remove_suffix(shorthand.ending.size());
            return std::string(typed).append(shorthand.meaning);
        }
    }
    return std::string(typed);
}

/// All fields in a row, those of one character with a zero in front.
std::string joinedFields(std::string_view text) {
    std::string joined;
    for (const std::string_view field : splitAtAnyOf(text, ".,")) {
        if (characterCount(field) == 1) {
            joined += '0';
        }
        joined += field;
    }
    return joined;
}

/// Pairs from the right, with separators between them.
std::string grouped(const std::vector<std::string_view>& digits, bool dropFrame) {
    const std::size_t count = digits.size();
    std::string text(count % 2, '0');
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && (count - i) % 2 == 0) {
            text += i == count - 2 ? frameSeparator(dropFrame) : ':';
        }
        text += digits[i];
    }
    return text;
}

/// The fields that were typed, without those in front of them.
std::string typedFields(std::string_view typed, bool dropFrame) {
    std::string joined = joinedFields(expanded(typed));
    std::erase_if(joined,
                  [](char c) { return kTimecodeSeparators.find(c) != std::string_view::npos; });
    std::vector<std::string_view> digits = charactersOf(joined);
    if (digits.size() > kMostDigits) {
        digits.erase(digits.begin(), digits.end() - kMostDigits);
    }
    return digits.size() < 3 ? joined : grouped(digits, dropFrame);
}

} // namespace

std::string FWTimecode::timecodeFromUserString(const std::string& typed, bool dropFrame,
                                               const std::string& startTimecode) {
    if (characterCount(typed) == kTimecodeLength) {
        return typed;
    }
    const std::string fields = typedFields(typed, dropFrame);
    const std::string start = !startTimecode.empty() ? startTimecode
                              : dropFrame            ? "00:00:00;00"
                                                     : "00:00:00:00";
    return std::string(withoutLastCharacters(start, characterCount(fields))) + fields;
}

} // namespace fw
