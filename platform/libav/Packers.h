#pragma once

#include "pixels/MemoryPixelBuffer.h"
#include "platform/libav/PlanarPicture.h"

namespace fw::libav {

/// Writes an 8-bit 4:2:2 (or grey) picture as '2vuy'; an odd width repeats its last luma sample.
void pack2vuy(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

/// Writes a 10-bit 4:2:2 (or grey) picture as 'v210'; video black beyond the picture's width.
void packV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

} // namespace fw::libav
