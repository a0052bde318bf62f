#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <memory>

namespace fw::libav {

struct CloseFormat {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct FreeCodec {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

using FormatHandle = std::unique_ptr<AVFormatContext, CloseFormat>;
using CodecHandle = std::unique_ptr<AVCodecContext, FreeCodec>;
using FrameHandle = std::unique_ptr<AVFrame, FreeFrame>;
using PacketHandle = std::unique_ptr<AVPacket, FreePacket>;

/// A new frame or packet; throws std::bad_alloc.
FrameHandle makeFrame();
PacketHandle makePacket();

} // namespace fw::libav
