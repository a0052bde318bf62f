#pragma once

#include "pixels/MemoryPixelBuffer.h"
#include "platform/libav/PlanarPicture.h"

namespace fw::libav {

/// Writes an 8-bit 4:2:2 (or grey) picture as '2vuy'; an odd width repeats its last luma sample.
void pack2vuy(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

/// Writes a 10-bit 4:2:2 (or grey) picture as 'v210'; video black beyond the picture's width.
void packV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

/// One group after the other: what runs on machines without a faster way, and what the faster way
/// must equal.
namespace scalar {

void packV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

} // namespace scalar

} // namespace fw::libav
