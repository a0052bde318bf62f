#include "support/files/WildcardPattern.h"

#include "base/text.h"

#include <algorithm>

namespace fw {
namespace {

std::vector<std::string_view> codePointsAndBytes(std::string_view text) {
    std::vector<std::string_view> characters;
    for (const std::string_view piece : charactersOf(text)) {
        if (piece.size() == 1 || repairedUtf8(piece) == piece) {
            characters.push_back(piece);
            continue;
        }
        for (std::size_t i = 0; i < piece.size(); ++i) {
            characters.push_back(piece.substr(i, 1));
        }
    }
    return characters;
}

} // namespace

WildcardPattern::WildcardPattern(std::string_view pattern)
    : text_(pattern), characters_(codePointsAndBytes(text_)) {}

/// Only the last star met need ever take more: what an earlier one could take, it can take too.
bool WildcardPattern::matches(std::string_view name) const {
    const std::vector<std::string_view> characters = codePointsAndBytes(name);
    auto pattern = characters_.begin();
    auto character = characters.begin();
    auto afterStar = characters_.end();
    auto takenByStar = characters.begin();
    bool hasStar = false;
    while (character != characters.end()) {
        if (pattern != characters_.end() && *pattern == "*") {
            hasStar = true;
            afterStar = ++pattern;
            takenByStar = character;
        } else if (pattern != characters_.end() && (*pattern == "?" || *pattern == *character)) {
            ++pattern;
            ++character;
        } else if (hasStar) {
            pattern = afterStar;
            character = ++takenByStar;
        } else {
            return false;
        }
    }
    return std::all_of(pattern, characters_.end(), [](auto rest) { return rest == "*"; });
}

} // namespace fw
