#pragma once

#include "pixels/MemoryPixelBuffer.h"
#include "tests/support/SyntheticAsset.h"

#include <cstdint>
#include <memory>

namespace fw::test {

inline constexpr int kVideoTrackId = 7;

/// A '2vuy' frame with one luma code and no colour.
std::shared_ptr<MemoryPixelBuffer> frame8(std::uint8_t luma, std::uint64_t width = 16,
                                          std::uint64_t height = 16);

/// A 'v210' frame with one luma code, 0 to 1023, and no colour.
std::shared_ptr<MemoryPixelBuffer> frame10(std::uint32_t luma, std::uint64_t width = 48,
                                           std::uint64_t height = 4);

/// A movie of the given frames at 25 frames a second, frame n at n x 1000 / 25000 seconds.
std::shared_ptr<SyntheticAsset> movieOf(std::vector<std::shared_ptr<PixelBuffer>> frames);

/// A movie of grey frames without faults.
std::shared_ptr<SyntheticAsset> cleanMovie(std::size_t frameCount);

/// The range of frames [start, end) of such a movie.
MediaTimeRange frameRange(std::int64_t start, std::int64_t end);

} // namespace fw::test
