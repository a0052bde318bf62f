#include "base/text.h"
#include "fuzz/check.h"
#include "support/files/WildcardPattern.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using Characters = std::vector<std::string_view>;

/// Code points, and the bytes that are no part of one.
Characters charactersIn(std::string_view text) {
    Characters characters;
    for (const std::string_view piece : fw::charactersOf(text)) {
        const bool isCodePoint = fw::repairedUtf8(piece) == piece;
        const std::size_t step = isCodePoint ? piece.size() : 1;
        for (std::size_t i = 0; i < piece.size(); i += step) {
            characters.push_back(piece.substr(i, step));
        }
    }
    return characters;
}

/// By the rule: for each beginning of the pattern, which beginnings of the name it matches.
bool matchesByRule(const Characters& pattern, const Characters& name) {
    std::vector<bool> matched(name.size() + 1, false);
    matched[0] = true;
    for (const std::string_view wanted : pattern) {
        std::vector<bool> next(name.size() + 1, false);
        for (std::size_t i = 0; i <= name.size(); ++i) {
            if (wanted == "*") {
                next[i] = matched[i] || (i > 0 && next[i - 1]);
            } else {
                next[i] = i > 0 && matched[i - 1] && (wanted == "?" || wanted == name[i - 1]);
            }
        }
        matched = std::move(next);
    }
    return matched.back();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string pattern = input.ConsumeRandomLengthString();
    const std::string name = input.ConsumeRemainingBytesAsString();
    fw::fuzz::check(fw::WildcardPattern(pattern).matches(name) ==
                        matchesByRule(charactersIn(pattern), charactersIn(name)),
                    "a name matches as the rule says");
    return 0;
}
