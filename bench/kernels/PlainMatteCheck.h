#pragma once

#include "bench/kernels/TestFrames.h"

#include <string>
#include <vector>

namespace fw::bench {

/// The messages of the check for black mattes, sample by sample and line by line.
std::vector<std::string> plainMatteCheck(const MemoryPixelBuffer& frame, const FrameKind& kind,
                                         double aspectRatio);

} // namespace fw::bench
