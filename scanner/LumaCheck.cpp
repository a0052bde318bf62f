#include "scanner/LumaCheck.h"

#include "analysis/kernels/LumaKernel.h"
#include "base/numbers.h"

#include <fmt/format.h>
#include <string_view>

namespace fw {
namespace {

/// More samples than these raise a message.
constexpr std::uint64_t kToleratedSamples = 10;

/// The bytes of a step less its luma values, which the percentage divides the bytes by.
constexpr double kPercentageDivisor8 = 1;
constexpr double kPercentageDivisor10 = 5;

std::string faultMessage(std::string_view what, std::int64_t worstCode, std::uint64_t count,
                         double bytes, double divisor) {
    const double percentage = static_cast<double>(count) / (bytes / divisor) * 100;
    return fmt::format("{} - {} ({}, {:.2f}%)", what, low32Signed(worstCode), count, percentage);
}

} // namespace

std::vector<std::string> lumaFaults(const std::uint8_t* base, std::uint64_t byteCount,
                                    const LumaLimits& limits) {
    const bool isTenBit = limits.bitDepth == 10;
    const auto scan = isTenBit ? scanLuma10 : scanLuma8;
    const double divisor = isTenBit ? kPercentageDivisor10 : kPercentageDivisor8;
    const LumaCounts counts = scan(base, byteCount, limits.refBlack, limits.refWhite);

    std::vector<std::string> faults;
    const auto bytes = static_cast<double>(byteCount);
    if (counts.lowestBlack < limits.refBlack && counts.blackCount > kToleratedSamples) {
        faults.push_back(
            faultMessage("Blacks too low", counts.lowestBlack, counts.blackCount, bytes, divisor));
    }
    if (counts.highestWhite > limits.refWhite && counts.whiteCount > kToleratedSamples) {
        faults.push_back(faultMessage("Whites too high", counts.highestWhite, counts.whiteCount,
                                      bytes, divisor));
    }
    return faults;
}

} // namespace fw
