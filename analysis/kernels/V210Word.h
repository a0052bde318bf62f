#pragma once

#include <cstdint>

namespace fw {

/// The little-endian word at `bytes`; compilers make one load of it.
constexpr std::uint32_t littleEndianWord(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

// The three 10-bit samples of a word.
constexpr std::int32_t lowSample(std::uint32_t word) {
    return static_cast<std::int32_t>(word & 0x3FFU);
}
constexpr std::int32_t middleSample(std::uint32_t word) {
    return static_cast<std::int32_t>((word >> 10) & 0x3FFU);
}
constexpr std::int32_t highSample(std::uint32_t word) {
    return static_cast<std::int32_t>((word >> 20) & 0x3FFU);
}

} // namespace fw
