#pragma once

#include "pixels/MemoryPixelBuffer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace fw::libav {

/// Pixel buffers that are used again: fresh memory for every frame costs several times the
/// conversion itself in page faults. Buffers may outlive the pool and be let go on any thread.
class BufferPool {
public:
    /// A buffer with unspecified samples. Throws std::bad_alloc.
    std::shared_ptr<MemoryPixelBuffer> take(PixelLayout layout, std::uint64_t width,
                                            std::uint64_t height);

private:
    struct Shelf {
        std::mutex mutex;
        std::vector<std::unique_ptr<MemoryPixelBuffer>> buffers;
    };
    std::shared_ptr<Shelf> shelf_ = std::make_shared<Shelf>();
};

} // namespace fw::libav
