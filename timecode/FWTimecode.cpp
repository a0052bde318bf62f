#include "timecode/FWTimecode.h"

#include "base/numbers.h"
#include "base/text.h"
#include "timecode/Separators.h"

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <vector>

namespace fw {
namespace {

constexpr std::size_t kFieldCount = 4;
constexpr std::int64_t kDefaultTimebase = 30;

/// Frames dropped a minute for one frame a second: 2 of 30, 4 of 60.
constexpr double kDroppedShare = 0.06666666666666667;

std::int64_t usableTimebase(std::int64_t timebase) {
    return timebase > 0 ? timebase : kDefaultTimebase;
}

double usableRate(double fps) {
    return fps <= 0 ? static_cast<double>(kDefaultTimebase) : fps;
}

/// a / b, cut to a signed 32-bit integer.
double truncatedQuotient(double a, double b) {
    return saturatingCast<std::int32_t>(a / b);
}

std::string timecodeText(std::uint64_t frameCount, double fps, bool dropFrame) {
    const auto frames = static_cast<double>(frameCount);
    const auto wholeSeconds = saturatingCast<std::uint64_t>(std::floor(frames / fps));
    const std::uint64_t hours = wholeSeconds / 3600 - wholeSeconds / 86400 * 24;
    const std::uint64_t minutes = wholeSeconds / 60 % 60;
    const std::uint64_t seconds = wholeSeconds % 60;
    const auto frame = saturatingCast<std::int64_t>(std::floor(modulus(frames, fps)));
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.2" PRIu64 ":%.2" PRIu64 ":%.2" PRIu64 "%c%.2" PRIi64,
                  hours, minutes, seconds, frameSeparator(dropFrame), frame);
    return text.data();
}

/// The pieces of a timecode, or none when there are fewer than four.
std::vector<std::string_view> fieldsOf(std::string_view timecode) {
    std::vector<std::string_view> fields = splitAtAnyOf(trimmed(timecode), kTimecodeSeparators);
    if (fields.size() < kFieldCount) {
        fields.clear();
    }
    return fields;
}

/// A field's integer; counts are unsigned and wrap.
std::uint64_t wrappedInteger(std::string_view field) {
    return static_cast<std::uint64_t>(leadingInteger(field));
}

std::string padded(std::int64_t value) {
    return std::string(value < 10 ? "0" : "") + std::to_string(value);
}

/// The padding goes by the signed value, the digits by the unsigned one.
std::string paddedUnsigned(std::int64_t value) {
    return std::string(value < 10 ? "0" : "") + std::to_string(static_cast<std::uint64_t>(value));
}

/// The hundredths of the second that a moment has reached.
double hundredthsOf(std::chrono::system_clock::time_point moment) {
    using Hundredths = std::chrono::duration<std::int64_t, std::centi>;
    const auto second = std::chrono::floor<std::chrono::seconds>(moment);
    return static_cast<double>(std::chrono::floor<Hundredths>(moment - second).count());
}

} // namespace

double modulus(double a, double b) {
    return a - truncatedQuotient(a, b) * b;
}

std::string FWTimecode::timecodeFromFrameCount(std::uint64_t frameCount, std::int64_t timebase,
                                               bool /*ntsc*/, bool dropFrame,
                                               std::uint64_t startFrame) {
    const auto fps = static_cast<double>(usableTimebase(timebase));
    const std::uint64_t frame = frameCount + startFrame;
    return timecodeText(dropFrame ? addDroppedFrames(frame, fps) : frame, fps, dropFrame);
}

std::uint64_t FWTimecode::frameCountFromTimecode(const std::string& timecode, std::int64_t timebase,
                                                 bool /*ntsc*/, bool dropFrame,
                                                 std::uint64_t startFrame) {
    const std::vector<std::string_view> fields = fieldsOf(timecode);
    if (fields.empty()) {
        return 0;
    }
    const std::int64_t rate = usableTimebase(timebase);
    const std::uint64_t seconds = wrappedInteger(fields[2]) + wrappedInteger(fields[1]) * 60 +
                                  wrappedInteger(fields[0]) * 3600;
    const std::uint64_t frame =
        seconds * static_cast<std::uint64_t>(rate) + wrappedInteger(fields[3]);
    return (dropFrame ? subtractDroppedFrames(frame, static_cast<double>(rate)) : frame) -
           startFrame;
}

std::string FWTimecode::elapsedTimeFromFrameCount(std::uint64_t frameCount, double fps) {
    return timecodeText(frameCount, usableRate(fps), false);
}

std::uint64_t FWTimecode::frameCountFromElapsedTime(const std::string& elapsedTime, double fps) {
    const std::vector<std::string_view> fields = fieldsOf(elapsedTime);
    if (fields.empty()) {
        return 0;
    }
    const double rate = usableRate(fps);
    const auto plus = [](std::uint64_t count, double frames) {
        return saturatingCast<std::uint64_t>(static_cast<double>(count) + std::round(frames));
    };
    std::uint64_t count =
        saturatingCast<std::uint64_t>(std::round(leadingDouble(fields[0]) * rate * 60 * 60));
    count = plus(count, leadingDouble(fields[1]) * rate * 60);
    count = plus(count, leadingDouble(fields[2]) * rate);
    return count + wrappedInteger(fields[3]);
}

