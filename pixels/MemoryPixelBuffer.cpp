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

} // namespace

MemoryPixelBuffer::MemoryPixelBuffer(std::uint64_t width, std::uint64_t height,
                                     std::uint64_t bytesPerRow)
    : width_(width), height_(height), bytesPerRow_(bytesPerRow),
      bytes_(allocateZeroed(height, bytesPerRow)) {}

std::uint64_t MemoryPixelBuffer::bytesPerRow(PixelLayout layout, std::uint64_t width) {
    switch (layout) {
    case PixelLayout::k2vuy:
        return (width + width % 2) * 2;
    case PixelLayout::kV210:
        return (width + 47) / 48 * 128;
    }
    return 0;
}

} // namespace fw
