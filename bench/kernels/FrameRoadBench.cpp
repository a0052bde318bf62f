// The road of a frame from the decoder to a pixel buffer, step by step and whole: unpacking to
// planes, bringing them to 4:2:2 in the wanted depth, packing.
#include "bench/kernels/Correctness.h"
#include "bench/kernels/DecodedFrame.h"
#include "bench/kernels/RegisterBenchmarks.h"
#include "bench/kernels/TestFrames.h"
#include "platform/libav/FrameConverter.h"
#include "platform/libav/FrameUnpacker.h"
#include "platform/libav/Packers.h"
#include "platform/libav/VideoRangeConverter.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace fw::bench {
namespace {

using libav::PictureFormat;
using libav::PlanarPicture;

constexpr std::array<SourceKind, 3> kMovies = {{{"4:2:0 8 bit", AV_PIX_FMT_YUV420P},
                                                {"4:2:2 10 bit", AV_PIX_FMT_YUV422P10LE},
                                                {"4:4:4 12 bit", AV_PIX_FMT_YUV444P12LE}}};
/// Formats whose samples must be moved; those above are planes already.
constexpr std::array<SourceKind, 2> kPacked = {
    {{"uyvy 8 bit", AV_PIX_FMT_UYVY422}, {"rgb 8 bit", AV_PIX_FMT_RGB24}}};
/// What packing starts from, for each layout.
constexpr SourceKind k422p8 = {"4:2:2 8 bit", AV_PIX_FMT_YUV422P};
constexpr SourceKind k422p10 = kMovies[1];

PictureFormat formatOf(const AVFrame& frame) {
    return *libav::pictureFormatOf(frame, AV_CODEC_ID_H264);
}

PlanarPicture planesOf(const AVFrame& frame) {
    return libav::FrameUnpacker().unpack(frame, formatOf(frame));
}

int sampleAt(const PlanarPicture& picture, int plane, int x, int y) {
    const std::uint8_t* row = picture.row(plane, y);
    return picture.format.depth > 8 ? row[2 * x] | row[2 * x + 1] << 8 : row[x];
}

std::uint64_t bytesOf(const PictureFormat& format) {
    std::uint64_t samples = 0;
    for (int plane = 0; plane < format.planeCount(); ++plane) {
        samples += static_cast<std::uint64_t>(format.planeWidth(plane)) *
                   static_cast<std::uint64_t>(format.planeHeight(plane));
    }
    return samples * static_cast<std::uint64_t>(format.bytesPerSample());
}

/// The bytes that one round writes; a step that only hands its input on has none.
void setBytes(benchmark::State& state, std::uint64_t bytesARound) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesARound));
}

template <typename Equal>
bool holdsForPlane(const PlanarPicture& picture, int plane, Equal equal) {
    for (int y = 0; y < picture.format.planeHeight(plane); ++y) {
        for (int x = 0; x < picture.format.planeWidth(plane); ++x) {
            if (!equal(sampleAt(picture, plane, x, y), x, y)) {
                return false;
            }
        }
    }
    return true;
}

/// A code of `to` bits that is nearest to one of `from` bits, either one at a tie.
bool isNearest(int toCode, int to, int fromCode, int from) {
    const double exact = std::ldexp(fromCode, to - from);
    const double held = std::min(exact, std::ldexp(1, to) - 1);
    return std::abs(toCode - held) <= 0.5;
}

bool unpacksRight(const AVFrame& frame) {
    libav::FrameUnpacker unpacker;
    const PlanarPicture picture = unpacker.unpack(frame, formatOf(frame));
    const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    std::vector<std::uint16_t> row(static_cast<std::size_t>(frame.width));
    bool areEqual = true;
    for (int plane = 0; plane < picture.format.planeCount(); ++plane) {
        for (int y = 0; y < picture.format.planeHeight(plane); ++y) {
            std::array<const std::uint8_t*, 4> planes{frame.data[0], frame.data[1], frame.data[2],
                                                      frame.data[3]};
            const int width = picture.format.planeWidth(plane);
            av_read_image_line2(row.data(), planes.data(), frame.linesize, description, 0, y, plane,
                                width, 0, 2);
            for (int x = 0; x < width; ++x) {
                areEqual =
                    areEqual && sampleAt(picture, plane, x, y) == row[static_cast<std::size_t>(x)];
            }
        }
    }
    return areEqual;
}

