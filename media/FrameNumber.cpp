#include "media/FrameNumber.h"

#include <cmath>
#include <limits>

namespace fw {
namespace {

__extension__ using Wide = __int128;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

} // namespace

std::int64_t frameNumberAtTime(const MediaTime& time, float nominalFrameRate) {
    if (!(nominalFrameRate > 0)) {
        return 0;
    }
    if (!time.isNumeric() || std::isinf(nominalFrameRate)) {
        return time.isPositiveInfinity() || (time.isNumeric() && time.value > 0) ? kMost : 0;
    }
    if (time.value <= 0) {
        return 0;
    }
    // rate = digits x 2^exponent with 24 binary digits, so the product has at most 87 of them.
    int exponent = 0;
    const float mantissa = std::frexp(nominalFrameRate, &exponent);
    const auto digits = static_cast<std::int64_t>(std::ldexp(mantissa, 24));
    exponent -= 24;
    const Wide product = Wide{time.value} * digits;
    if (exponent >= 0) {
        // A rate of 2^23 and more (exponent is at most 104). What needs more than 127 bits here
        // is beyond 64 bits after the division by a timescale of 31, too.
        if ((product >> (127 - exponent)) != 0) {
            return kMost;
        }
        const Wide result = (product << exponent) / time.timescale;
        return result > kMost ? kMost : static_cast<std::int64_t>(result);
    }
    const int shift = -exponent;
    const Wide whole = product / time.timescale; // floor(floor(p / t) / 2^s) = floor(p / (t 2^s))
    const Wide result = shift > 100 ? 0 : whole >> shift;
    return result > kMost ? kMost : static_cast<std::int64_t>(result);
}

float nominalFrameRate(const FrameRate& rate) {
    if (!rate.isKnown()) {
        return 0;
    }
    float nearest = static_cast<float>(static_cast<double>(rate.numerator) /
                                       static_cast<double>(rate.denominator));
    // Exact comparison: digits x 2^exponent x denominator against numerator. The two are nearly
    // equal, so whichever is shifted stays within 88 bits.
    const auto isBelow = [&rate](float candidate) {
        int exponent = 0;
        const float mantissa = std::frexp(candidate, &exponent);
        const auto digits = static_cast<std::int64_t>(std::ldexp(mantissa, 24));
        exponent -= 24;
        const Wide scaled = Wide{digits} * rate.denominator;
        return exponent >= 0 ? (scaled << exponent) < rate.numerator
                             : scaled < (Wide{rate.numerator} << -exponent);
    };
    while (isBelow(nearest)) {
        nearest = std::nextafter(nearest, std::numeric_limits<float>::infinity());
    }
    return nearest;
}

} // namespace fw
