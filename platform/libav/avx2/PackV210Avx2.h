#pragma once

#include <cstdint>

/// For machines with AVX2 only; on others a call is an illegal instruction.
namespace fw::libav::avx2 {

/// Packs the first of `groups` groups of 6 pixels, 16 bytes each, and returns how many. The last
/// ones are left to the caller, because up to two samples behind a group are read with it.
int packGroups(const std::uint16_t* y, const std::uint16_t* cb, const std::uint16_t* cr, int groups,
               std::uint8_t* out);

} // namespace fw::libav::avx2
