#include "base/PlatformException.h"
#include "media/FWAVFoundation.h"
#include "media/WaveformBuilder.h"

namespace fw {
namespace {

/// The last description that says how the sound is sampled.
AudioStreamDescription streamOf(const Track& track) {
    AudioStreamDescription stream{0, 1};
    for (const FormatDescription& format : track.formatDescriptions) {
        stream = format.audioStream.value_or(stream);
    }
    return stream;
}

/// Reads a track to its end; false when that cannot be done.
bool readAll(const Asset& asset, const Track& track, WaveformBuilder& waveform) {
    const auto reader = asset.makeReader();
    if (!reader) {
        return false;
    }
    AssetReader& samples = *reader.value();
    samples.addOutput(track, AudioSamples{});
    samples.startReading();
    while (samples.status() == AssetReader::Status::kReading) {
        if (const auto buffer = samples.copyNextSampleBuffer()) {
            waveform.add(buffer->data);
        }
    }
    return samples.status() == AssetReader::Status::kCompleted;
}

} // namespace

std::optional<std::vector<std::byte>> FWAVFoundation::waveformDataForAsset(const Asset& asset) {
    return waveformDataForAsset(asset, nullptr);
}

std::optional<std::vector<std::byte>> FWAVFoundation::waveformDataForAsset(const Asset& asset,
                                                                           float* normalizeMax) {
    const Track* track = isReadable(asset) ? asset.firstTrack(MediaType::kAudio) : nullptr;
    if (track == nullptr) {
        return std::nullopt;
    }
    const AudioStreamDescription stream = streamOf(*track);
    if (stream.channelsPerFrame == 0) {
        return std::nullopt;
    }
    WaveformBuilder waveform(stream.sampleRate, stream.channelsPerFrame);
    try {
        if (!readAll(asset, *track, waveform)) {
            return std::nullopt;
        }
    } catch (const PlatformException&) {
        return std::nullopt;
    }
    if (normalizeMax != nullptr) {
        *normalizeMax = waveform.maximum();
    }
    return waveform.takePoints();
}

} // namespace fw
