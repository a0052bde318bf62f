#pragma once

#include "media/FourCC.h"
#include "media/MediaTime.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fw {

enum class MediaType { kVideo, kAudio, kTimecode, kOther };

/// How the sound of a track is sampled.
struct AudioStreamDescription {
    double sampleRate = 0; ///< In hertz.
    std::uint32_t channelsPerFrame = 0;
};

/// What one sample description of a track says.
struct FormatDescription {
    static constexpr std::uint32_t kDropFrame = 1;
    static constexpr std::uint32_t k24HourMax = 2;
    static constexpr std::uint32_t kNegativeTimesOk = 4;

    FourCC mediaType = 0;    ///< 'vide', 'soun', 'tmcd', or another handler code.
    FourCC mediaSubType = 0; ///< The codec; of a timecode track 'tmcd' or 'cn32'.

    /// The name of the format as the movie gives it; absent when it gives none.
    std::optional<std::string> formatName;
    /// Sound only: the format identifier, 'lpcm', 'aac ', ...
    FourCC audioFormatId = 0;
    /// Sound only; absent when the movie does not say.
    std::optional<AudioStreamDescription> audioStream;

    // Timecode only.
    MediaTime frameDuration;
    std::uint32_t frameQuanta = 0; ///< Whole frames a second.
    std::uint32_t timecodeFlags = 0;
};

/// An exact number of frames a second; 0/1 when unknown.
struct FrameRate {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;

    bool isKnown() const { return numerator > 0 && denominator > 0; }
    bool operator==(const FrameRate&) const = default;
};

/// What a movie says about one of its tracks. A value; its id is the asset's.
struct Track {
    int id = 0;
    MediaType mediaType = MediaType::kOther;
    std::vector<FormatDescription> formatDescriptions;

    // Video only.
    /// Frames a second: the smallest float that is not below frameRate, so that time x rate,
    /// rounded down, is the frame's number. 0 when unknown.
    float nominalFrameRate = 0;
    FrameRate frameRate;
    /// The container's own count of the frames it presents; absent when it keeps none.
    std::optional<std::int64_t> frameCount;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Of a luma sample (or an RGB component) as coded; 0 when unknown.
    int bitsPerComponent = 0;
};

} // namespace fw