void timeUnpacking(benchmark::State& state, const SourceKind& source, const FrameSize& size) {
    const auto& frames = decodedFrames(source, size);
    const bool areRight = std::all_of(frames.begin(), frames.end(),
                                      [](const auto& frame) { return unpacksRight(*frame); });
    if (!isRight(state, areRight)) {
        return;
    }
    libav::FrameUnpacker unpacker;
    const PictureFormat format = formatOf(*frames[0]);
    const std::uint8_t* unpacked = unpacker.unpack(*frames[0], format).data[0];
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(unpacker.unpack(*frames[next], format));
        next = (next + 1) % frames.size();
    }
    if (unpacked != frames[0]->data[0]) {
        setBytes(state, bytesOf(format));
    }
}

/// Luma, and of 4:2:2 the chroma, which only changes its depth. Chroma that is resampled is not
/// compared: no check of a scan depends on its exact codes.
bool convertsRight(const PlanarPicture& source, int depth) {
    libav::VideoRangeConverter converter;
    const PlanarPicture result = converter.convert(source, depth);
    const bool is422 = source.format.chromaShiftX == 1 && source.format.chromaShiftY == 0;
    bool areNearest = true;
    for (int plane = 0; plane < (is422 ? 3 : 1); ++plane) {
        areNearest =
            areNearest && holdsForPlane(result, plane, [&](int code, int x, int y) {
                return isNearest(code, depth, sampleAt(source, plane, x, y), source.format.depth);
            });
    }
    return areNearest;
}

void timeConverting(benchmark::State& state, const SourceKind& source, const FrameKind& kind) {
    std::vector<PlanarPicture> pictures;
    for (const auto& frame : decodedFrames(source, kind.size)) {
        pictures.push_back(planesOf(*frame));
    }
    const int depth = kind.bitDepth();
    const bool areRight = std::all_of(pictures.begin(), pictures.end(), [&](const auto& picture) {
        return convertsRight(picture, depth);
    });
    if (!isRight(state, areRight)) {
        return;
    }
    libav::VideoRangeConverter converter;
    const PlanarPicture converted = converter.convert(pictures[0], depth);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.convert(pictures[next], depth));
        next = (next + 1) % pictures.size();
    }
    if (converted.data != pictures[0].data) {
        setBytes(state, bytesOf(converted.format));
    }
}

MemoryPixelBuffer bufferFor(const FrameKind& kind) {
    const auto width = static_cast<std::uint64_t>(kind.size.width);
    return {width, static_cast<std::uint64_t>(kind.size.height),
            MemoryPixelBuffer::bytesPerRow(kind.layout, width)};
}

using Pack = void (*)(const PlanarPicture& picture, MemoryPixelBuffer& buffer);

/// Where a sample of a 4:2:2 picture is to be found in a row of a buffer.
std::uint64_t placeInRow(int plane, int x) {
    const auto column = static_cast<std::uint64_t>(x);
    return plane == 0 ? 2 * column + 1 : 4 * column + (plane == 1 ? 0U : 2U);
}

int packedSample(const PixelBuffer& buffer, const FrameKind& kind, int plane, int x, int y) {
    const std::uint8_t* row = buffer.base() + static_cast<std::uint64_t>(y) * buffer.bytesPerRow();
    return SampleSequence(kind.layout, row)[placeInRow(plane, x)];
}

