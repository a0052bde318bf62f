#include "bench/kernels/PlainMatteCheck.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace fw::bench {
namespace {

struct Counts {
    double black = 0;
    double nonBlack = 0;
};

/// Every `step`-th byte from `first` to before `end`; under 10 bits what starts there is read as
/// the first word of a group, whatever it is.
Counts countAlong(const MemoryPixelBuffer& frame, int bitDepth, std::uint64_t first,
                  std::uint64_t step, std::uint64_t end) {
    Counts counts;
    for (std::uint64_t offset = first; offset < end; offset += step) {
        const SampleSequence at(bitDepth == 10 ? PixelLayout::kV210 : PixelLayout::k2vuy,
                                frame.base() + offset);
        const bool isBlack = bitDepth == 10 ? at[1] <= 64 : at[0] <= 16;
        (isBlack ? counts.black : counts.nonBlack) += 1;
    }
    return counts;
}

Counts countRow(const MemoryPixelBuffer& frame, int bitDepth, std::uint64_t row) {
    const std::uint64_t start = row * frame.bytesPerRow();
    const std::uint64_t end = start + frame.bytesPerRow();
    return bitDepth == 10 ? countAlong(frame, bitDepth, start, 8, end)
                          : countAlong(frame, bitDepth, start + 1, 2, end);
}

Counts countColumn(const MemoryPixelBuffer& frame, int bitDepth, std::uint64_t column) {
    const bool isEven = column % 2 == 0;
    const std::uint64_t first =
        bitDepth == 10 ? column + (isEven ? 7 : 0) : column + (isEven ? 1 : 2);
    const std::uint64_t step = frame.bytesPerRow() + (bitDepth == 10 ? 7 : 2);
    return countAlong(frame, bitDepth, first, step,
                      first + (frame.height() - 1) * frame.bytesPerRow());
}

/// Two facing bars; a line is a row or a column.
struct Bars {
    std::function<Counts(std::uint64_t line)> count;
    double lines = 0;
    double barLines = 0;
    double barTolerance = 0;
    double lineTolerance = 0;
    double smallestShare = 0;
    std::string first;
    std::string second;
};

double nonBlackSamples(const Bars& bars, double start, double end) {
    double samples = 0;
    for (double line = start; line < end; ++line) {
        samples += bars.count(static_cast<std::uint64_t>(line)).nonBlack;
    }
    return samples;
}

/// Dark lines in a row from `start` on, at most those examined.
double darkLines(const Bars& bars, double start, double direction, double examined) {
    double lines = 0;
    while (lines < examined &&
           bars.count(static_cast<std::uint64_t>(start + direction * lines)).black >
               bars.lineTolerance) {
        ++lines;
    }
    return lines;
}

std::vector<std::string> messagesOf(const Bars& bars) {
    const double examined = std::ceil(bars.lines * 0.2);
    const double smallest = std::ceil(examined * bars.smallestShare);
    const bool isFirstDirty = nonBlackSamples(bars, 0, bars.barLines) > bars.barTolerance;
    const double secondStart = bars.lines - bars.barLines;
    const bool isSecondDirty = nonBlackSamples(bars, secondStart, bars.lines) > bars.barTolerance;
    const double firstDark = darkLines(bars, bars.barLines, 1, examined);
    const double secondDark = darkLines(bars, secondStart, -1, examined);
    const auto isFade = [&](double dark) {
        return dark >= std::ceil(examined * 0.9);
    };

    std::vector<std::string> messages;
    if (isFirstDirty) {
        messages.push_back(bars.first + " matte area is not completely black");
    } else if (!isFade(firstDark) && (firstDark > 30 || firstDark >= smallest)) {
        messages.push_back(bars.first + " matte area is larger than expected");
    }
    if (isSecondDirty) {
        messages.push_back(bars.second + " matte area is not completely black");
    } else if (!isFade(secondDark) && (secondDark > 30 || secondDark > smallest)) {
        messages.push_back(bars.second + " matte area is larger than expected");
    }
    return messages;
}

double barLines(double spareLines) {
    return std::max(std::floor(spareLines / 2) - 6, 0.0);
}

} // namespace

std::vector<std::string> plainMatteCheck(const MemoryPixelBuffer& frame, const FrameKind& kind,
                                         double aspectRatio) {
    const auto width = static_cast<double>(kind.size.width);
    const auto height = static_cast<double>(kind.size.height);
    const int depth = kind.bitDepth();
    Bars bars;
    if (height >= width / aspectRatio) {
        bars.count = [&](std::uint64_t line) {
            return countRow(frame, depth, line);
        };
        bars.lines = height;
        bars.barLines = barLines(height - width / aspectRatio);
        bars.lineTolerance = std::ceil(static_cast<double>(frame.bytesPerRow()) * 0.3);
        bars.barTolerance = bars.lineTolerance;
        bars.smallestShare = 0.12;
        bars.first = "Upper";
        bars.second = "Lower";
    } else {
        bars.count = [&](std::uint64_t line) {
            return countColumn(frame, depth, line);
        };
        bars.lines = width;
        bars.barLines = barLines(width - aspectRatio * height);
        bars.lineTolerance = std::ceil(height * 0.3);
        bars.barTolerance = std::ceil(bars.barLines * height * 0.3);
        bars.smallestShare = 0.1;
        bars.first = "Left";
        bars.second = "Right";
    }
    return messagesOf(bars);
}

} // namespace fw::bench
