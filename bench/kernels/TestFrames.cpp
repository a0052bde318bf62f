#include "bench/kernels/TestFrames.h"

#include "bench/kernels/NaturalPlane.h"

#include <map>
#include <utility>

namespace fw::bench {
namespace {

constexpr std::uint32_t kFrameCount = 4;

/// Puts the next samples of a row into its memory.
class RowWriter {
public:
    RowWriter(PixelLayout layout, std::uint8_t* row) : layout_(layout), row_(row) {}

    void put(int sample) {
        if (layout_ == PixelLayout::k2vuy) {
            row_[next_] = static_cast<std::uint8_t>(sample);
        } else {
            const std::uint32_t bits = static_cast<std::uint32_t>(sample) << (10 * (next_ % 3));
            for (std::size_t byte = 0; byte < 4; ++byte) {
                row_[next_ / 3 * 4 + byte] |= static_cast<std::uint8_t>(bits >> (8 * byte));
            }
        }
        ++next_;
    }

private:
    PixelLayout layout_;
    std::uint8_t* row_;
    std::size_t next_ = 0;
};

/// All samples zero; both sizes fill their rows in both layouts.
MemoryPixelBuffer emptyFrame(const FrameKind& kind) {
    const auto width = static_cast<std::uint64_t>(kind.size.width);
    return {width, static_cast<std::uint64_t>(kind.size.height),
            MemoryPixelBuffer::bytesPerRow(kind.layout, width)};
}

template <typename Sample>
void fillFrame(MemoryPixelBuffer& frame, const FrameKind& kind, Sample sample) {
    for (int y = 0; y < kind.size.height; ++y) {
        RowWriter row(kind.layout, frame.row(static_cast<std::uint64_t>(y)));
        for (int x = 0; x < kind.size.width; ++x) {
            row.put(sample(x % 2 == 0 ? 1 : 2, x / 2, y));
            row.put(sample(0, x, y));
        }
    }
}

MemoryPixelBuffer naturalFrame(const FrameKind& kind, std::uint32_t seed) {
    const auto [width, height] = kind.size;
    const int depth = kind.bitDepth();
    const std::array<std::vector<std::uint16_t>, 3> planes = {
        naturalPlane(width, height, depth, seed), naturalPlane(width / 2, height, depth, seed + 1),
        naturalPlane(width / 2, height, depth, seed + 2)};
    MemoryPixelBuffer frame = emptyFrame(kind);
    fillFrame(frame, kind, [&, luma = width](std::size_t plane, int x, int y) {
        const int planeWidth = plane == 0 ? luma : luma / 2;
        return planes[plane][static_cast<std::size_t>(y * planeWidth + x)];
    });
    return frame;
}

} // namespace

std::string nameOf(PixelLayout layout) {
    return layout == PixelLayout::kV210 ? "v210" : "2vuy";
}

std::string nameOf(const FrameSize& size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

void registerForFrames(const std::string& name,
                       void (*benchmark)(benchmark::State& state, const FrameKind& kind)) {
    for (const PixelLayout layout : kLayouts) {
        for (const FrameSize& size : kFrameSizes) {
            const std::string fullName = name + "/" + nameOf(layout) + "/" + nameOf(size);
            benchmark::RegisterBenchmark(fullName.c_str(), benchmark, FrameKind{layout, size})
                ->Unit(benchmark::kMillisecond);
        }
    }
}

std::vector<MemoryPixelBuffer>& testFrames(const FrameKind& kind) {
    static std::map<std::pair<PixelLayout, int>, std::vector<MemoryPixelBuffer>> made;
    auto& frames = made[{kind.layout, kind.size.width}];
    for (auto i = static_cast<std::uint32_t>(frames.size()); i < kFrameCount; ++i) {
        frames.push_back(naturalFrame(kind, 1 + 3 * i));
    }
    return frames;
}

MemoryPixelBuffer plainFrame(const FrameKind& kind, int y, int cb, int cr) {
    const std::array<int, 3> colour = {y, cb, cr};
    MemoryPixelBuffer frame = emptyFrame(kind);
    fillFrame(frame, kind, [&, shift = kind.bitDepth() - 8](std::size_t plane, int, int) {
        return colour[plane] << shift;
    });
    return frame;
}

int SampleSequence::operator[](std::uint64_t index) const {
    if (layout_ == PixelLayout::k2vuy) {
        return base_[index];
    }
    const std::uint8_t* word = base_ + index / 3 * 4;
    const std::uint32_t bits = std::uint32_t{word[0]} | std::uint32_t{word[1]} << 8 |
                               std::uint32_t{word[2]} << 16 | std::uint32_t{word[3]} << 24;
    return static_cast<int>(bits >> (10 * (index % 3)) & 0x3FF);
}

} // namespace fw::bench
