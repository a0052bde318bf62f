#pragma once

#include <cstdint>

namespace fw {

/// What a walk over the luma samples of a frame found.
struct LumaCounts {
    std::uint64_t blackCount = 0;  ///< Samples below the reference black.
    std::uint64_t whiteCount = 0;  ///< Samples above the reference white.
    std::int64_t lowestBlack = 0;  ///< Of the samples below; the largest code when there is none.
    std::int64_t highestWhite = 0; ///< Of the samples above; 0 when there is none.

    bool operator==(const LumaCounts&) const = default;
};

/// Every odd byte ('2vuy') of `byteCount` bytes, row padding included. A value that is above white
/// is never counted as black, too.
LumaCounts scanLuma8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                     std::int64_t refWhite);

/// Three luma values of every 8 bytes ('v210'), row padding included. 16 bytes behind the end must
/// be readable and zero: a group that reaches past the end takes them as samples.
LumaCounts scanLuma10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                      std::int64_t refWhite);

/// What runs on machines without a faster way, and what the faster ways must equal.
namespace scalar {

LumaCounts scanLuma8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                     std::int64_t refWhite);
LumaCounts scanLuma10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                      std::int64_t refWhite);

} // namespace scalar

} // namespace fw
