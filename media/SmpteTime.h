#pragma once

#include "media/Track.h"

#include <cstdint>

namespace fw {

/// Broken-down timecode, 24 bytes, the fields in the order of the platform's time record. Only
/// flags (1 = valid), hours, minutes, seconds and frames are ever set.
struct SmpteTime {
    std::int16_t subframes = 0;
    std::int16_t subframeDivisor = 0;
    std::uint32_t counter = 0;
    std::uint32_t type = 0;
    std::uint32_t flags = 0;
    std::int16_t hours = 0;
    std::int16_t minutes = 0;
    std::int16_t seconds = 0;
    std::int16_t frames = 0;

    bool operator==(const SmpteTime&) const = default;
};

/// Hours, minutes, seconds and frames of a frame number as a timecode sample stores it
/// (big-endian), counted as a recorder counts: with kDropFrame, blocks of 600 x quanta - 18
/// frames. The quanta are taken from their low 16 bits, signed. All zero when the description is
/// not 'tmcd' or these quanta are 0. Pure; safe from any thread.
SmpteTime timecodeForFrameNumber32UsingFormatDescription(std::int32_t storedFrameNumber,
                                                         const FormatDescription& description);

} // namespace fw
