#include "base/text.h"
#include "fuzz/check.h"
#include "oxbow/NumberText.h"
#include "oxbow/RangePoint.h"

#include <algorithm>
#include <string>

namespace {

using namespace fw;
using fuzz::check;

bool isOnlyOf(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

void checkFrame(std::string_view text, const FramePoint& point) {
    check(point.frame >= 0 && isOnlyOf(text, "0123456789"), "a frame is a whole number");
    check(parsedRangePoint(std::to_string(point.frame)) == RangePoint(point),
          "a frame's number is read as that frame");
}

void checkSeconds(std::string_view text, const SecondsPoint& point) {
    check(point.numerator >= 0 && isOnlyOf(text, "0123456789.s"), "seconds are a decimal number");
    check(point.denominator >= 1 && point.denominator <= 1'000'000'000,
          "seconds have up to nine decimals");
    const std::string whole = std::to_string(point.numerator / point.denominator);
    std::string decimals = std::to_string(point.denominator + point.numerator % point.denominator);
    decimals.front() = '.'; // In the place of the 1 that keeps the zeros behind it.
    check(parsedRangePoint(whole + (decimals == "." ? "" : decimals) + 's') == RangePoint(point),
          "seconds that are written out are read as the same");
}

void checkTimecode(std::string_view text, const TimecodePoint& point) {
    check(point.text == text && isOnlyOf(text, "0123456789:;"), "a timecode is kept as typed");
    check(std::count_if(text.begin(), text.end(), [](char c) { return c == ':' || c == ';'; }) == 3,
          "a timecode has four fields");
}

void checkRatio(double ratio) {
    check(ratio > 0, "an aspect ratio is above zero");
    check(leadingDouble(shortestText(ratio)) == ratio,
          "the scanner reads the ratio that it is told");
}

} // namespace

/// What somebody types for a place in the movie or an aspect ratio.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto point = parsedRangePoint(text)) {
        if (const auto* frame = std::get_if<FramePoint>(&*point)) {
            checkFrame(text, *frame);
        } else if (const auto* seconds = std::get_if<SecondsPoint>(&*point)) {
            checkSeconds(text, *seconds);
        } else {
            checkTimecode(text, std::get<TimecodePoint>(*point));
        }
    }
    if (const auto ratio = aspectRatio(text)) {
        checkRatio(*ratio);
    }
    return 0;
}
