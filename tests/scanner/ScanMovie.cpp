#include "tests/scanner/ScanMovie.h"

#include <algorithm>
#include <cstring>

namespace fw::test {

std::shared_ptr<MemoryPixelBuffer> frame8(std::uint8_t luma, std::uint64_t width,
                                          std::uint64_t height) {
    const std::uint64_t bytesPerRow = MemoryPixelBuffer::bytesPerRow(PixelLayout::k2vuy, width);
    auto frame = std::make_shared<MemoryPixelBuffer>(width, height, bytesPerRow);
    for (std::uint64_t i = 0; i < frame->byteCount(); ++i) {
        frame->bytes()[i] = i % 2 == 1 ? luma : 128;
    }
    return frame;
}

std::shared_ptr<MemoryPixelBuffer> frame10(std::uint32_t luma, std::uint64_t width,
                                           std::uint64_t height) {
    const std::uint64_t bytesPerRow = MemoryPixelBuffer::bytesPerRow(PixelLayout::kV210, width);
    auto frame = std::make_shared<MemoryPixelBuffer>(width, height, bytesPerRow);
    const std::uint32_t around = 512 | luma << 10 | 512U << 20;   // C Y C
    const std::uint32_t between = luma | 512U << 10 | luma << 20; // Y C Y
    for (std::uint64_t i = 0; i < frame->byteCount(); i += 4) {
        const std::uint32_t word = i % 8 == 0 ? around : between;
        for (std::uint64_t byte = 0; byte < 4; ++byte) {
            frame->bytes()[i + byte] = static_cast<std::uint8_t>(word >> (8 * byte));
        }
    }
    return frame;
}

std::shared_ptr<SyntheticAsset> movieOf(std::vector<std::shared_ptr<PixelBuffer>> frames) {
    auto asset = std::make_shared<SyntheticAsset>();
    asset->tracks_.push_back(videoTrack(kVideoTrackId, 25));
    SyntheticReading& reading = asset->reading(kVideoTrackId);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        SyntheticSample sample;
        sample.time = MediaTime::make(static_cast<std::int64_t>(i) * 1000, 25000);
        sample.image = std::move(frames[i]);
        reading.samples.push_back(std::move(sample));
    }
    asset->duration_ = MediaTime::make(static_cast<std::int64_t>(frames.size()) * 1000, 25000);
    return asset;
}

std::shared_ptr<SyntheticAsset> cleanMovie(std::size_t frameCount) {
    const auto grey = frame8(128);
    return movieOf(std::vector<std::shared_ptr<PixelBuffer>>(frameCount, grey));
}

MediaTimeRange frameRange(std::int64_t start, std::int64_t end) {
    return {MediaTime::make(start * 1000, 25000), MediaTime::make((end - start) * 1000, 25000)};
}

} // namespace fw::test
