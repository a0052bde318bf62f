#include "pixels/MemoryPixelBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <vector>

namespace fw {
namespace {

constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();

std::uint64_t rowOf2vuy(std::uint64_t width) {
    return MemoryPixelBuffer::bytesPerRow(PixelLayout::k2vuy, width);
}

std::uint64_t rowOfV210(std::uint64_t width) {
    return MemoryPixelBuffer::bytesPerRow(PixelLayout::kV210, width);
}

TEST(BytesPerRow, of_2vuy_are_two_a_pixel_with_the_width_rounded_up_to_even) {
    EXPECT_EQ(rowOf2vuy(0), 0U);
    EXPECT_EQ(rowOf2vuy(1), 4U);
    EXPECT_EQ(rowOf2vuy(2), 4U);
    EXPECT_EQ(rowOf2vuy(3), 8U);
    EXPECT_EQ(rowOf2vuy(1920), 3840U);
}

TEST(BytesPerRow, of_v210_are_128_for_each_begun_48_pixels) {
    EXPECT_EQ(rowOfV210(0), 0U);
    EXPECT_EQ(rowOfV210(1), 128U);
    EXPECT_EQ(rowOfV210(48), 128U);
    EXPECT_EQ(rowOfV210(49), 256U);
    EXPECT_EQ(rowOfV210(720), 1920U);
    EXPECT_EQ(rowOfV210(1280), 3456U);
    EXPECT_EQ(rowOfV210(1920), 5120U);
}

TEST(BytesPerRow, of_a_width_beyond_all_memory_do_not_wrap) {
    for (const std::uint64_t width : {kMost, kMost - 1, kMost / 2 + 1}) {
        EXPECT_EQ(rowOf2vuy(width), kMost);
        EXPECT_EQ(rowOfV210(width), kMost);
        EXPECT_THROW(MemoryPixelBuffer(width, 1, rowOf2vuy(width)), std::bad_alloc);
    }
}

TEST(MemoryPixelBuffer, tells_its_measures) {
    const MemoryPixelBuffer buffer(5, 3, 12);
    EXPECT_EQ(buffer.width(), 5U);
    EXPECT_EQ(buffer.height(), 3U);
    EXPECT_EQ(buffer.bytesPerRow(), 12U);
    EXPECT_EQ(buffer.byteCount(), 36U);
}

TEST(MemoryPixelBuffer, begins_at_a_64_byte_border_whatever_its_size) {
    std::vector<std::unique_ptr<MemoryPixelBuffer>> kept;
    for (std::uint64_t bytes = 0; bytes < 200; ++bytes) {
        kept.push_back(std::make_unique<MemoryPixelBuffer>(1, 1, bytes));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(kept.back()->base()) % 64, 0U) << bytes;
    }
}

TEST(MemoryPixelBuffer, is_zero_and_has_16_zero_bytes_behind_its_end) {
    for (std::uint64_t bytes = 0; bytes < 200; ++bytes) {
        const MemoryPixelBuffer buffer(1, 2, bytes);
        for (std::uint64_t i = 0; i < buffer.byteCount() + kReadableBytesPastEnd; ++i) {
            ASSERT_EQ(buffer.base()[i], 0) << bytes << " bytes a row, byte " << i;
        }
    }
}

TEST(MemoryPixelBuffer, keeps_the_tail_zero_when_every_row_is_written) {
    MemoryPixelBuffer buffer(24, 7, rowOf2vuy(24));
    for (std::uint64_t y = 0; y < buffer.height(); ++y) {
        std::memset(buffer.row(y), 0xFF, buffer.bytesPerRow());
    }
    EXPECT_EQ(buffer.base()[buffer.byteCount() - 1], 0xFF);
    for (std::uint64_t i = 0; i < kReadableBytesPastEnd; ++i) {
        EXPECT_EQ(buffer.base()[buffer.byteCount() + i], 0);
    }
}

TEST(MemoryPixelBuffer, lays_its_rows_top_down_without_gaps) {
    MemoryPixelBuffer buffer(4, 3, 8);
    EXPECT_EQ(buffer.row(0), buffer.bytes());
    EXPECT_EQ(buffer.row(1), buffer.bytes() + 8);
    EXPECT_EQ(buffer.row(2), buffer.bytes() + 16);
    EXPECT_EQ(buffer.base(), buffer.bytes());
}

TEST(MemoryPixelBuffer, of_no_rows_or_no_width_still_has_its_tail) {
    for (const MemoryPixelBuffer& buffer :
         {MemoryPixelBuffer(16, 0, 32), MemoryPixelBuffer(0, 9, 0)}) {
        EXPECT_EQ(buffer.byteCount(), 0U);
        ASSERT_NE(buffer.base(), nullptr);
        EXPECT_EQ(buffer.base()[kReadableBytesPastEnd - 1], 0);
    }
}

TEST(MemoryPixelBuffer, refuses_a_size_that_does_not_fit_in_63_bits) {
    constexpr auto kSigned = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    EXPECT_THROW(MemoryPixelBuffer(1, kMost, kMost), std::bad_alloc);
    EXPECT_THROW(MemoryPixelBuffer(1, 1ULL << 32, 1ULL << 32), std::bad_alloc);
    EXPECT_THROW(MemoryPixelBuffer(1, 1, kMost), std::bad_alloc);
    EXPECT_THROW(MemoryPixelBuffer(1, 1, kSigned + 1), std::bad_alloc);
    EXPECT_THROW(MemoryPixelBuffer(1, 1, kSigned - 8), std::bad_alloc);
}

/// Counts the locks it holds.
class CountingBuffer final : public PixelBuffer {
public:
    void lock() override { ++locks; }
    void unlock() override { --locks; }
    std::uint64_t width() const override { return 0; }
    std::uint64_t height() const override { return 0; }
    std::uint64_t bytesPerRow() const override { return 0; }
    const std::uint8_t* base() const override { return nullptr; }

    int locks = 0;
};

TEST(PixelBufferLock, holds_a_lock_while_it_lives_and_nests) {
    CountingBuffer buffer;
    {
        const PixelBufferLock outer(buffer);
        EXPECT_EQ(buffer.locks, 1);
        {
            const PixelBufferLock inner(buffer);
            EXPECT_EQ(buffer.locks, 2);
        }
        EXPECT_EQ(buffer.locks, 1);
    }
    EXPECT_EQ(buffer.locks, 0);
}

TEST(PixelBufferLock, lets_go_when_an_exception_passes) {
    CountingBuffer buffer;
    EXPECT_THROW(
        {
            const PixelBufferLock lock(buffer);
            throw std::bad_alloc();
        },
        std::bad_alloc);
    EXPECT_EQ(buffer.locks, 0);
}

} // namespace
} // namespace fw
