#pragma once

#include "media/AssetReader.h"
#include "media/Track.h"
#include "platform/libav/Handles.h"
#include "platform/libav/MovSampleEntries.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw::libav {

/// A timecode track and its first samples, up to the first that holds a frame number.
struct TimecodeTrack {
    Track track;
    std::vector<SampleBuffer> samples;
};

/// The track of a 'tmcd' or 'cn32' stream; nothing for any other stream.
std::optional<TimecodeTrack> timecodeTrackOfStream(const std::string& path, const AVStream& stream,
                                                   const std::vector<MovSampleEntry>& entries);

/// The frame number that a recorder stores for a start timecode, "HH:MM:SS:FF" or with ";" or "."
/// before the frames for drop-frame: standard counting (SMPTE ST 12-1), which at 30 and 60 drops
/// the first 2 or 4 numbers of every minute but each tenth. Nothing for a text that is none.
std::optional<std::uint32_t> recordedFrameNumber(std::string_view timecode, std::uint32_t quanta);

/// A track that presents the start timecode which MXF, Matroska, AVI and DV carry as a tag;
/// nothing when there is no such tag or the rate is unknown.
std::optional<TimecodeTrack> timecodeTrackOfTag(const AVFormatContext& format, int trackId,
                                                const FrameRate& rate);

} // namespace fw::libav
