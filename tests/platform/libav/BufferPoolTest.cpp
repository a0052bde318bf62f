#include "platform/libav/BufferPool.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <thread>
#include <vector>

namespace fw::libav {
namespace {

using Buffer = std::shared_ptr<MemoryPixelBuffer>;

Buffer taken(BufferPool& pool, std::uint64_t width = 64) {
    return pool.take(PixelLayout::k2vuy, width, 48);
}

/// Of buffers that are all held at once.
std::set<const std::uint8_t*> memoryOf(const std::vector<Buffer>& buffers) {
    std::set<const std::uint8_t*> memory;
    for (const Buffer& buffer : buffers) {
        memory.insert(buffer->base());
    }
    return memory;
}

TEST(BufferPool, GivesABufferOfTheSizeAskedFor) {
    BufferPool pool;
    const Buffer buffer = taken(pool, 30);
    EXPECT_EQ(buffer->width(), 30U);
    EXPECT_EQ(buffer->height(), 48U);
    EXPECT_EQ(buffer->bytesPerRow(), MemoryPixelBuffer::bytesPerRow(PixelLayout::k2vuy, 30));
}

TEST(BufferPool, GivesNoBufferThatIsStillHeld) {
    BufferPool pool;
    const std::vector<Buffer> held = {taken(pool), taken(pool), taken(pool)};
    EXPECT_EQ(memoryOf(held).size(), 3U);
}

TEST(BufferPool, GivesEveryBufferThatWasLetGoAgain) {
    BufferPool pool;
    std::vector<Buffer> held = {taken(pool), taken(pool), taken(pool)};
    for (const Buffer& buffer : held) {
        buffer->bytes()[0] = 1;
    }
    held.clear();
    held = {taken(pool), taken(pool), taken(pool)};
    for (const Buffer& buffer : held) {
        EXPECT_EQ(buffer->base()[0], 1) << "a new one would be zero";
    }
}

TEST(BufferPool, GivesNoSpareOfAnotherSize) {
    BufferPool pool;
    taken(pool, 64).reset();
    const Buffer larger = taken(pool, 128);
    EXPECT_EQ(larger->width(), 128U);
    const Buffer asBefore = taken(pool, 64);
    EXPECT_EQ(asBefore->width(), 64U);
}

TEST(BufferPool, MayGoBeforeItsBuffers) {
    Buffer buffer;
    {
        BufferPool pool;
        buffer = taken(pool);
    }
    buffer->bytes()[0] = 1;
    EXPECT_EQ(buffer->base()[0], 1);
}

TEST(BufferPool, GivesABufferToOneAtATimeWhateverThreadLetsItGo) {
    BufferPool pool;
    std::array<std::jthread, 4> threads;
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto mark = static_cast<std::uint8_t>(i % 251);
        Buffer buffer = taken(pool);
        buffer->bytes()[0] = mark;
        threads[i % threads.size()] = std::jthread([mark, buffer = std::move(buffer)]() mutable {
            EXPECT_EQ(buffer->base()[0], mark);
            buffer.reset();
        });
    }
}

} // namespace
} // namespace fw::libav