std::string FWTimecode::timecode(const std::string& timecode, std::int64_t incrementBy,
                                 std::int64_t timebase, bool ntsc, bool dropFrame) {
    const std::uint64_t count = frameCountFromTimecode(timecode, timebase, ntsc, false, 0);
    return timecodeFromFrameCount(static_cast<std::uint64_t>(incrementBy) + count, timebase, ntsc,
                                  dropFrame, 0);
}

double FWTimecode::frameRateFromTimebase(std::int64_t timebase, bool isNTSC) {
    const auto rate = static_cast<double>(timebase);
    if (!isNTSC) {
        return rate;
    }
    const bool isDefined = timebase == 24 || timebase == 30 || timebase == 60;
    return isDefined ? rate * 1000 / 1001 : 0.0;
}

std::string FWTimecode::timecodeFromSeconds(double seconds, float fps, bool dropFrame) {
    const double rate = fps;
    const auto frames = saturatingCast<std::uint64_t>(std::round(seconds * rate));
    const bool ntsc = std::floor(rate) != std::ceil(rate);
    return timecodeFromFrameCount(frames, saturatingCast<std::int64_t>(std::ceil(rate)), ntsc,
                                  dropFrame, 0);
}

std::string FWTimecode::timeOfDayTimecode(std::int64_t timebase, bool ntsc, bool dropFrame) {
    return timeOfDayTimecode(timebase, ntsc, dropFrame, std::chrono::system_clock::now());
}

std::string FWTimecode::timeOfDayTimecode(std::int64_t timebase, bool ntsc, bool dropFrame,
                                          std::chrono::system_clock::time_point moment) {
    const std::time_t second =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(moment));
    std::tm local{};
    ::localtime_r(&second, &local);
    const double rate = frameRateFromTimebase(timebase, ntsc);
    const auto frame = saturatingCast<std::int64_t>(std::floor(hundredthsOf(moment) / 100 * rate));
    return padded(local.tm_hour) + ':' + padded(local.tm_min) + ':' + padded(local.tm_sec) +
           frameSeparator(dropFrame) + padded(frame);
}

std::string FWTimecode::addTimecode(const std::string& timecode, const std::string& toTimecode,
                                    std::int64_t timebase, bool ntsc, bool dropFrame) {
    const std::uint64_t sum = frameCountFromTimecode(timecode, timebase, ntsc, dropFrame, 0) +
                              frameCountFromTimecode(toTimecode, timebase, ntsc, dropFrame, 0);
    return timecodeFromFrameCount(sum, timebase, ntsc, dropFrame, 0);
}

std::optional<std::string> FWTimecode::subtractTimecode(const std::string& timecode,
                                                        const std::string& fromTimecode,
                                                        std::int64_t timebase, bool ntsc,
                                                        bool dropFrame) {
    const std::uint64_t taken = frameCountFromTimecode(timecode, timebase, ntsc, dropFrame, 0);
    const std::uint64_t whole = frameCountFromTimecode(fromTimecode, timebase, ntsc, dropFrame, 0);
    if (whole < taken) {
        return std::nullopt;
    }
    return timecodeFromFrameCount(whole - taken, timebase, ntsc, dropFrame, 0);
}

bool FWTimecode::timecodeInRange(const std::string& timecode, const std::string& start,
                                 const std::string& end) {
    if (timecode == start || timecode == end) {
        return true;
    }
    const auto frameAt24 = [](const std::string& text) {
        return frameCountFromTimecode(text, 24, false, false, 0);
    };
    const std::uint64_t frame = frameAt24(timecode);
    return frameAt24(start) <= frame && frame <= frameAt24(end);
}

std::uint64_t FWTimecode::addDroppedFrames(std::uint64_t frameCount, double fps) {
    const auto dropped = saturatingCast<std::int64_t>(std::round(fps * kDroppedShare));
    const auto tenMinutes = saturatingCast<std::uint64_t>(std::round(60 * fps * 10));
    const auto droppedMinute =
        saturatingCast<std::int64_t>(std::round(fps) * 60 - static_cast<double>(dropped));
    if (tenMinutes == 0 || droppedMinute == 0) {
        return frameCount;
    }
    const std::uint64_t blocks = frameCount / tenMinutes;
    const auto rest = static_cast<std::int64_t>(frameCount % tenMinutes);
    if (rest <= dropped) {
        return frameCount + static_cast<std::uint64_t>(dropped) * blocks * 9;
    }
    const std::int64_t minutes = (rest - dropped) / droppedMinute;
    const auto droppedFrames = static_cast<double>(dropped);
    return saturatingCast<std::uint64_t>(static_cast<double>(frameCount) +
                                         static_cast<double>(minutes) * droppedFrames +
                                         static_cast<double>(blocks) * droppedFrames * 9);
}

std::uint64_t FWTimecode::subtractDroppedFrames(std::uint64_t frameCount, double fps) {
    const std::uint64_t added = addDroppedFrames(frameCount, fps) - frameCount;
    return addDroppedFrames(added, fps) + frameCount - 2 * added;
}

std::string FWTimecode::sanitizeTimecodeForFilename(const std::string& timecode) {
    std::string name = timecode;
    for (char& c : name) {
        if (kTimecodeSeparators.find(c) != std::string_view::npos) {
            c = '.';
        }
    }
    return name;
}

std::string FWTimecode::formatHours(std::int64_t hours, std::int64_t mins, std::int64_t secs,
                                    std::int64_t frames, bool dropFrame) {
    return paddedUnsigned(hours) + ':' + paddedUnsigned(mins) + ':' + paddedUnsigned(secs) +
           frameSeparator(dropFrame) + paddedUnsigned(frames);
}

} // namespace fw
