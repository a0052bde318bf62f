#pragma once

#include "media/Asset.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace fw::test {

using Samples = std::vector<std::int16_t>;

/// The sound of a track, read to its end.
struct ReadSound {
    std::vector<Samples> buffers;
    std::vector<MediaTime> times; ///< Of each buffer.
    AssetReader::Status status = AssetReader::Status::kUnknown;
    std::optional<Error> error;

    Samples samples() const {
        Samples all;
        for (const Samples& buffer : buffers) {
            all.insert(all.end(), buffer.begin(), buffer.end());
        }
        return all;
    }
};

/// Reads the first sound track.
inline ReadSound readSound(const Asset& asset,
                           const std::optional<MediaTimeRange>& range = std::nullopt) {
    ReadSound sound;
    const Track* track = asset.firstTrack(MediaType::kAudio);
    if (track == nullptr || !asset.isReadable()) {
        sound.error = asset.error();
        return sound;
    }
    const auto reader = asset.makeReader().value();
    if (range) {
        reader->setTimeRange(*range);
    }
    reader->addOutput(*track, AudioSamples{});
    reader->startReading();
    while (reader->status() == AssetReader::Status::kReading) {
        if (const auto buffer = reader->copyNextSampleBuffer()) {
            Samples samples(buffer->data.size() / sizeof(std::int16_t));
            std::memcpy(samples.data(), buffer->data.data(), buffer->data.size());
            sound.buffers.push_back(std::move(samples));
            sound.times.push_back(buffer->presentationTime);
        }
    }
    sound.status = reader->status();
    sound.error = reader->error();
    return sound;
}

} // namespace fw::test
