#include "platform/libav/PlanarPicture.h"

#include <new>

namespace fw::libav {
namespace {

constexpr std::size_t kAlignment = 64;

std::size_t alignedUp(std::size_t size) {
    return (size + kAlignment - 1) / kAlignment * kAlignment;
}

int shiftedUp(int size, int shift) {
    return -((-size) >> shift);
}

} // namespace

int PictureFormat::planeWidth(int plane) const {
    return plane == 0 || family != SampleFamily::kYuv ? width : shiftedUp(width, chromaShiftX);
}

int PictureFormat::planeHeight(int plane) const {
    return plane == 0 || family != SampleFamily::kYuv ? height : shiftedUp(height, chromaShiftY);
}

void PlaneStorage::resize(int plane, int width, int height, int bytesPerSample) {
    Plane& p = planes_[static_cast<std::size_t>(plane)];
    const std::size_t stride =
        alignedUp(static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerSample));
    const std::size_t size = stride * static_cast<std::size_t>(height);
    if (size > p.capacity) {
        p.bytes.reset(static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, size)));
        if (!p.bytes) {
            p.capacity = 0;
            throw std::bad_alloc();
        }
        p.capacity = size;
    }
    p.stride = static_cast<std::ptrdiff_t>(stride);
}

} // namespace fw::libav
