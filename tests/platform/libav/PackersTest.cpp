#include "platform/libav/Packers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

namespace fw::libav {
namespace {

/// Random samples of all codes in planes of their own.
struct RandomPicture {
    RandomPicture(int width, int height, int depth, bool isGray) {
        picture.format.family = isGray ? SampleFamily::kGray : SampleFamily::kYuv;
        picture.format.depth = depth;
        picture.format.chromaShiftX = isGray ? 0 : 1;
        picture.format.width = width;
        picture.format.height = height;
        std::mt19937 random(static_cast<unsigned>(width * 31 + height));
        for (int plane = 0; plane < picture.format.planeCount(); ++plane) {
            auto& samples = planes[static_cast<std::size_t>(plane)];
            const int planeWidth = picture.format.planeWidth(plane);
            samples.resize(static_cast<std::size_t>(planeWidth * height));
            for (auto& sample : samples) {
                sample = static_cast<std::uint16_t>(random() % (1U << depth));
            }
            auto& bytes = memory[static_cast<std::size_t>(plane)];
            const auto size = static_cast<std::size_t>(picture.format.bytesPerSample());
            bytes.resize(samples.size() * size);
            for (std::size_t i = 0; i < samples.size(); ++i) {
                std::memcpy(&bytes[i * size], &samples[i], size);
            }
            picture.data[static_cast<std::size_t>(plane)] = bytes.data();
            picture.stride[static_cast<std::size_t>(plane)] =
                planeWidth * picture.format.bytesPerSample();
        }
    }

    int sample(int plane, int x, int y) const {
        return planes[static_cast<std::size_t>(plane)]
                     [static_cast<std::size_t>(y * picture.format.planeWidth(plane) + x)];
    }

    PlanarPicture picture;
    std::array<std::vector<std::uint16_t>, 3> planes;
    std::array<std::vector<std::uint8_t>, 3> memory;
};

TEST(Pack2vuy, interleavesCbYCrYAndRepeatsTheLastSampleOfAnOddRow) {
    for (const bool isGray : {false, true}) {
        for (int width = 1; width <= 70; ++width) {
            const RandomPicture source(width, 3, 8, isGray);
            const auto w = static_cast<std::uint64_t>(width);
            MemoryPixelBuffer buffer(w, 3, MemoryPixelBuffer::bytesPerRow(PixelLayout::k2vuy, w));
            pack2vuy(source.picture, buffer);
            for (int y = 0; y < 3; ++y) {
                const std::uint8_t* row = buffer.row(static_cast<std::uint64_t>(y));
                for (int pair = 0; pair < (width + 1) / 2; ++pair) {
                    const int second = std::min(2 * pair + 1, width - 1);
                    ASSERT_EQ(row[4 * pair], isGray ? 128 : source.sample(1, pair, y));
                    ASSERT_EQ(row[4 * pair + 1], source.sample(0, 2 * pair, y));
                    ASSERT_EQ(row[4 * pair + 2], isGray ? 128 : source.sample(2, pair, y));
                    ASSERT_EQ(row[4 * pair + 3], source.sample(0, second, y));
                }
            }
        }
    }
}

/// The samples of a 'v210' row in their order: Cb, Y, Cr, Y, ...
int fieldOf(const std::uint8_t* row, int index) {
    std::uint32_t word = 0;
    std::memcpy(&word, row + index / 3 * 4, 4);
    return static_cast<int>(word >> (10 * (index % 3)) & 0x3FF);
}

TEST(PackV210, writesThreeSamplesAWordAndVideoBlackBeyondThePicture) {
    for (const bool isGray : {false, true}) {
        for (int width = 1; width <= 100; ++width) {
            const RandomPicture source(width, 2, 10, isGray);
            const auto w = static_cast<std::uint64_t>(width);
            MemoryPixelBuffer buffer(w, 2, MemoryPixelBuffer::bytesPerRow(PixelLayout::kV210, w));
            std::memset(buffer.bytes(), 0xFF, buffer.byteCount());
            packV210(source.picture, buffer);
            MemoryPixelBuffer oneByOne(w, 2, buffer.bytesPerRow());
            scalar::packV210(source.picture, oneByOne);
            ASSERT_EQ(std::memcmp(oneByOne.bytes(), buffer.bytes(), buffer.byteCount()), 0);
            const int pixelsInRow = static_cast<int>(buffer.bytesPerRow()) / 16 * 6;
            for (int y = 0; y < 2; ++y) {
                const std::uint8_t* row = buffer.row(static_cast<std::uint64_t>(y));
                for (int x = 0; x < pixelsInRow; ++x) {
                    const bool hasChroma = !isGray && x / 2 < (width + 1) / 2;
                    const int luma = x < width ? source.sample(0, x, y) : 64;
                    const int chroma = hasChroma ? source.sample(1 + x % 2, x / 2, y) : 512;
                    ASSERT_EQ(fieldOf(row, 2 * x + 1), luma) << width << " at " << x;
                    ASSERT_EQ(fieldOf(row, 2 * x), chroma) << width << " at " << x;
                }
            }
            for (std::uint64_t word = 0; word < buffer.byteCount(); word += 4) {
                ASSERT_EQ(buffer.bytes()[word + 3] & 0xC0, 0) << "the two top bits are unused";
            }
        }
    }
}

} // namespace
} // namespace fw::libav
