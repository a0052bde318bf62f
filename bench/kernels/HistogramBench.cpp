// A frame reduced to its histogram, with conversion to RGB as a scan does, and the difference of
// two histograms.
#include "analysis/FWHistogram.h"
#include "analysis/kernels/HistogramKernel.h"
#include "bench/kernels/Correctness.h"
#include "bench/kernels/RegisterBenchmarks.h"
#include "bench/kernels/TestFrames.h"

#include <algorithm>
#include <cmath>

namespace fw::bench {
namespace {

FWHistogram histogramOf(MemoryPixelBuffer& frame, const FrameKind& kind) {
    return FWHistogram::histogramFromColorBuffer(frame, true,
                                                 static_cast<std::uint64_t>(kind.bitDepth()));
}

std::uint8_t wrapped(double value) {
    return static_cast<std::uint8_t>(static_cast<int>(value) & 0xFF);
}

/// Adds one colour, sample by sample, as the rule says it.
void addColour(FWHistogram& histogram, std::array<std::uint8_t, 3> rgb, float bytes) {
    const int bucket = rgb[0] / 64 * 16 + rgb[1] / 64 * 4 + rgb[2] / 64;
    histogram.incrementValue(static_cast<std::uint8_t>(bucket));
    histogram.setRAverage(histogram.rAverage() + static_cast<float>(rgb[0]) / bytes);
    histogram.setGAverage(histogram.gAverage() + static_cast<float>(rgb[1]) / bytes);
    histogram.setBAverage(histogram.bAverage() + static_cast<float>(rgb[2]) / bytes);
}

FWHistogram plainHistogram8(const MemoryPixelBuffer& frame) {
    FWHistogram histogram;
    for (std::uint64_t i = 0; i < frame.byteCount(); i += 4) {
        const std::uint8_t* group = frame.base() + i;
        const double y = (group[1] - 16) * 1.1643835616438356;
        const double cb = group[2] - 128;
        const double cr = group[3] - 128;
        addColour(histogram,
                  {wrapped(y + cr * 1.5960267857142858),
                   wrapped(y + cb * -0.39176229009491365 + cr * -0.8129676472377709),
                   wrapped(y + cb * 2.017232142857143)},
                  static_cast<float>(frame.byteCount()));
    }
    return histogram;
}

FWHistogram plainHistogram10(const MemoryPixelBuffer& frame) {
    const SampleSequence samples(PixelLayout::kV210, frame.base());
    FWHistogram histogram;
    for (std::uint64_t i = 0; i < samples.count(frame.byteCount()); i += 6) {
        const double y = samples[i + 1];
        const double cb = samples[i + 3] - 128;
        const double cr = samples[i + 5] - 128;
        addColour(histogram,
                  {wrapped(y + cr * 1.402), wrapped(y + cb * -0.34414 + cr * -0.71414),
                   wrapped(y + cb * 1.772)},
                  static_cast<float>(frame.byteCount()));
    }
    return histogram;
}

bool areEqual(const FWHistogram& a, const FWHistogram& b) {
    return a.buckets() == b.buckets() && a.rAverage() == b.rAverage() &&
           a.gAverage() == b.gAverage() && a.bAverage() == b.bAverage();
}

void timeHistogram(benchmark::State& state, const FrameKind& kind) {
    auto& frames = testFrames(kind);
    const auto plain = kind.bitDepth() == 10 ? plainHistogram10 : plainHistogram8;
    const bool isSame = std::all_of(frames.begin(), frames.end(), [&](auto& frame) {
        return areEqual(histogramOf(frame, kind), plain(frame));
    });
    if (!isRight(state, isSame)) {
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(histogramOf(frames[next], kind));
        next = (next + 1) % frames.size();
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(frames.front().byteCount()));
}

/// The walk of machines without a faster one.
void timePlainHistogram(benchmark::State& state, const FrameKind& kind) {
    auto& frames = testFrames(kind);
    const bool isTenBit = kind.bitDepth() == 10;
    const auto fast = isTenBit ? sumVideoColor10 : sumVideoColor8;
    const auto plain = isTenBit ? scalar::sumVideoColor10 : scalar::sumVideoColor8;
    const bool isSame = std::all_of(frames.begin(), frames.end(), [&](const auto& frame) {
        return plain(frame.base(), frame.byteCount()) == fast(frame.base(), frame.byteCount());
    });
    if (!isRight(state, isSame)) {
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(plain(frames[next].base(), frames[next].byteCount()));
        next = (next + 1) % frames.size();
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(frames.front().byteCount()));
}

float plainDifference(const FWHistogram& a, const FWHistogram& b) {
    float sum = 0;
    for (std::size_t i = 0; i < FWHistogram::kBucketCount; ++i) {
        sum += static_cast<float>(std::abs(a.buckets()[i] - b.buckets()[i]));
    }
    return sum;
}

void timeDifference(benchmark::State& state) {
    const FrameKind kind{PixelLayout::k2vuy, kFrameSizes[0]};
    std::vector<FWHistogram> histograms;
    for (auto& frame : testFrames(kind)) {
        histograms.push_back(histogramOf(frame, kind));
    }
    const bool isSame = std::all_of(histograms.begin(), histograms.end(), [&](const auto& other) {
        return histograms[0].difference(&other) == plainDifference(histograms[0], other);
    });
    if (!isRight(state, isSame)) {
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        const std::size_t after = (next + 1) % histograms.size();
        benchmark::DoNotOptimize(histograms[next].difference(&histograms[after]));
        next = after;
    }
}

} // namespace

void registerBenchmarks() {
    registerForFrames("histogram", timeHistogram);
    registerForFrames("histogram, plain", timePlainHistogram);
    benchmark::RegisterBenchmark("histogram difference", timeDifference);
}

} // namespace fw::bench
