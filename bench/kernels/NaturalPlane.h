#pragma once

#include <cstdint>
#include <vector>

namespace fw::bench {

/// One plane of an invented picture, row after row: soft shapes under the noise of a sensor, and
/// one sample in about 250 anywhere between the smallest and the largest code. `depth` is 8 to 16
/// bits. The same arguments give the same plane.
std::vector<std::uint16_t> naturalPlane(int width, int height, int depth, std::uint32_t seed);

} // namespace fw::bench
