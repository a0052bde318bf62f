// bench_decode_only MOVIE [THREADS]: decodes every frame of the first video track, with the same
// libraries and (by default) the same number of threads as the scanner, does nothing with them,
// and prints how many there were. What a scan takes beyond this is its own cost.
#include "base/text.h"
#include "platform/libav/Handles.h"

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

using fw::libav::CodecHandle;
using fw::libav::FormatHandle;

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

FormatHandle openMovie(const std::string& path) {
    AVFormatContext* format = nullptr;
    require(avformat_open_input(&format, ("file:" + path).c_str(), nullptr, nullptr) >= 0,
            "the movie cannot be opened");
    FormatHandle handle(format);
    require(avformat_find_stream_info(format, nullptr) >= 0, "the movie has no known streams");
    return handle;
}

/// Not a cover picture. The other streams are left unread.
const AVStream& selectFirstVideo(const AVFormatContext& format) {
    const AVStream* found = nullptr;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        AVStream& stream = *format.streams[i];
        const bool isVideo = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
                             (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
        if (found == nullptr && isVideo) {
            found = &stream;
        } else {
            stream.discard = AVDISCARD_ALL;
        }
    }
    require(found != nullptr, "the movie has no video track");
    return *found;
}

CodecHandle openDecoder(const AVStream& stream, int threads) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    require(decoder != nullptr, "there is no decoder");
    CodecHandle codec(avcodec_alloc_context3(decoder));
    require(codec && avcodec_parameters_to_context(codec.get(), stream.codecpar) >= 0,
            "the decoder cannot be made");
    codec->pkt_timebase = stream.time_base;
    codec->thread_count = threads;
    require(avcodec_open2(codec.get(), decoder, nullptr) >= 0, "the decoder cannot start");
    return codec;
}

std::int64_t takeFrames(AVCodecContext& codec, AVFrame& frame) {
    std::int64_t count = 0;
    while (avcodec_receive_frame(&codec, &frame) >= 0) {
        ++count;
    }
    return count;
}

std::int64_t decodeAll(AVFormatContext& format, const AVStream& stream, AVCodecContext& codec) {
    const auto packet = fw::libav::makePacket();
    const auto frame = fw::libav::makeFrame();
    std::int64_t count = 0;
    while (av_read_frame(&format, packet.get()) >= 0) {
        if (packet->stream_index == stream.index) {
            avcodec_send_packet(&codec, packet.get());
            count += takeFrames(codec, *frame);
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(&codec, nullptr);
    return count + takeFrames(codec, *frame);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fputs("usage: bench_decode_only MOVIE [THREADS, 0 = one for each core]\n", stderr);
        return 64;
    }
    try {
        const int threads = argc == 3 ? static_cast<int>(fw::leadingInteger(argv[2])) : 0;
        const FormatHandle format = openMovie(argv[1]);
        const AVStream& stream = selectFirstVideo(*format);
        const CodecHandle codec = openDecoder(stream, threads);
        std::printf("%lld\n", static_cast<long long>(decodeAll(*format, stream, *codec)));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "bench_decode_only: %s\n", exception.what());
        return 1;
    }
    return 0;
}
