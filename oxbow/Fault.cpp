#include "oxbow/Fault.h"

#include <algorithm>

namespace fw {

std::string_view nameOf(FaultKind kind) {
    switch (kind) {
    case FaultKind::kBlacks:
        return "blacks";
    case FaultKind::kWhites:
        return "whites";
    case FaultKind::kFlash:
        return "flash";
    case FaultKind::kMatte:
        return "matte";
    case FaultKind::kOther:
        break;
    }
    return "other";
}

FaultKind kindOfMessage(std::string_view message) {
    if (message.starts_with("Blacks too low")) {
        return FaultKind::kBlacks;
    }
    if (message.starts_with("Whites too high")) {
        return FaultKind::kWhites;
    }
    if (message.starts_with("Flash frame")) {
        return FaultKind::kFlash;
    }
    return message.find(" matte area is ") != std::string_view::npos ? FaultKind::kMatte
                                                                     : FaultKind::kOther;
}

std::vector<Fault> faultsOf(const FrameReport& report) {
    std::vector<Fault> faults;
    for (const std::string& message : report.errors.value_or(std::vector<std::string>{})) {
        faults.push_back({kindOfMessage(message), report.frame, report.timecode.value_or(""),
                          report.val.value_or(0), report.timescale.value_or(0), message});
    }
    return faults;
}

bool isFlashReport(const FrameReport& report) {
    return report.errors && std::any_of(report.errors->begin(), report.errors->end(),
                                        [](const std::string& message) {
                                            return kindOfMessage(message) == FaultKind::kFlash;
                                        });
}

} // namespace fw
