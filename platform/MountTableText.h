#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace fw {

/// A field of the kernel's tables of mounts (proc(5)) as it was before blanks, tabs, line ends and
/// backslashes were written as a backslash and three octal digits.
inline std::string decodedMountField(std::string_view field) {
    const auto isOctalDigit = [](char c) {
        return c >= '0' && c <= '7';
    };
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const std::string_view digits = field.substr(i + 1, 3);
        const bool isEscape = field[i] == '\\' && digits.size() == 3 &&
                              std::all_of(digits.begin(), digits.end(), isOctalDigit);
        if (!isEscape) {
            text += field[i];
            continue;
        }
        const int byte = (digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0');
        text += static_cast<char>(static_cast<unsigned char>(byte & 0xFF));
        i += digits.size();
    }
    return text;
}

} // namespace fw
