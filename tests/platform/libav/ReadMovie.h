#pragma once

#include "media/Asset.h"
#include "media/FrameNumber.h"
#include "pixels/MemoryPixelBuffer.h"

#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace fw::test {

/// A decoded frame, copied.
struct ReadFrame {
    MediaTime time;
    std::int64_t number = 0;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t bytesPerRow = 0;
    std::vector<std::uint8_t> bytes; ///< With the readable bytes past the end.

    std::uint8_t byteAt(std::uint64_t row, std::uint64_t offset) const {
        return bytes[row * bytesPerRow + offset];
    }
    /// The luma sample of a pixel in '2vuy'.
    int luma8(std::uint64_t x, std::uint64_t y) const { return byteAt(y, 2 * x + 1); }
    /// The 10-bit field `index` (three to a word) of a row in 'v210'.
    int field10(std::uint64_t index, std::uint64_t y) const {
        std::uint32_t word = 0;
        std::memcpy(&word, &bytes[y * bytesPerRow + index / 3 * 4], 4);
        return static_cast<int>((word >> (10 * (index % 3))) & 0x3FF);
    }
    /// In a row of 'v210' luma and chroma samples alternate, chroma first.
    int luma10(std::uint64_t x, std::uint64_t y) const { return field10(2 * x + 1, y); }
    int chroma10(std::uint64_t index, std::uint64_t y) const { return field10(2 * index, y); }
};

struct ReadMovie {
    std::vector<ReadFrame> frames;
    AssetReader::Status status = AssetReader::Status::kUnknown;
    std::optional<Error> error;
};

/// Reads the first video track.
inline ReadMovie readMovie(const Asset& asset, PixelLayout layout,
                           std::optional<MediaTimeRange> range = std::nullopt) {
    ReadMovie movie;
    auto made = asset.makeReader();
    if (!made) {
        movie.error = made.error();
        movie.status = AssetReader::Status::kFailed;
        return movie;
    }
    AssetReader& reader = *made.value();
    const Track* track = asset.firstTrack(MediaType::kVideo);
    if (track == nullptr) {
        return movie;
    }
    if (range) {
        reader.setTimeRange(*range);
    }
    reader.addOutput(*track, VideoFrames{layout});
    reader.startReading();
    while (reader.status() == AssetReader::Status::kReading) {
        const auto sample = reader.copyNextSampleBuffer();
        if (!sample) {
            continue;
        }
        PixelBuffer& buffer = *sample->imageBuffer;
        const PixelBufferLock lock(buffer);
        ReadFrame frame{sample->presentationTime,
                        frameNumberAtTime(sample->presentationTime, track->nominalFrameRate),
                        buffer.width(),
                        buffer.height(),
                        buffer.bytesPerRow(),
                        {}};
        const std::uint64_t size = frame.height * frame.bytesPerRow + kReadableBytesPastEnd;
        frame.bytes.assign(buffer.base(), buffer.base() + size);
        movie.frames.push_back(std::move(frame));
    }
    movie.status = reader.status();
    movie.error = reader.error();
    return movie;
}

inline std::string words(const std::optional<Error>& error) {
    return error ? error->description : "no error";
}

} // namespace fw::test
