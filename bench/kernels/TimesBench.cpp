// The arithmetic of one frame's number and timecode. It runs once a frame at most, so what matters
// is only that it stays far below a frame's other work.
#include "bench/kernels/Correctness.h"
#include "bench/kernels/RegisterBenchmarks.h"
#include "media/FrameNumber.h"
#include "timecode/FWTimecode.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

namespace fw::bench {
namespace {

constexpr FrameRate kRate{30000, 1001};
constexpr std::int64_t kFramesADay = 2589408;
/// Steps through the day that never meet a pattern of the counting.
constexpr std::int64_t kStep = 1009;

std::int64_t following(std::int64_t frame) {
    return (frame + kStep) % kFramesADay;
}

MediaTime timeOf(std::int64_t frame) {
    return MediaTime::make(frame * 1001, 30000);
}

void timeFrameNumber(benchmark::State& state) {
    const float rate = nominalFrameRate(kRate);
    bool areEqual = true;
    for (std::int64_t frame = 0; frame < kFramesADay; ++frame) {
        areEqual = areEqual && frameNumberAtTime(timeOf(frame), rate) == frame;
    }
    if (!isRight(state, areEqual)) {
        return;
    }
    std::int64_t frame = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(frameNumberAtTime(timeOf(frame), rate));
        frame = following(frame);
    }
}

std::string timecodeOf(std::int64_t frame) {
    return FWTimecode::timecodeFromFrameCount(static_cast<std::uint64_t>(frame), 30, true, false,
                                              0);
}

std::string plainTimecode(std::int64_t frame) {
    return fmt::format("{:02}:{:02}:{:02}:{:02}", frame / 108000, frame / 1800 % 60,
                       frame / 30 % 60, frame % 30);
}

void timeTimecode(benchmark::State& state) {
    bool areEqual = true;
    for (std::int64_t frame = 0; frame < kFramesADay; frame += kStep) {
        areEqual = areEqual && timecodeOf(frame) == plainTimecode(frame);
    }
    if (!isRight(state, areEqual)) {
        return;
    }
    std::int64_t frame = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(timecodeOf(frame));
        frame = following(frame);
    }
}

} // namespace

void registerBenchmarks() {
    benchmark::RegisterBenchmark("frame number of a time", timeFrameNumber);
    benchmark::RegisterBenchmark("timecode of a frame count", timeTimecode);
}

} // namespace fw::bench
