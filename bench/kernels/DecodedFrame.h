#pragma once

#include "bench/kernels/TestFrames.h"
#include "platform/libav/Handles.h"

#include <vector>

namespace fw::bench {

/// What a decoder may give, filled with invented pictures in video range.
struct SourceKind {
    const char* name;
    AVPixelFormat format;
};

/// Pictures of one size in a pixel format, made at the first call and kept. Planar formats are
/// natural; the samples of packed ones are those of a plane as wide as the row.
const std::vector<libav::FrameHandle>& decodedFrames(const SourceKind& source,
                                                     const FrameSize& size);

} // namespace fw::bench
