#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// A pattern for names: "*" stands for any characters, "?" for one, everything else for itself. A
/// character is a code point, or a byte that is no part of one.
class WildcardPattern {
public:
    explicit WildcardPattern(std::string_view pattern);
    WildcardPattern(const WildcardPattern&) = delete;
    WildcardPattern& operator=(const WildcardPattern&) = delete;

    /// Takes time in proportion to the product of both lengths at most.
    bool matches(std::string_view name) const;

private:
    std::string text_;
    std::vector<std::string_view> characters_; ///< Pieces of the text.
};

} // namespace fw
