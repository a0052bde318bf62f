// bench_decode_only MOVIE [THREADS]: decodes every frame of the first video track, with the same
// libraries and (by default) the same number of threads as the scanner, does nothing with them,
// and prints how many there were. What a scan takes beyond this is its own cost.
#include "base/text.h"
#include "bench/libavMovie.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

using fw::libav::CodecHandle;
using fw::libav::FormatHandle;
using namespace fw::bench;

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
