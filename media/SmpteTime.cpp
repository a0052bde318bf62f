#include "media/SmpteTime.h"

#include <bit>

namespace fw {
namespace {

constexpr std::uint32_t kValid = 1;

/// The low 32 bits, signed: steps in 32-bit integers wrap.
std::int32_t wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(value);
}

std::int32_t fromBigEndian(std::int32_t stored) {
    const auto bits = static_cast<std::uint32_t>(stored);
    return static_cast<std::int32_t>(
        std::endian::native == std::endian::little ? __builtin_bswap32(bits) : bits);
}

/// The quotient; the one that does not fit (-2^31 / -1) wraps.
std::int32_t quotient(std::int32_t a, std::int32_t b) {
    return wrapped(std::int64_t{a} / b);
}

std::int32_t remainder(std::int32_t a, std::int32_t b) {
    return wrapped(std::int64_t{a} % b);
}

/// The number that drop-frame counting writes on a frame; neither divisor is ever 0.
std::int32_t withDroppedNumbers(std::int32_t frame, std::int32_t quanta) {
    const std::int32_t tenMinutes = quanta * 600 - 18;
    const std::int32_t minute = quanta * 60;
    const std::int32_t rest = frame % tenMinutes;
    std::int32_t drops = 18 * (frame / tenMinutes);
    if (rest >= minute) {
        drops += 2 * ((rest - minute) / (minute - 2)) + 2;
    }
    return wrapped(std::int64_t{frame} + drops);
}

std::int32_t within24Hours(std::int32_t hours, bool negative, bool negativeTimesOk) {
    const std::int32_t hourOfDay = hours % 24;
    return negative && !negativeTimesOk ? 23 - hourOfDay : hourOfDay;
}

} // namespace

SmpteTime timecodeForFrameNumber32UsingFormatDescription(std::int32_t storedFrameNumber,
                                                         const FormatDescription& description) {
    const auto quanta = static_cast<std::int16_t>(description.frameQuanta);
    if (description.mediaSubType != fourCC("tmcd") || quanta == 0) {
        return {};
    }
    const std::int32_t number = fromBigEndian(storedFrameNumber);
    const bool negative = number < 0;
    std::int32_t frame = negative ? wrapped(-std::int64_t{number}) : number;
    if ((description.timecodeFlags & FormatDescription::kDropFrame) != 0) {
        frame = withDroppedNumbers(frame, quanta);
    }
    const std::int32_t wholeSeconds = quotient(frame, quanta);
    std::int32_t hours = wholeSeconds / 3600;
    if ((description.timecodeFlags & FormatDescription::k24HourMax) != 0) {
        hours =
            within24Hours(hours, negative,
                          (description.timecodeFlags & FormatDescription::kNegativeTimesOk) != 0);
    }
    SmpteTime time;
    time.flags = kValid;
    time.hours = static_cast<std::int16_t>(hours);
    time.minutes = static_cast<std::int16_t>(wholeSeconds / 60 % 60);
    time.seconds = static_cast<std::int16_t>(wholeSeconds % 60);
    time.frames = static_cast<std::int16_t>(remainder(frame, quanta));
    return time;
}

} // namespace fw
