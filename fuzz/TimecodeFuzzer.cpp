#include "base/text.h"
#include "fuzz/check.h"
#include "timecode/FWTimecode.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <string>

namespace {

using namespace fw;
using fuzz::check;

constexpr std::size_t kTimecodeLength = 11;

/// Typed text gives a timecode that ends the start timecode, or is what was typed.
void checkTyped(const std::string& typed, bool dropFrame, const std::string& start) {
    const std::string result = FWTimecode::timecodeFromUserString(typed, dropFrame, start);
    if (characterCount(typed) == kTimecodeLength) {
        check(result == typed, "eleven characters are returned as they are");
        return;
    }
    const std::size_t expected = start.empty() ? kTimecodeLength : characterCount(start);
    check(characterCount(result) >= expected, "nothing of the start timecode's length is lost");
    check(characterCount(result) <= std::max(expected, kTimecodeLength),
          "no more than eleven characters are typed");
}

/// Any text and any numbers; what is counted without drop-frame within a day is counted back.
void checkCounts(FuzzedDataProvider& input) {
    const auto timebase = input.ConsumeIntegral<std::int64_t>();
    const auto count = input.ConsumeIntegral<std::uint64_t>();
    const auto start = input.ConsumeIntegral<std::uint64_t>();
    const std::string any =
        FWTimecode::timecodeFromFrameCount(count, timebase, false, input.ConsumeBool(), start);
    check(characterCount(any) >= kTimecodeLength, "a timecode has four fields of two digits");

    const auto rate = input.ConsumeIntegralInRange<std::int64_t>(1, 1000);
    const std::uint64_t day = std::uint64_t{86400} * static_cast<std::uint64_t>(rate);
    const std::string text = FWTimecode::timecodeFromFrameCount(count % day, rate, false, false, 0);
    check(FWTimecode::frameCountFromTimecode(text, rate, false, false, 0) == count % day,
          "a timecode gives back its frame");
}

void checkText(const std::string& text, std::int64_t timebase, bool dropFrame) {
    const auto count = FWTimecode::frameCountFromTimecode(text, timebase, false, dropFrame, 0);
    const std::string shifted = FWTimecode::timecode(text, 1, timebase, false, dropFrame);
    check(characterCount(shifted) >= kTimecodeLength, "a timecode moved on is a timecode");
    check(FWTimecode::timecodeInRange(text, text, text), "a timecode lies between itself");
    const auto rest = FWTimecode::subtractTimecode(text, text, timebase, false, dropFrame);
    check(rest == FWTimecode::timecodeFromFrameCount(0, timebase, false, dropFrame, 0),
          "a timecode less itself is zero");
    const auto sum = FWTimecode::addTimecode(text, "", timebase, false, dropFrame);
    check(sum == FWTimecode::timecodeFromFrameCount(count, timebase, false, dropFrame, 0),
          "a timecode and nothing is its frame");
}

} // namespace

/// Timecode as people type it, and as files say it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const bool dropFrame = input.ConsumeBool();
    const auto timebase = input.ConsumeIntegral<std::int64_t>();
    const auto fps = input.ConsumeFloatingPoint<double>();
    const std::string start = repairedUtf8(input.ConsumeRandomLengthString(64));
    checkCounts(input);
    const std::string typed = input.ConsumeRemainingBytesAsString();
    checkText(typed, timebase, dropFrame);
    // Characters are counted on both sides of a joint, where halves of one could become one.
    checkTyped(repairedUtf8(typed), dropFrame, start);
    checkTyped(repairedUtf8(typed), dropFrame, "");
    FWTimecode::frameCountFromElapsedTime(typed, fps);
    FWTimecode::elapsedTimeFromFrameCount(static_cast<std::uint64_t>(timebase), fps);
    FWTimecode::timecodeFromSeconds(fps, static_cast<float>(timebase), dropFrame);
    return 0;
}
