#include "oxbow/TextReport.h"

#include <fmt/format.h>

namespace fw {
namespace {

std::string framesText(const ScanTally& tally) {
    const std::string expected =
        tally.expectedFrames() ? fmt::format(", {} expected", *tally.expectedFrames()) : "";
    return fmt::format("Frames: {} reported{}\n", tally.reportedFrames(), expected);
}

std::string faultsText(const ScanTally& tally) {
    std::string kinds;
    for (const FaultKind kind : kAllFaultKinds) {
        if (const std::int64_t count = tally.faultCount(kind); count > 0) {
            kinds += fmt::format("{}{} {}", kinds.empty() ? " (" : ", ", nameOf(kind), count);
        }
    }
    return fmt::format("Faults: {}{}\n", tally.faultCount(), kinds.empty() ? "" : kinds + ")");
}

} // namespace

std::string faultLine(const Fault& fault) {
    return fmt::format("frame {}  {}  {}\n", fault.frame, fault.timecode, fault.message);
}

std::string scanSummary(const ScanResult& result) {
    std::string text = framesText(result.tally) + faultsText(result.tally) +
                       fmt::format("Verdict: {}\n", nameOf(result.tally.verdict()));
    if (result.error) {
        text += fmt::format("Reason: {}\n", result.error->description);
    } else if (result.tally.reportedFrames() == 0) {
        text += "Note: there was no picture to check.\n";
    }
    return text;
}

} // namespace fw
