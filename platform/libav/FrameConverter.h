#pragma once

#include "media/AssetReader.h"
#include "platform/libav/BufferPool.h"
#include "platform/libav/FrameUnpacker.h"
#include "platform/libav/Handles.h"
#include "platform/libav/VideoRangeConverter.h"

#include <memory>

namespace fw::libav {

/// Decoded frame to pixel buffer in one of the two layouts. The size and the pixel format may
/// change from frame to frame.
class FrameConverter {
public:
    FrameConverter(PixelLayout layout, AVCodecID codec) : layout_(layout), codec_(codec) {}

    /// Throws PlatformException for a pixel format that has no 4:2:2 equivalent.
    std::shared_ptr<PixelBuffer> convert(const AVFrame& frame);

private:
    PixelLayout layout_;
    AVCodecID codec_;
    FrameUnpacker unpacker_;
    VideoRangeConverter rangeConverter_;
    BufferPool pool_;
};

} // namespace fw::libav
