#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace fw {

/// a - T x b, where T is a / b cut to a signed 32-bit integer.
double modulus(double a, double b);

/// Frame counts to timecode and back.
///
/// A timecode is "HH:MM:SS:FF", with ";" before the frames field under drop-frame; either
/// separator is read anywhere. Counts are unsigned and wrap. A timebase (whole frames a second) of
/// zero or below means 30. `ntsc` tells that the real rate is timebase x 1000 / 1001; conversions
/// take it and need it not. Drop-frame counting here has blocks of 600 x fps frames, not the
/// 17982 of a recorder: deliberate. Fields are read as the integers they begin with; a field that
/// begins with none is 0. Numbers too large for their type are held at its ends.
/// Pure functions but for the time of day; safe from any thread.
///
/// Its operations stand in FWTimecode.cpp, but for typed timecode in TypedTimecode.cpp.
class FWTimecode {
public:
    FWTimecode() = delete;

    static std::string timecodeFromFrameCount(std::uint64_t frameCount, std::int64_t timebase,
                                              bool ntsc, bool dropFrame, std::uint64_t startFrame);
    /// 0 when the text has fewer than four fields; wraps when the start frame is larger.
    static std::uint64_t frameCountFromTimecode(const std::string& timecode, std::int64_t timebase,
                                                bool ntsc, bool dropFrame,
                                                std::uint64_t startFrame);
    /// Never drop-frame; fps of zero or below means 30.
    static std::string elapsedTimeFromFrameCount(std::uint64_t frameCount, double fps);
    static std::uint64_t frameCountFromElapsedTime(const std::string& elapsedTime, double fps);
    /// The text is read without drop-frame and written with it: deliberate.
    static std::string timecode(const std::string& timecode, std::int64_t incrementBy,
                                std::int64_t timebase, bool ntsc, bool dropFrame);
    /// With ntsc: timebase x 1000 / 1001 for 24, 30 and 60, 0.0 for every other.
    static double frameRateFromTimebase(std::int64_t timebase, bool isNTSC);
    static std::string timecodeFromSeconds(double seconds, float fps, bool dropFrame);
    /// The local time of day; the frame is the hundredth of the second x the real rate, rounded
    /// down.
    static std::string timeOfDayTimecode(std::int64_t timebase, bool ntsc, bool dropFrame);
    /// The same of a given moment.
    static std::string timeOfDayTimecode(std::int64_t timebase, bool ntsc, bool dropFrame,
                                         std::chrono::system_clock::time_point moment);
    static std::string addTimecode(const std::string& timecode, const std::string& toTimecode,
                                   std::int64_t timebase, bool ntsc, bool dropFrame);
    /// Nothing when the difference would be below zero.
    static std::optional<std::string> subtractTimecode(const std::string& timecode,
                                                       const std::string& fromTimecode,
                                                       std::int64_t timebase, bool ntsc,
                                                       bool dropFrame);
    /// Both ends included; compared at 24 frames a second whatever the material's rate: deliberate.
    static bool timecodeInRange(const std::string& timecode, const std::string& start,
                                const std::string& end);
    /// The number that drop-frame counting writes on a frame. Unchanged when the rate makes a block
    /// or a minute of no frames.
    static std::uint64_t addDroppedFrames(std::uint64_t frameCount, double fps);
    /// Back from it; not always to the same frame: deliberate.
    static std::uint64_t subtractDroppedFrames(std::uint64_t frameCount, double fps);
    /// "01:02:03;04" becomes "01.02.03.04".
    static std::string sanitizeTimecodeForFilename(const std::string& timecode);
    /// A field below 10 gets a "0" in front; a negative one, too, and is printed as unsigned.
    static std::string formatHours(std::int64_t hours, std::int64_t mins, std::int64_t secs,
                                   std::int64_t frames, bool dropFrame);
    /// The timecode that somebody means who types "5." (5 seconds), "12345" (1 minute, 23 seconds,
    /// 45 frames) or "1.2.3.4". Dots and commas separate fields; one at the end stands for frames
    /// that are zero, two for seconds too, three for minutes too, and four make everything zero:
    /// deliberate. What was not typed comes from the start timecode, character for character and
    /// with its separators; an empty one stands for zero. Eleven characters are returned as they
    /// are, whatever they say; no field is checked for its range.
    static std::string timecodeFromUserString(const std::string& typed, bool dropFrame,
                                              const std::string& startTimecode);
};

} // namespace fw
