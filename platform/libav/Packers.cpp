#include "platform/libav/Packers.h"

#include "base/Avx2.h"
#include "platform/libav/avx2/PackV210Avx2.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace fw::libav {
namespace {

constexpr std::uint8_t kNeutral8 = 128;
constexpr std::uint16_t kNeutral10 = 512;
constexpr std::uint16_t kBlack10 = 64;
constexpr int kPixelsPerGroup = 6;
constexpr int kBytesPerGroup = 16;

void packRow2vuy(const std::uint8_t* __restrict y, const std::uint8_t* __restrict cb,
                 const std::uint8_t* __restrict cr, int width, std::uint8_t* __restrict out) {
    const int pairs = width / 2;
    for (int i = 0; i < pairs; ++i) {
        out[4 * i] = cb[i];
        out[4 * i + 1] = y[2 * i];
        out[4 * i + 2] = cr[i];
        out[4 * i + 3] = y[2 * i + 1];
    }
    if (width % 2 != 0) {
        out[4 * pairs] = cb[pairs];
        out[4 * pairs + 1] = y[width - 1];
        out[4 * pairs + 2] = cr[pairs];
        out[4 * pairs + 3] = y[width - 1];
    }
}

std::uint32_t word(std::uint32_t low, std::uint32_t middle, std::uint32_t high) {
    return (low & 0x3FF) | (middle & 0x3FF) << 10 | (high & 0x3FF) << 20;
}

void packGroup(const std::uint16_t* y, const std::uint16_t* cb, const std::uint16_t* cr,
               std::uint8_t* out) {
    const std::array<std::uint32_t, 4> words = {word(cb[0], y[0], cr[0]), word(y[1], cb[1], y[2]),
                                                word(cr[1], y[3], cb[2]), word(y[4], cr[2], y[5])};
    std::memcpy(out, words.data(), kBytesPerGroup);
}

/// Packs the first of some groups in a faster way than one by one, and returns how many.
using PackFirstGroups = int (*)(const std::uint16_t* y, const std::uint16_t* cb,
                                const std::uint16_t* cr, int groups, std::uint8_t* out);

int packNone(const std::uint16_t*, const std::uint16_t*, const std::uint16_t*, int, std::uint8_t*) {
    return 0;
}

PackFirstGroups fastestPacking() {
    if constexpr (kIsX86) {
        if (hasAvx2()) {
            return avx2::packGroups;
        }
    }
    return packNone;
}

void packRowV210(const std::uint16_t* y, const std::uint16_t* cb, const std::uint16_t* cr,
                 int width, std::uint64_t rowBytes, std::uint8_t* out, PackFirstGroups packFirst) {
    const int whole = width / kPixelsPerGroup;
    for (int group = packFirst(y, cb, cr, whole, out); group < whole; ++group) {
        packGroup(y + 6 * group, cb + 3 * group, cr + 3 * group, out + kBytesPerGroup * group);
    }
    // What is left of the picture, then video black to the end of the row.
    std::array<std::uint16_t, 6> lastY;
    std::array<std::uint16_t, 3> lastCb;
    std::array<std::uint16_t, 3> lastCr;
    const auto rowGroups = static_cast<int>(rowBytes / kBytesPerGroup);
    for (int group = whole; group < rowGroups; ++group) {
        const int left = width - kPixelsPerGroup * group;
        lastY.fill(kBlack10);
        lastCb.fill(kNeutral10);
        lastCr.fill(kNeutral10);
        if (left > 0) {
            std::copy_n(y + 6 * group, left, lastY.begin());
            std::copy_n(cb + 3 * group, (left + 1) / 2, lastCb.begin());
            std::copy_n(cr + 3 * group, (left + 1) / 2, lastCr.begin());
        }
        packGroup(lastY.data(), lastCb.data(), lastCr.data(), out + kBytesPerGroup * group);
    }
}

/// A row of neutral chroma for pictures without any.
template <typename Sample>
std::vector<Sample> neutralRow(const PlanarPicture& picture, Sample neutral) {
    const bool isGray = picture.format.family == SampleFamily::kGray;
    return std::vector<Sample>(isGray ? static_cast<std::size_t>(picture.format.width) / 2 + 1 : 0,
                               neutral);
}

void packRowsV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer,
                  PackFirstGroups packFirst) {
    const auto neutral = neutralRow(picture, kNeutral10);
    const bool isGray = !neutral.empty();
    const auto samples = [&](int plane, int row) {
        return reinterpret_cast<const std::uint16_t*>(picture.row(plane, row));
    };
    for (int row = 0; row < picture.format.height; ++row) {
        packRowV210(samples(0, row), isGray ? neutral.data() : samples(1, row),
                    isGray ? neutral.data() : samples(2, row), picture.format.width,
                    buffer.bytesPerRow(), buffer.row(static_cast<std::uint64_t>(row)), packFirst);
    }
}

} // namespace

void pack2vuy(const PlanarPicture& picture, MemoryPixelBuffer& buffer) {
    const auto neutral = neutralRow(picture, kNeutral8);
    const bool isGray = !neutral.empty();
    for (int row = 0; row < picture.format.height; ++row) {
        packRow2vuy(picture.row(0, row), isGray ? neutral.data() : picture.row(1, row),
                    isGray ? neutral.data() : picture.row(2, row), picture.format.width,
                    buffer.row(static_cast<std::uint64_t>(row)));
    }
}

void packV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer) {
    packRowsV210(picture, buffer, fastestPacking());
}

void scalar::packV210(const PlanarPicture& picture, MemoryPixelBuffer& buffer) {
    packRowsV210(picture, buffer, packNone);
}

} // namespace fw::libav
