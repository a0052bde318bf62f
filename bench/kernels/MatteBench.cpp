// The check of black mattes in a frame of 16:9: letterbox (2.39) on matted pictures, pillarbox
// (4:3) on pictures without bars, and both on a black frame, which takes the most work.
#include "analysis/MatteCheck.h"
#include "bench/kernels/Correctness.h"
#include "bench/kernels/PlainMatteCheck.h"
#include "bench/kernels/RegisterBenchmarks.h"
#include "bench/kernels/TestFrames.h"

#include <algorithm>
#include <cstring>

namespace fw::bench {
namespace {

constexpr double kLetterbox = 2.39;
constexpr double kPillarbox = 4.0 / 3.0;

std::optional<std::vector<std::string>> check(MemoryPixelBuffer& frame, const FrameKind& kind,
                                              double aspectRatio) {
    return matte::checkAspectRatio(frame, aspectRatio, kind.bitDepth());
}

void timeCheck(benchmark::State& state, const FrameKind& kind, double aspectRatio,
               std::vector<MemoryPixelBuffer>& frames) {
    const bool areEqual = std::all_of(frames.begin(), frames.end(), [&](auto& frame) {
        return check(frame, kind, aspectRatio) == plainMatteCheck(frame, kind, aspectRatio);
    });
    if (!isRight(state, areEqual)) {
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(check(frames[next], kind, aspectRatio));
        next = (next + 1) % frames.size();
    }
}

/// Black over the rows that a letterbox leaves free.
void letterbox(MemoryPixelBuffer& frame, const MemoryPixelBuffer& black) {
    const double spareRows =
        static_cast<double>(frame.height()) - static_cast<double>(frame.width()) / kLetterbox;
    const auto barRows = static_cast<std::uint64_t>(spareRows / 2);
    const std::uint64_t barBytes = barRows * frame.bytesPerRow();
    std::memcpy(frame.bytes(), black.base(), barBytes);
    std::memcpy(frame.row(frame.height() - barRows), black.base(), barBytes);
}

void timeLetterboxed(benchmark::State& state, const FrameKind& kind) {
    const MemoryPixelBuffer black = plainFrame(kind, 16, 128, 128);
    std::vector<MemoryPixelBuffer> frames;
    for (const MemoryPixelBuffer& picture : testFrames(kind)) {
        frames.push_back(plainFrame(kind, 16, 128, 128));
        std::memcpy(frames.back().bytes(), picture.base(), picture.byteCount());
        letterbox(frames.back(), black);
    }
    timeCheck(state, kind, kLetterbox, frames);
}

void timePillarboxOfPictures(benchmark::State& state, const FrameKind& kind) {
    timeCheck(state, kind, kPillarbox, testFrames(kind));
}

void timeBlack(benchmark::State& state, const FrameKind& kind, double aspectRatio) {
    std::vector<MemoryPixelBuffer> frames;
    frames.push_back(plainFrame(kind, 16, 128, 128));
    timeCheck(state, kind, aspectRatio, frames);
}

} // namespace

void registerBenchmarks() {
    registerForFrames("letterbox check, matted picture", timeLetterboxed);
    registerForFrames(
        "letterbox check, black frame",
        [](benchmark::State& state, const FrameKind& kind) { timeBlack(state, kind, kLetterbox); });
    registerForFrames("pillarbox check, picture", timePillarboxOfPictures);
    registerForFrames(
        "pillarbox check, black frame",
        [](benchmark::State& state, const FrameKind& kind) { timeBlack(state, kind, kPillarbox); });
}

} // namespace fw::bench
