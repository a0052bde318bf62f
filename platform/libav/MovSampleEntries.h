#pragma once

#include "media/FourCC.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fw::libav {

/// One entry of a track's sample description box (ISO/IEC 14496-12, 8.5.2).
struct MovSampleEntry {
    std::uint32_t trackId = 0;
    FourCC type = 0;
    /// What follows the common 16 bytes (size, type, reserved, data reference).
    std::vector<std::uint8_t> payload;
};

/// All sample entries of a QuickTime or MP4 file, in the order of the file. libavformat keeps
/// neither those of counter tracks nor the codes of encrypted ones. Damage ends the list early.
std::vector<MovSampleEntry> readMovSampleEntries(const std::string& path);

} // namespace fw::libav
