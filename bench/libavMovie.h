#pragma once

#include "platform/libav/Handles.h"

#include <stdexcept>
#include <string>

// The plain way from a movie to a decoder, as the benchmarks of decoding alone take it.
namespace fw::bench {

inline void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

inline libav::FormatHandle openMovie(const std::string& path) {
    AVFormatContext* format = nullptr;
    require(avformat_open_input(&format, ("file:" + path).c_str(), nullptr, nullptr) >= 0,
            "the movie cannot be opened");
    libav::FormatHandle handle(format);
    require(avformat_find_stream_info(format, nullptr) >= 0, "the movie has no known streams");
    return handle;
}

/// With 0 threads the decoder has one for each core.
inline libav::CodecHandle openDecoder(const AVStream& stream, int threads) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    require(decoder != nullptr, "there is no decoder");
    libav::CodecHandle codec(avcodec_alloc_context3(decoder));
    require(codec && avcodec_parameters_to_context(codec.get(), stream.codecpar) >= 0,
            "the decoder cannot be made");
    codec->pkt_timebase = stream.time_base;
    codec->thread_count = threads;
    require(avcodec_open2(codec.get(), decoder, nullptr) >= 0, "the decoder cannot start");
    return codec;
}

} // namespace fw::bench
