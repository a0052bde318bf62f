#include "platform/connection/WireText.h"

#include "base/text.h"

#include <cstddef>

namespace fw {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The length of the noncharacter or zero byte that well-formed text begins with, else 0.
std::size_t unwantedLength(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    if (byte(0) == 0) {
        return 1;
    }
    const bool isArabicNoncharacter =
        byte(0) == 0xEF && byte(1) == 0xB7 && byte(2) >= 0x90 && byte(2) <= 0xAF;
    const bool isLastOfBasicPlane = byte(0) == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE;
    if (isArabicNoncharacter || isLastOfBasicPlane) {
        return 3;
    }
    const bool isLastOfOtherPlane =
        byte(0) >= 0xF0 && (byte(1) & 0x0FU) == 0x0F && byte(2) == 0xBF && byte(3) >= 0xBE;
    return isLastOfOtherPlane ? 4 : 0;
}

} // namespace

std::string wireText(std::string_view text) {
    const std::string repaired = repairedUtf8(text);
    std::string result;
    result.reserve(repaired.size());
    for (std::size_t i = 0; i < repaired.size();) {
        const std::size_t unwanted = unwantedLength(std::string_view(repaired).substr(i));
        if (unwanted > 0) {
            result += kReplacement;
            i += unwanted;
        } else {
            result += repaired[i++];
        }
    }
    return result;
}

} // namespace fw
