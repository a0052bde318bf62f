#include "platform/libav/FrameGrid.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace fw::libav {
namespace {

__extension__ using Wide = __int128;

Wide magnitude(Wide value) {
    return value < 0 ? -value : value;
}

/// To the nearest whole number; `denominator` above 0.
Wide rounded(Wide numerator, Wide denominator) {
    const Wide quotient = (magnitude(numerator) + denominator / 2) / denominator;
    return numerator < 0 ? -quotient : quotient;
}

FrameRate reduced(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t divisor = std::gcd(numerator, denominator);
    return {numerator / divisor, denominator / divisor};
}

double asDouble(const FrameRate& rate) {
    return static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator);
}

bool isNear(double measured, const FrameRate& rate) {
    constexpr double kTolerance = 1e-4; // A tenth of what parts 24 from 23.976.
    const double exact = asDouble(rate);
    return rate.isKnown() && std::abs(measured - exact) <= exact * kTolerance;
}

/// Ticks of one frame: numerator / denominator, not reduced.
struct FrameTicks {
    Wide numerator;
    Wide denominator;
};

FrameTicks frameTicks(const FrameRate& rate, const Tick& tick) {
    return {Wide{rate.denominator} * tick.denominator, Wide{rate.numerator} * tick.numerator};
}

bool isWhole(const FrameTicks& ticks) {
    return ticks.numerator % ticks.denominator == 0;
}

} // namespace

std::optional<FrameRate> standardRate(const FrameRate& measured) {
    if (!measured.isKnown()) {
        return std::nullopt;
    }
    const double rate = asDouble(measured);
    if (!(rate >= 0.5) || rate > 100000) {
        return std::nullopt;
    }
    const FrameRate candidates[] = {
        {std::llround(rate), 1},
        reduced(std::llround(rate * 1.001) * 1000, 1001),
        reduced(std::llround(rate * 2), 2),
    };
    for (const FrameRate& candidate : candidates) {
        if (isNear(rate, candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

std::optional<FrameRate> constantRate(std::span<const std::int64_t> starts, const Tick& tick) {
    if (starts.size() < 2 || tick.numerator <= 0 || tick.denominator <= 0) {
        return std::nullopt;
    }
    const auto count = static_cast<std::int64_t>(starts.size() - 1);
    const Wide length = Wide{starts.back()} - starts.front();
    if (length <= 0 || length > std::numeric_limits<std::int64_t>::max() / 1000) {
        return std::nullopt;
    }
    const auto isConstant = [&](const FrameTicks& frame, Wide slack) {
        for (std::size_t i = 0; i < starts.size(); ++i) {
            const Wide start = Wide{starts[i]} - starts.front();
            const Wide difference =
                magnitude(start * frame.denominator - static_cast<Wide>(i) * frame.numerator);
            if (difference > slack * frame.denominator) {
                return false;
            }
        }
        return true;
    };
    if (isConstant({length, count}, 0)) {
        const std::int64_t ticks = static_cast<std::int64_t>(length / count);
        return reduced(tick.denominator, ticks * tick.numerator);
    }
    const auto measured =
        FrameRate{count * tick.denominator, static_cast<std::int64_t>(length) * tick.numerator};
    const auto standard = standardRate(measured);
    if (standard && !isWhole(frameTicks(*standard, tick)) &&
        isConstant(frameTicks(*standard, tick), 1)) {
        return standard;
    }
    return std::nullopt;
}

FrameGrid::FrameGrid(const Tick& tick, const FrameRate& rate, bool isConstant)
    : tick_(tick), rate_(rate),
      snaps_(isConstant && rate.isKnown() && !isWhole(frameTicks(rate, tick))) {}

MediaTime FrameGrid::timeAt(std::int64_t ticks) const {
    if (snaps_) {
        const FrameTicks frame = frameTicks(rate_, tick_);
        const Wide scaled = Wide{ticks} * frame.denominator;
        const Wide n = rounded(scaled, frame.numerator);
        if (magnitude(scaled - n * frame.numerator) <= frame.denominator) {
            return timeOfFrame(static_cast<std::int64_t>(n), rate_);
        }
    }
    std::int64_t value = 0;
    if (__builtin_mul_overflow(ticks, std::int64_t{tick_.numerator}, &value)) {
        return ticks > 0 ? MediaTime::positiveInfinity() : MediaTime::negativeInfinity();
    }
    return MediaTime::make(value, tick_.denominator);
}

MediaTime timeOfFrame(std::int64_t n, const FrameRate& rate) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::int64_t factor = rate.denominator == 1 && rate.numerator <= kMost / 1000 ? 1000 : 1;
    if (rate.numerator > kMost) {
        return MediaTime::makeWithSeconds(static_cast<double>(n) / asDouble(rate), 1000000000);
    }
    std::int64_t value = 0;
    if (__builtin_mul_overflow(n, rate.denominator * factor, &value)) {
        return n > 0 ? MediaTime::positiveInfinity() : MediaTime::negativeInfinity();
    }
    return MediaTime::make(value, static_cast<std::int32_t>(rate.numerator * factor));
}

} // namespace fw::libav
