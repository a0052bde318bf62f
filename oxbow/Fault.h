#pragma once

#include "platform/connection/FrameReport.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fw {

/// kOther is for messages of a scanner that knows more than this program.
enum class FaultKind { kBlacks, kWhites, kFlash, kMatte, kOther };
inline constexpr std::array kAllFaultKinds = {FaultKind::kBlacks, FaultKind::kWhites,
                                              FaultKind::kFlash, FaultKind::kMatte,
                                              FaultKind::kOther};

/// "blacks", "whites", "flash", "matte", "other".
std::string_view nameOf(FaultKind kind);
/// By the words of the scanner's message.
FaultKind kindOfMessage(std::string_view message);

struct Fault {
    FaultKind kind = FaultKind::kOther;
    std::int64_t frame = 0;
    std::string timecode;
    std::int64_t value = 0; ///< Of the time, in ticks of the timescale.
    std::int32_t timescale = 0;
    std::string message;

    bool operator==(const Fault&) const = default;
};

/// One for each of its errors.
std::vector<Fault> faultsOf(const FrameReport& report);

/// Whether a report tells of a flash; every other is the report of a frame of its own.
bool isFlashReport(const FrameReport& report);

} // namespace fw