bool packsRight(const PlanarPicture& picture, const FrameKind& kind, Pack pack) {
    MemoryPixelBuffer buffer = bufferFor(kind);
    pack(picture, buffer);
    bool areEqual = true;
    for (int plane = 0; plane < 3; ++plane) {
        areEqual = areEqual && holdsForPlane(picture, plane, [&](int sample, int x, int y) {
                       return packedSample(buffer, kind, plane, x, y) == sample;
                   });
    }
    return areEqual;
}

void timePacking(benchmark::State& state, const FrameKind& kind, Pack pack) {
    std::vector<PlanarPicture> pictures;
    for (const auto& frame : decodedFrames(kind.bitDepth() == 10 ? k422p10 : k422p8, kind.size)) {
        pictures.push_back(planesOf(*frame));
    }
    const bool areRight = std::all_of(pictures.begin(), pictures.end(), [&](const auto& picture) {
        return packsRight(picture, kind, pack);
    });
    if (!isRight(state, areRight)) {
        return;
    }
    MemoryPixelBuffer buffer = bufferFor(kind);
    std::size_t next = 0;
    for (auto _ : state) {
        pack(pictures[next], buffer);
        benchmark::ClobberMemory();
        next = (next + 1) % pictures.size();
    }
    setBytes(state, buffer.byteCount());
}

bool roadIsRight(const AVFrame& frame, const FrameKind& kind) {
    libav::FrameConverter converter(kind.layout, AV_CODEC_ID_H264);
    const auto buffer = converter.convert(frame);
    const PixelBufferLock lock(*buffer);
    const PlanarPicture source = planesOf(frame);
    return holdsForPlane(source, 0, [&](int luma, int x, int y) {
        return isNearest(packedSample(*buffer, kind, 0, x, y), kind.bitDepth(), luma,
                         source.format.depth);
    });
}

void timeRoad(benchmark::State& state, const SourceKind& source, const FrameKind& kind) {
    const auto& frames = decodedFrames(source, kind.size);
    const bool areRight = std::all_of(frames.begin(), frames.end(),
                                      [&](const auto& frame) { return roadIsRight(*frame, kind); });
    if (!isRight(state, areRight)) {
        return;
    }
    libav::FrameConverter converter(kind.layout, AV_CODEC_ID_H264);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.convert(*frames[next]));
        next = (next + 1) % frames.size();
    }
    setBytes(state, bufferFor(kind).byteCount());
}

template <typename... Arguments>
void registerRoad(const std::string& name, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), arguments...)->Unit(benchmark::kMillisecond);
}

void registerMovie(const SourceKind& movie, const FrameKind& kind) {
    const std::string form =
        std::string(" ") + movie.name + "/" + nameOf(kind.layout) + "/" + nameOf(kind.size);
    registerRoad("convert" + form, timeConverting, movie, kind);
    registerRoad("whole road" + form, timeRoad, movie, kind);
}

} // namespace

void registerBenchmarks() {
    for (const FrameSize& size : kFrameSizes) {
        for (const SourceKind& source :
             {kMovies[0], kMovies[1], kMovies[2], kPacked[0], kPacked[1]}) {
            registerRoad(std::string("unpack ") + source.name + "/planes/" + nameOf(size),
                         timeUnpacking, source, size);
        }
        for (const PixelLayout layout : kLayouts) {
            for (const SourceKind& movie : kMovies) {
                registerMovie(movie, {layout, size});
            }
        }
    }
    registerForFrames("pack", [](benchmark::State& state, const FrameKind& kind) {
        timePacking(state, kind,
                    kind.layout == PixelLayout::kV210 ? libav::packV210 : libav::pack2vuy);
    });
    for (const FrameSize& size : kFrameSizes) {
        registerRoad(std::string("pack, plain/v210/") + nameOf(size), timePacking,
                     FrameKind{PixelLayout::kV210, size}, libav::scalar::packV210);
    }
}

} // namespace fw::bench
