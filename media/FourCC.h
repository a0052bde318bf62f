#pragma once

#include <cstdint>

namespace fw {

/// A four-character code; the most significant byte is the first character ('avc1' is 0x61766331).
using FourCC = std::uint32_t;

/// fourCC("avc1").
constexpr FourCC fourCC(const char (&text)[5]) {
    FourCC code = 0;
    for (int i = 0; i < 4; ++i) {
        code = (code << 8) | static_cast<std::uint8_t>(text[i]);
    }
    return code;
}

} // namespace fw
