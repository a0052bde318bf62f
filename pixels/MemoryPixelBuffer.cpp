#include "pixels/MemoryPixelBuffer.h"

#include <cstring>
#include <limits>
#include <new>

namespace fw {
namespace {

constexpr std::uint64_t kAlignment = 64;

std::uint8_t* allocateZeroed(std::uint64_t height, std::uint64_t bytesPerRow) {
    std::uint64_t size = 0;
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (__builtin_mul_overflow(height, bytesPerRow, &size) ||
        size > kMost - kReadableBytesPastEnd - kAlignment) {
        throw std::bad_alloc();
    }
    size = (size + kReadableBytesPastEnd + kAlignment - 1) / kAlignment * kAlignment;
    auto* bytes = static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, size));
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(bytes, 0, size);
    return bytes;
}

/// The pixels that a row is filled up to whole units of, and the bytes of one unit.
struct RowUnit {
    std::uint64_t pixels = 1;
    std::uint64_t bytes = 0;
};

RowUnit rowUnit(PixelLayout layout) {
    switch (layout) {
    case PixelLayout::k2vuy:
        return {2, 4};
    case PixelLayout::kV210:
        return {48, 128};
    }
    return {};
}

} // namespace

MemoryPixelBuffer::MemoryPixelBuffer(std::uint64_t width, std::uint64_t height,
                                     std::uint64_t bytesPerRow)
    : width_(width), height_(height), bytesPerRow_(bytesPerRow),
      bytes_(allocateZeroed(height, bytesPerRow)) {}

std::uint64_t MemoryPixelBuffer::bytesPerRow(PixelLayout layout, std::uint64_t width) {
    const RowUnit unit = rowUnit(layout);
    const std::uint64_t units = width / unit.pixels + (width % unit.pixels == 0 ? 0 : 1);
    std::uint64_t bytes = 0;
    return __builtin_mul_overflow(units, unit.bytes, &bytes)
               ? std::numeric_limits<std::uint64_t>::max()
               : bytes;
}

} // namespace fw
