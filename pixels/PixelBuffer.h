#pragma once

#include <cstdint>

namespace fw {

/// How the samples of a frame lie in memory; both are 4:2:2 Y'CbCr in video range.
enum class PixelLayout {
    /// '2vuy': bytes Cb Y0 Cr Y1; rows of 2 x width bytes, width rounded up to even.
    k2vuy,
    /// 'v210': groups of four little-endian 32-bit words with three 10-bit samples each (bits 0-9,
    /// 10-19, 20-29: Cb0 Y0 Cr0, Y1 Cb2 Y2, Cr2 Y3 Cb4, Y4 Cr4 Y5); rows of 128 x ceil(width / 48)
    /// bytes. What lies beyond the picture is video black (Y 64, C 512).
    kV210,
};

/// The bytes past the end of every buffer that may be read; they are zero.
inline constexpr std::uint64_t kReadableBytesPastEnd = 16;

/// One decoded frame. Not thread-safe. Operations of a buffer of the machine may throw
/// PlatformException, but for unlock().
class PixelBuffer {
public:
    virtual ~PixelBuffer() = default;

    /// Makes the samples readable until the matching unlock(). Locks nest.
    virtual void lock() = 0;
    virtual void unlock() = 0;

    /// In pixels, without padding.
    virtual std::uint64_t width() const = 0;
    virtual std::uint64_t height() const = 0;

    /// The distance of two rows; rows lie top down, without gaps.
    virtual std::uint64_t bytesPerRow() const = 0;

    /// The first byte of the first row; height() x bytesPerRow() bytes, and
    /// kReadableBytesPastEnd zero bytes behind them. Only while locked.
    virtual const std::uint8_t* base() const = 0;
};

/// Keeps a buffer locked while it lives.
class PixelBufferLock {
public:
    explicit PixelBufferLock(PixelBuffer& buffer) : buffer_(buffer) { buffer_.lock(); }
    ~PixelBufferLock() { buffer_.unlock(); }
    PixelBufferLock(const PixelBufferLock&) = delete;
    PixelBufferLock& operator=(const PixelBufferLock&) = delete;

private:
    PixelBuffer& buffer_;
};

} // namespace fw
