#include "bench/kernels/DecodedFrame.h"

#include "bench/kernels/NaturalPlane.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <utility>

namespace fw::bench {
namespace {

constexpr std::uint32_t kFrameCount = 2;

/// Samples of 8 bits become bytes, deeper ones words.
void fillPlane(const AVFrame& frame, int plane, int depth, std::uint32_t seed) {
    const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const int rowBytes =
        av_image_get_linesize(static_cast<AVPixelFormat>(frame.format), frame.width, plane);
    const int sampleBytes = depth > 8 ? 2 : 1;
    const int width = rowBytes / sampleBytes;
    const int height =
        plane == 0 ? frame.height : AV_CEIL_RSHIFT(frame.height, description->log2_chroma_h);
    const auto samples = naturalPlane(width, height, depth, seed);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = frame.data[plane] + std::ptrdiff_t{frame.linesize[plane]} * y;
        const std::uint16_t* from = samples.data() + std::ptrdiff_t{width} * y;
        if (sampleBytes == 2) {
            std::memcpy(row, from, static_cast<std::size_t>(rowBytes));
        } else {
            std::transform(from, from + width, row,
                           [](std::uint16_t sample) { return static_cast<std::uint8_t>(sample); });
        }
    }
}

libav::FrameHandle decodedFrame(AVPixelFormat format, const FrameSize& size, std::uint32_t seed) {
    libav::FrameHandle frame = libav::makeFrame();
    frame->format = format;
    frame->width = size.width;
    frame->height = size.height;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    const int depth = av_pix_fmt_desc_get(format)->comp[0].depth;
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        fillPlane(*frame, plane, depth, seed + static_cast<std::uint32_t>(plane));
    }
    return frame;
}

} // namespace

const std::vector<libav::FrameHandle>& decodedFrames(const SourceKind& source,
                                                     const FrameSize& size) {
    static std::map<std::pair<AVPixelFormat, int>, std::vector<libav::FrameHandle>> made;
    auto& frames = made[{source.format, size.width}];
    for (auto i = static_cast<std::uint32_t>(frames.size()); i < kFrameCount; ++i) {
        frames.push_back(decodedFrame(source.format, size, 1 + 3 * i));
    }
    return frames;
}

} // namespace fw::bench
