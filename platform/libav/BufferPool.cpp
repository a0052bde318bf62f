#include "platform/libav/BufferPool.h"

#include <functional>

namespace fw::libav {

std::shared_ptr<MemoryPixelBuffer> BufferPool::take(PixelLayout layout, std::uint64_t width,
                                                    std::uint64_t height) {
    const std::uint64_t bytesPerRow = MemoryPixelBuffer::bytesPerRow(layout, width);
    std::unique_ptr<MemoryPixelBuffer> buffer;
    {
        const std::lock_guard lock(shelf_->mutex);
        const auto fits = [&](const std::unique_ptr<MemoryPixelBuffer>& kept) {
            return kept->width() == width && kept->height() == height &&
                   kept->bytesPerRow() == bytesPerRow;
        };
        // A buffer of another size will not be asked for again: the movie has changed its size.
        std::erase_if(shelf_->buffers, std::not_fn(fits));
        if (!shelf_->buffers.empty()) {
            buffer = std::move(shelf_->buffers.back());
            shelf_->buffers.pop_back();
        }
    }
    if (!buffer) {
        buffer = std::make_unique<MemoryPixelBuffer>(width, height, bytesPerRow);
    }
    const auto putBack = [shelf = shelf_](MemoryPixelBuffer* returned) {
        std::unique_ptr<MemoryPixelBuffer> owned(returned);
        const std::lock_guard lock(shelf->mutex);
        shelf->buffers.push_back(std::move(owned));
    };
    return {buffer.release(), putBack};
}

} // namespace fw::libav
