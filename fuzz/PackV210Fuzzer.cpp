#include "fuzz/check.h"
#include "platform/libav/Packers.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

using namespace fw;
using namespace fw::libav;

/// A picture of the size whose planes repeat `samples`, in memory that ends with each plane.
struct PlanesOf {
    PlanesOf(const std::vector<std::uint16_t>& samples, int width, int height, bool isGray) {
        picture.format.family = isGray ? SampleFamily::kGray : SampleFamily::kYuv;
        picture.format.depth = 10;
        picture.format.chromaShiftX = isGray ? 0 : 1;
        picture.format.width = width;
        picture.format.height = height;
        std::size_t next = 0;
        for (int plane = 0; plane < picture.format.planeCount(); ++plane) {
            const auto index = static_cast<std::size_t>(plane);
            const int planeWidth = picture.format.planeWidth(plane);
            memory[index].resize(static_cast<std::size_t>(planeWidth * height));
            for (std::uint16_t& sample : memory[index]) {
                sample = samples[next++ % samples.size()];
            }
            picture.data[index] = reinterpret_cast<const std::uint8_t*>(memory[index].data());
            picture.stride[index] = planeWidth * picture.format.bytesPerSample();
        }
    }

    PlanarPicture picture;
    std::array<std::vector<std::uint16_t>, 3> memory;
};

MemoryPixelBuffer packed(void (*pack)(const PlanarPicture&, MemoryPixelBuffer&),
                         const PlanarPicture& picture) {
    const auto width = static_cast<std::uint64_t>(picture.format.width);
    MemoryPixelBuffer buffer(width, static_cast<std::uint64_t>(picture.format.height),
                             MemoryPixelBuffer::bytesPerRow(PixelLayout::kV210, width));
    pack(picture, buffer);
    return buffer;
}

} // namespace

/// The packing as this machine runs it gives the bytes that the plain one gives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const int width = input.ConsumeIntegralInRange(1, 300);
    const int height = input.ConsumeIntegralInRange(1, 4);
    const bool isGray = input.ConsumeBool();
    std::vector<std::uint16_t> samples(1, 0);
    while (input.remaining_bytes() > 0) {
        samples.push_back(input.ConsumeIntegralInRange<std::uint16_t>(0, 1023));
    }
    const PlanesOf planes(samples, width, height, isGray);
    const MemoryPixelBuffer fast = packed(packV210, planes.picture);
    const MemoryPixelBuffer plain = packed(scalar::packV210, planes.picture);
    const std::uint64_t readable = plain.byteCount() + kReadableBytesPastEnd;
    fuzz::check(std::equal(fast.base(), fast.base() + readable, plain.base()),
                "packV210 is the plain one");
    fuzz::check(std::all_of(fast.base() + plain.byteCount(), fast.base() + readable,
                            [](std::uint8_t byte) { return byte == 0; }),
                "zeros follow the picture");
    return 0;
}
