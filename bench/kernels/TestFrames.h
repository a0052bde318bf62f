#pragma once

#include "pixels/MemoryPixelBuffer.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <vector>

namespace fw::bench {

struct FrameSize {
    int width = 0;
    int height = 0;
};

inline constexpr std::array<FrameSize, 2> kFrameSizes = {{{1920, 1080}, {3840, 2160}}};
inline constexpr std::array<PixelLayout, 2> kLayouts = {PixelLayout::k2vuy, PixelLayout::kV210};

/// The form of a frame of a benchmark.
struct FrameKind {
    PixelLayout layout = PixelLayout::k2vuy;
    FrameSize size;

    int bitDepth() const { return layout == PixelLayout::kV210 ? 10 : 8; }
};

/// "2vuy" or "v210".
std::string nameOf(PixelLayout layout);
/// "1920x1080".
std::string nameOf(const FrameSize& size);

/// Registers `name`/LAYOUT/SIZE for both layouts and sizes, timed in milliseconds.
void registerForFrames(const std::string& name,
                       void (*benchmark)(benchmark::State& state, const FrameKind& kind));

/// A few different invented pictures; a benchmark takes one after the other, so that nothing
/// learns one picture by heart. Made at the first call and kept.
std::vector<MemoryPixelBuffer>& testFrames(const FrameKind& kind);

/// A frame of one colour, in codes of 8 bits.
MemoryPixelBuffer plainFrame(const FrameKind& kind, int y, int cb, int cr);

/// The samples of a buffer in the order of the memory, which is Cb Y Cr Y in both layouts: bytes,
/// or thirds of little-endian words.
class SampleSequence {
public:
    SampleSequence(PixelLayout layout, const std::uint8_t* base) : layout_(layout), base_(base) {}

    int operator[](std::uint64_t index) const;
    /// Of `byteCount` bytes.
    std::uint64_t count(std::uint64_t byteCount) const {
        return layout_ == PixelLayout::kV210 ? byteCount / 4 * 3 : byteCount;
    }

private:
    PixelLayout layout_;
    const std::uint8_t* base_;
};

} // namespace fw::bench
