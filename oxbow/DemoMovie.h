#pragma once

#include "oxbow/Fault.h"
#include "oxbow/ScanSettings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fw {

/// A fault that the demonstration movie has: its kind, frame and message.
struct KnownFault {
    FaultKind kind = FaultKind::kOther;
    std::int64_t frame = 0;
    std::string message;

    bool operator==(const KnownFault&) const = default;
    auto operator<=>(const KnownFault&) const = default;
};

/// Writes the movie: four seconds at 25 frames a second, 480 x 270, 8 bits, uncompressed
/// (YUV4MPEG2). Throws std::system_error.
void writeDemoMovie(const std::string& path);

/// What a scan of it must find, in order of frames, with these settings.
std::vector<KnownFault> demoFaults();
ScanSettings demoSettings(const std::string& path);

} // namespace fw
