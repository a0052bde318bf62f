#pragma once

#include <cstdint>

namespace fw {

/// The bucket of a colour: the top two bits of red, green and blue, red highest.
constexpr std::uint8_t quantize_color(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    return static_cast<std::uint8_t>(((r >> 2) & 0x30) | ((g >> 4) & 0x0C) | (b >> 6));
}

/// The bucket of a grey: the top six bits.
constexpr std::uint8_t quantize_bw(std::uint8_t v) {
    return static_cast<std::uint8_t>(v >> 2);
}

} // namespace fw
