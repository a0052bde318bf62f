#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fw {

struct LumaLimits {
    std::int64_t refBlack = 16;  ///< The lowest legal code, on the scale of the bit depth.
    std::int64_t refWhite = 235; ///< The highest legal code.
    std::int64_t bitDepth = 8;   ///< 10 takes the bytes as 'v210', every other as '2vuy'.
};

/// "Blacks too low - ..." and "Whites too high - ...", in this order, for more than ten samples
/// beyond a limit. Row padding counts as picture. 16 zero bytes must stand behind the end.
///
/// The percentage is of the bytes ('2vuy') or of a fifth of the bytes ('v210'), not of the samples:
/// a settled part of the messages.
std::vector<std::string> lumaFaults(const std::uint8_t* base, std::uint64_t byteCount,
                                    const LumaLimits& limits);

} // namespace fw
