#pragma once

#include "pixels/PixelBuffer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// The check of the black mattes that an expected picture aspect implies. The buffer is already
/// locked by the caller. Pure but for the system log, which gets the messages of samples beyond
/// the buffer.
namespace matte {

/// Counts the black and the other luma samples of a row. A count is written only when its pointer
/// is not null.
void scanPixelRow(PixelBuffer& buffer, std::uint64_t row, std::int64_t bitDepth,
                  std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels);

/// The same along a column. The column is used as a byte offset into the first row and the line
/// drifts by one step a row: deliberate.
void scanPixelColumn(PixelBuffer& buffer, std::uint64_t column, std::int64_t bitDepth,
                     std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels);

/// The messages of a frame, none when it passes or the aspect ratio is not above 0; nothing when a
/// call to the buffer threw (the reason is then in the system log).
std::optional<std::vector<std::string>> checkAspectRatio(PixelBuffer& buffer, double aspectRatio,
                                                         std::int64_t bitDepth);

} // namespace matte
} // namespace fw
