// The scan of all luma samples of a frame for values beyond the reference levels.
#include "analysis/kernels/LumaKernel.h"
#include "bench/kernels/Correctness.h"
#include "bench/kernels/RegisterBenchmarks.h"
#include "bench/kernels/TestFrames.h"

#include <algorithm>

namespace fw::bench {
namespace {

struct Levels {
    std::int64_t black;
    std::int64_t white;
};

Levels referenceLevels(const FrameKind& kind) {
    return kind.bitDepth() == 10 ? Levels{64, 940} : Levels{16, 235};
}

using Scan = LumaCounts (*)(const std::uint8_t* base, std::uint64_t byteCount,
                            std::int64_t refBlack, std::int64_t refWhite);

LumaCounts scanLuma(const MemoryPixelBuffer& frame, const FrameKind& kind, Scan scan) {
    const Levels levels = referenceLevels(kind);
    return scan(frame.base(), frame.byteCount(), levels.black, levels.white);
}

LumaCounts plainCounts(const MemoryPixelBuffer& frame, const FrameKind& kind) {
    const SampleSequence samples(kind.layout, frame.base());
    const Levels levels = referenceLevels(kind);
    LumaCounts counts{0, 0, (std::int64_t{1} << kind.bitDepth()) - 1, 0};
    for (std::uint64_t i = 1; i < samples.count(frame.byteCount()); i += 2) {
        const std::int64_t luma = samples[i];
        if (luma > levels.white) {
            ++counts.whiteCount;
            counts.highestWhite = std::max(counts.highestWhite, luma);
        } else if (luma < levels.black) {
            ++counts.blackCount;
            counts.lowestBlack = std::min(counts.lowestBlack, luma);
        }
    }
    return counts;
}

void timeLumaScan(benchmark::State& state, const FrameKind& kind, Scan scan) {
    const auto& frames = testFrames(kind);
    const bool areEqual = std::all_of(frames.begin(), frames.end(), [&](const auto& frame) {
        return scanLuma(frame, kind, scan) == plainCounts(frame, kind);
    });
    if (!isRight(state, areEqual)) {
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(scanLuma(frames[next], kind, scan));
        next = (next + 1) % frames.size();
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(frames.front().byteCount()));
}

} // namespace

void registerBenchmarks() {
    registerForFrames("luma scan", [](benchmark::State& state, const FrameKind& kind) {
        timeLumaScan(state, kind, kind.bitDepth() == 10 ? scanLuma10 : scanLuma8);
    });
    registerForFrames("luma scan, plain", [](benchmark::State& state, const FrameKind& kind) {
        timeLumaScan(state, kind, kind.bitDepth() == 10 ? scalar::scanLuma10 : scalar::scanLuma8);
    });
}

} // namespace fw::bench
