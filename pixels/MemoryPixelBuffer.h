#pragma once

#include "pixels/PixelBuffer.h"

#include <cstdlib>
#include <memory>

namespace fw {

/// A frame in memory of its own.
class MemoryPixelBuffer final : public PixelBuffer {
public:
    /// All samples zero. Throws std::bad_alloc, also when the size does not fit in 63 bits.
    MemoryPixelBuffer(std::uint64_t width, std::uint64_t height, std::uint64_t bytesPerRow);

    /// The bytes of a row of `width` pixels in a layout; held at the largest value, with which no
    /// buffer can be made.
    static std::uint64_t bytesPerRow(PixelLayout layout, std::uint64_t width);

    void lock() override {}
    void unlock() override {}
    std::uint64_t width() const override { return width_; }
    std::uint64_t height() const override { return height_; }
    std::uint64_t bytesPerRow() const override { return bytesPerRow_; }
    const std::uint8_t* base() const override { return bytes_.get(); }

    /// Aligned to 64 bytes.
    std::uint8_t* bytes() { return bytes_.get(); }
    std::uint8_t* row(std::uint64_t index) { return bytes_.get() + index * bytesPerRow_; }
    std::uint64_t byteCount() const { return height_ * bytesPerRow_; }

private:
    struct Free {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };

    std::uint64_t width_;
    std::uint64_t height_;
    std::uint64_t bytesPerRow_;
    std::unique_ptr<std::uint8_t[], Free> bytes_;
};

} // namespace fw
