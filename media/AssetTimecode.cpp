#include "base/PlatformException.h"
#include "base/numbers.h"
#include "media/FWAVFoundation.h"
#include "timecode/FWTimecode.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

namespace fw {
namespace {

/// The rate as FWTimecode takes it.
struct TimecodeRate {
    std::int64_t timebase = 0;
    bool ntsc = false;
};

bool isFractional(double fps) {
    return std::ceil(fps) != std::floor(fps);
}

TimecodeRate roundedRate(double fps) {
    return {saturatingCast<std::int64_t>(std::round(fps)), isFractional(fps)};
}

/// The whole frames above the rate; the timecode of a time takes the nearest. They agree for the
/// usual rates, and differ for 12.4.
TimecodeRate raisedRate(double fps) {
    return {saturatingCast<std::int64_t>(std::ceil(fps)), isFractional(fps)};
}

/// Whether a rate differs from its nearest whole number, that taken in single precision.
bool differsFromWholeRate(double fps) {
    const auto whole = saturatingCast<std::int64_t>(std::round(fps));
    return fps != static_cast<double>(static_cast<float>(whole));
}

/// The frame number that a timecode sample begins with.
std::optional<std::uint32_t> storedFrameNumber(const SampleBuffer& sample) {
    if (sample.data.size() < 4) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = (number << 8) | std::to_integer<std::uint32_t>(sample.data[i]);
    }
    return number;
}

/// The first sample with a frame number.
std::optional<SampleBuffer> firstNumberedSample(const Asset& asset, const Track& timecodeTrack) {
    const Result<std::unique_ptr<AssetReader>> made = asset.makeReader();
    if (!made) {
        return std::nullopt;
    }
    AssetReader& reader = *made.value();
    reader.addOutput(timecodeTrack, NativeSamples{});
    reader.startReading();
    std::optional<SampleBuffer> sample;
    while (reader.status() == AssetReader::Status::kReading) {
        sample = reader.copyNextSampleBuffer();
        if (sample && storedFrameNumber(*sample)) {
            break;
        }
        sample.reset();
    }
    reader.cancelReading();
    return sample;
}

std::string timecodeOfSample(const SampleBuffer& sample, double fps, bool dropFrame,
                             AssumeTCOnly assumeTCOnly) {
    const std::uint32_t number = storedFrameNumber(sample).value_or(0);
    const FormatDescription format =
        sample.formatDescription ? *sample.formatDescription : FormatDescription{};
    if (assumeTCOnly == AssumeTCOnly::kNo && format.mediaSubType == fourCC("cn32")) {
        return std::to_string(number);
    }
    return FWTimecode::timecodeFromFrameCount(number, format.frameQuanta, differsFromWholeRate(fps),
                                              dropFrame, 0);
}

MediaTime notBelowZero(const MediaTime& time) {
    if (time.isNegativeInfinity()) {
        return MediaTime::zero();
    }
    MediaTime clamped = time;
    clamped.value = std::max<std::int64_t>(clamped.value, 0);
    return clamped;
}

} // namespace

std::optional<std::string>
FWAVFoundation::timecodeStartForAsset(const Asset& asset,
                                      const std::optional<std::string>& defaultStart) {
    return timecodeStartForAsset(asset, defaultStart, AssumeTCOnly::kYes);
}

std::optional<std::string> FWAVFoundation::timecodeStartForAsset(
    const Asset& asset, const std::optional<std::string>& defaultStart, AssumeTCOnly assumeTCOnly) {
    const Track* timecodeTrack = asset.firstTrack(MediaType::kTimecode);
    if (timecodeTrack == nullptr) {
        return defaultStart;
    }
    return timecodeStartForAsset(asset, *timecodeTrack, defaultStart, assumeTCOnly);
}

std::optional<std::string>
FWAVFoundation::timecodeStartForAsset(const Asset& asset, const Track& timecodeTrack,
                                      const std::optional<std::string>& defaultStart) {
    return timecodeStartForAsset(asset, timecodeTrack, defaultStart, AssumeTCOnly::kYes);
}

std::optional<std::string>
FWAVFoundation::timecodeStartForAsset(const Asset& asset, const Track& timecodeTrack,
                                      const std::optional<std::string>& defaultStart,
                                      AssumeTCOnly assumeTCOnly) {
    if (!isReadable(asset)) {
        return defaultStart;
    }
    try {
        const std::optional<SampleBuffer> sample = firstNumberedSample(asset, timecodeTrack);
        if (!sample) {
            return defaultStart;
        }
        return timecodeOfSample(*sample, fpsForAsset(asset), isDropFrame(asset), assumeTCOnly);
    } catch (const PlatformException&) {
        return defaultStart; // A reader that throws has no usable sample.
    }
}

std::string FWAVFoundation::timecodeAtTime(const MediaTime& time, const Asset& asset) {
    return timecodeAtTime(time, asset, std::nullopt);
}

std::string FWAVFoundation::timecodeAtTime(const MediaTime& time, const Asset& asset,
                                           const std::optional<std::string>& defaultStart) {
    return timecodeForAsset(asset, time, timecodeStartForAsset(asset, defaultStart));
}

std::string FWAVFoundation::timecodeForAsset(const Asset& asset, const MediaTime& time,
                                             const std::optional<std::string>& startPoint) {
    return timecodeForAsset(asset, time, startPoint,
                            isDropFrame(asset) ? DropFrame::kYes : DropFrame::kNo);
}

std::string FWAVFoundation::timecodeForAsset(const Asset& asset, const MediaTime& time,
                                             const std::optional<std::string>& startPoint,
                                             DropFrame dropFrame) {
    const double fps = fpsForAsset(asset);
    const TimecodeRate rate = roundedRate(fps);
    const bool drop = dropFrame == DropFrame::kYes;
    const std::uint64_t startFrame = FWTimecode::frameCountFromTimecode(
        startPoint.value_or(""), rate.timebase, rate.ntsc, drop, 0);
    const auto frames =
        saturatingCast<std::int64_t>(std::round(fps * notBelowZero(time).seconds()));
    return FWTimecode::timecodeFromFrameCount(static_cast<std::uint64_t>(frames), rate.timebase,
                                              rate.ntsc, drop, startFrame);
}

MediaTime FWAVFoundation::timeFromTimecode(const std::string& timecode, const Asset& asset) {
    const double fps = fpsForAsset(asset);
    const TimecodeRate rate = raisedRate(fps);
    const bool drop = isDropFrame(asset);
    const std::string start = timecodeAtTime(MediaTime::zero(), asset);
    const std::uint64_t startFrame =
        FWTimecode::frameCountFromTimecode(start, rate.timebase, rate.ntsc, drop, 0);
    const std::uint64_t frames =
        FWTimecode::frameCountFromTimecode(timecode, rate.timebase, rate.ntsc, drop, startFrame);
    return timeFromFrameCount(frames, fps);
}

} // namespace fw
