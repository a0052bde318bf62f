#include "base/numbers.h"
#include "media/FWAVFoundation.h"

#include <cmath>

namespace fw {
namespace {

constexpr double kRateWithoutVideo = 29.97;

bool isTimecode(const FormatDescription& format) {
    return format.mediaType == fourCC("tmcd");
}

} // namespace

double FWAVFoundation::fpsForAsset(const Asset& asset) {
    if (const Track* timecodeTrack = asset.firstTrack(MediaType::kTimecode)) {
        const double fps = fpsFromTimecodeForAsset(asset, *timecodeTrack);
        if (fps > 0.0) {
            return fps;
        }
    }
    const Track* videoTrack = asset.firstTrack(MediaType::kVideo);
    return videoTrack != nullptr ? videoTrack->nominalFrameRate : kRateWithoutVideo;
}

double FWAVFoundation::fpsFromTimecodeForAsset(const Asset& asset, const Track& timecodeTrack) {
    if (!isReadable(asset)) {
        return 0.0;
    }
    for (const FormatDescription& format : timecodeTrack.formatDescriptions) {
        const MediaTime& length = format.frameDuration;
        if (isTimecode(format) && length.timescale >= 1 && length.value >= 1) {
            return length.timescale / static_cast<double>(length.value);
        }
    }
    return 0.0;
}

MediaTime FWAVFoundation::frameLengthForFPS(double fps) {
    if (std::ceil(fps) == std::floor(fps)) {
        return MediaTime::make(1000, saturatingCast<std::int32_t>(std::floor(fps * 1000)));
    }
    return MediaTime::make(1001, saturatingCast<std::int32_t>(std::ceil(fps) * 1000));
}

MediaTime FWAVFoundation::frameLengthForAsset(const Asset& asset) {
    return frameLengthForFPS(fpsForAsset(asset));
}

std::uint64_t FWAVFoundation::framesAtTime(const MediaTime& time, double fps) {
    const double seconds = time.seconds();
    if (std::isnan(seconds)) {
        return 0;
    }
    // To four decimals, so that a product that lies a hair below a whole number counts as it.
    return saturatingCast<std::uint64_t>(std::round(seconds * fps * 10000.0) / 10000.0);
}

std::uint64_t FWAVFoundation::frameDurationForAsset(const Asset* asset) {
    return asset == nullptr ? 0 : framesAtTime(asset->duration(), fpsForAsset(*asset));
}

MediaTime FWAVFoundation::timeFromFrameCount(std::uint64_t frameCount, double fps) {
    return frameLengthForFPS(fps).multipliedBy(static_cast<std::int32_t>(frameCount));
}

bool FWAVFoundation::isDropFrame(const Asset& asset) {
    const Track* timecodeTrack = asset.firstTrack(MediaType::kTimecode);
    if (timecodeTrack == nullptr) {
        return false;
    }
    for (const FormatDescription& format : timecodeTrack->formatDescriptions) {
        if (isTimecode(format) && (format.timecodeFlags & FormatDescription::kDropFrame) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace fw
