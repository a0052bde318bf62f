// bench_sound WHAT MOVIE, for sound.py to time; prints a count and the peak of its memory in KiB:
//
//     waveform MOVIE      the waveform of its first sound track
//     decode MOVIE        decoding that track to interleaved signed 16-bit samples with the same
//                         libraries, and nothing done with them
#include "bench/PeakMemory.h"
#include "bench/libavMovie.h"
#include "media/FWAVFoundation.h"
#include "platform/libav/LibavAsset.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using fw::libav::CodecHandle;
using fw::libav::FormatHandle;
using namespace fw::bench;

/// The other streams are left unread.
const AVStream& selectSound(AVFormatContext& format) {
    const int found = av_find_best_stream(&format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    require(found >= 0, "the movie has no sound track");
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        format.streams[i]->discard =
            i == static_cast<unsigned>(found) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    return *format.streams[found];
}

struct FreeConverter {
    void operator()(SwrContext* context) const { swr_free(&context); }
};
using Converter = std::unique_ptr<SwrContext, FreeConverter>;

Converter makeConverter(AVCodecContext& codec) {
    SwrContext* context = nullptr;
    require(swr_alloc_set_opts2(&context, &codec.ch_layout, AV_SAMPLE_FMT_S16, codec.sample_rate,
                                &codec.ch_layout, codec.sample_fmt, codec.sample_rate, 0,
                                nullptr) >= 0,
            "there is no converter");
    Converter converter(context);
    require(swr_init(context) >= 0, "the converter cannot start");
    return converter;
}

/// Decodes and converts; counts the samples of a channel.
class Decoding {
public:
    explicit Decoding(const AVStream& stream)
        : codec_(openDecoder(stream, 0)), converter_(makeConverter(*codec_)) {}

    void take(const AVPacket* packet) {
        avcodec_send_packet(codec_.get(), packet);
        while (avcodec_receive_frame(codec_.get(), frame_.get()) >= 0) {
            convert(*frame_);
        }
    }
    std::int64_t samples() const { return samples_; }

private:
    void convert(const AVFrame& frame) {
        const auto count = static_cast<std::size_t>(frame.nb_samples);
        interleaved_.resize(count * static_cast<std::size_t>(codec_->ch_layout.nb_channels));
        auto* bytes = reinterpret_cast<std::uint8_t*>(interleaved_.data());
        samples_ +=
            swr_convert(converter_.get(), &bytes, frame.nb_samples,
                        const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    }

    CodecHandle codec_;
    Converter converter_;
    decltype(fw::libav::makeFrame()) frame_ = fw::libav::makeFrame();
    std::vector<std::int16_t> interleaved_;
    std::int64_t samples_ = 0;
};

std::int64_t decodeAll(const std::string& path) {
    const FormatHandle format = openMovie(path);
    const AVStream& stream = selectSound(*format);
    Decoding decoding(stream);
    const auto packet = fw::libav::makePacket();
    while (av_read_frame(format.get(), packet.get()) >= 0) {
        if (packet->stream_index == stream.index) {
            decoding.take(packet.get());
        }
        av_packet_unref(packet.get());
    }
    decoding.take(nullptr);
    return decoding.samples();
}

std::int64_t waveformPoints(const std::string& path) {
    const auto points = fw::FWAVFoundation::waveformDataForAsset(*fw::openLibavAsset(path));
    require(points.has_value(), "there is no waveform");
    return static_cast<std::int64_t>(points->size() / sizeof(float));
}

} // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    if (what != "waveform" && what != "decode") {
        std::fputs("usage: bench_sound waveform|decode MOVIE\n", stderr);
        return 64;
    }
    try {
        const std::int64_t count = what == "decode" ? decodeAll(argv[2]) : waveformPoints(argv[2]);
        std::printf("%lld\n", static_cast<long long>(count));
        printPeakMemory();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "bench_sound: %s\n", exception.what());
        return 1;
    }
    return 0;
}
