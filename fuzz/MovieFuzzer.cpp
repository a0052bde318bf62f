#include "fuzz/InputFiles.h"
#include "fuzz/check.h"
#include "media/FWAVFoundation.h"
#include "media/FrameNumber.h"
#include "pixels/MemoryPixelBuffer.h"
#include "platform/libav/LibavAsset.h"

#include <algorithm>

namespace {

using namespace fw;
using fuzz::check;

constexpr int kMostSamples = 16;
/// A picture that states to be larger is a test of patience only.
constexpr std::uint64_t kMostPixels = std::uint64_t{512} * 512;

bool isSmall(const Track& track) {
    return std::uint64_t{track.width} * track.height <= kMostPixels;
}

void checkFrame(const SampleBuffer& sample, PixelLayout layout) {
    PixelBuffer& picture = *sample.imageBuffer;
    const PixelBufferLock lock(picture);
    check(picture.bytesPerRow() == MemoryPixelBuffer::bytesPerRow(layout, picture.width()),
          "rows are as long as the layout says");
    const std::uint8_t* end = picture.base() + picture.height() * picture.bytesPerRow();
    check(
        std::all_of(end, end + kReadableBytesPastEnd, [](std::uint8_t byte) { return byte == 0; }),
        "zeros follow a picture");
}

void checkEnd(const AssetReader& reader) {
    using Status = AssetReader::Status;
    check(reader.status() == Status::kReading || reader.status() == Status::kCompleted ||
              reader.status() == Status::kFailed,
          "a reader reads, is done, or has failed");
    check(reader.error().has_value() == (reader.status() == Status::kFailed),
          "a reader that failed says why, no other does");
}

/// The first samples. Times of a damaged movie may go back, but not before its start.
void readTrack(const Asset& asset, const Track& track, const OutputSettings& settings) {
    auto made = asset.makeReader();
    check(bool(made), "a readable movie has readers");
    AssetReader& reader = *made.value();
    reader.addOutput(track, settings);
    reader.startReading();
    for (int i = 0; i < kMostSamples && reader.status() == AssetReader::Status::kReading; ++i) {
        const auto sample = reader.copyNextSampleBuffer();
        if (!sample) {
            check(reader.status() != AssetReader::Status::kReading, "only the end has no sample");
            break;
        }
        check(sample->presentationTime.isNumeric() && sample->presentationTime >= MediaTime::zero(),
              "times are numbers from zero");
        if (const auto* frames = std::get_if<VideoFrames>(&settings)) {
            checkFrame(*sample, frames->layout);
        }
    }
    checkEnd(reader);
}

void readTracks(const Asset& asset) {
    for (const Track& track : asset.tracks()) {
        if (track.mediaType == MediaType::kVideo && isSmall(track)) {
            readTrack(asset, track, VideoFrames{PixelLayout::k2vuy});
            readTrack(asset, track, VideoFrames{PixelLayout::kV210});
        } else if (track.mediaType == MediaType::kAudio) {
            readTrack(asset, track, AudioSamples{});
        }
    }
}

/// What is asked of a movie before it is scanned.
void ask(const Asset& asset) {
    check(asset.duration().isNumeric() && asset.duration() >= MediaTime::zero(),
          "a movie is as long as a number says");
    check(FWAVFoundation::fpsForAsset(asset) >= 0, "a rate is not below zero");
    const auto start = FWAVFoundation::timecodeStartForAsset(asset, "00:00:00:00");
    check(start.has_value(), "there is a start timecode where there is a default");
    FWAVFoundation::timecodeAtTime(asset.duration(), asset, start);
    for (const Track& track : asset.tracks()) {
        check(track.nominalFrameRate == nominalFrameRate(track.frameRate),
              "the nominal rate is that of the exact one");
        FWAVFoundation::codecNameForTrack(track);
    }
}

} // namespace

/// A whole movie: libav's demuxers and decoders, and what is made of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::MemoryFile file({data, size});
    const auto asset = openLibavAsset(file.path(), {.decodeThreads = 1});
    check(asset->error().has_value() != (asset->isPlayable() && asset->isReadable()),
          "a movie that cannot be used says why");
    if (asset->error()) {
        return 0;
    }
    ask(*asset);
    readTracks(*asset);
    return 0;
}
