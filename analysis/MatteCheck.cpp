#include "analysis/MatteCheck.h"

#include "base/numbers.h"
#include "base/systemLog.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <fmt/format.h>
#include <string_view>

namespace fw::matte {
namespace {

constexpr std::int64_t kTenBits = 10;
constexpr int kLargestBlack8 = 16;
constexpr int kLargestBlack10 = 64;
/// Bytes of a 10-bit group behind its first.
constexpr std::uint64_t kGroupRest10 = 7;

struct LineCounts {
    std::uint64_t black = 0;
    std::uint64_t nonBlack = 0;
};

/// The offsets of the samples of a line: first, first + step, ... below end.
struct Line {
    std::uint64_t first = 0;
    std::uint64_t step = 0;
    std::uint64_t end = 0;
};

template <typename IsBlack>
LineCounts countSamples(const Line& line, std::uint64_t readableEnd, IsBlack isBlack) {
    LineCounts counts;
    const std::uint64_t end = std::min(line.end, readableEnd);
    for (std::uint64_t offset = line.first; offset < end; offset += line.step) {
        const bool black = isBlack(offset);
        counts.black += black;
        counts.nonBlack += !black;
    }
    return counts;
}

/// The first offset of the line that is not below `limit`.
std::uint64_t firstOffsetFrom(const Line& line, std::uint64_t limit) {
    if (line.first >= limit) {
        return line.first;
    }
    return line.first + (limit - line.first + line.step - 1) / line.step * line.step;
}

/// A sample is one byte. The byte just past the end still counts as readable.
LineCounts countLine8(const std::uint8_t* base, std::uint64_t total, const Line& line) {
    const std::uint64_t readableEnd = total + 1;
    const LineCounts counts = countSamples(
        line, readableEnd, [base](std::uint64_t offset) { return base[offset] <= kLargestBlack8; });
    const std::uint64_t stop = firstOffsetFrom(line, readableEnd);
    if (stop < line.end) {
        systemLog(fmt::format("Error: {} beyond bounds {}", static_cast<std::int64_t>(stop),
                              static_cast<std::int64_t>(total)));
    }
    return counts;
}

/// A sample is bits 10 to 19 of a word; its group of 8 bytes may end one byte past the end.
LineCounts countLine10(const std::uint8_t* base, std::uint64_t total, const Line& line) {
    const std::uint64_t readableEnd = total < kGroupRest10 ? 0 : total - kGroupRest10 + 1;
    const LineCounts counts = countSamples(line, readableEnd, [base](std::uint64_t offset) {
        return (base[offset + 1] >> 2 | (base[offset + 2] & 0x0F) << 6) <= kLargestBlack10;
    });
    const std::uint64_t stop = firstOffsetFrom(line, readableEnd);
    if (stop < line.end) {
        systemLog(fmt::format("Error: {} beyond bounds {}",
                              low32Signed(static_cast<std::int64_t>(stop + kGroupRest10)),
                              static_cast<std::int64_t>(total)));
    }
    return counts;
}

LineCounts countLine(PixelBuffer& buffer, std::int64_t bitDepth, const Line& line) {
    const std::uint64_t total = buffer.height() * buffer.bytesPerRow();
    return bitDepth == kTenBits ? countLine10(buffer.base(), total, line)
                                : countLine8(buffer.base(), total, line);
}

LineCounts countRow(PixelBuffer& buffer, std::uint64_t row, std::int64_t bitDepth) {
    const std::uint64_t bytesPerRow = buffer.bytesPerRow();
    const std::uint64_t start = bytesPerRow * row;
    const std::uint64_t end = bytesPerRow * (row + 1);
    return countLine(buffer, bitDepth,
                     bitDepth == kTenBits ? Line{start, 8, end} : Line{start + 1, 2, end});
}

LineCounts countColumn(PixelBuffer& buffer, std::uint64_t column, std::int64_t bitDepth) {
    if (buffer.height() == 0) {
        return {};
    }
    const bool isEven = column % 2 == 0;
    const std::uint64_t bytesPerRow = buffer.bytesPerRow();
    Line line;
    if (bitDepth == kTenBits) {
        line.first = isEven ? column + kGroupRest10 : column;
        line.step = bytesPerRow + kGroupRest10;
    } else {
        line.first = isEven ? column + 1 : column + 2;
        line.step = bytesPerRow + 2;
    }
    line.end = line.first + (buffer.height() - 1) * bytesPerRow;
    return countLine(buffer, bitDepth, line);
}

void store(const LineCounts& counts, std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels) {
    if (blackPixels != nullptr) {
        *blackPixels = counts.black;
    }
    if (nonBlackPixels != nullptr) {
        *nonBlackPixels = counts.nonBlack;
    }
}

void logException(const std::exception& exception) {
    systemLog(fmt::format("Exception: {}", exception.what()));
}

std::uint64_t roundedUp(double value) {
    return saturatingCast<std::uint64_t>(std::ceil(value));
}

std::uint64_t cut(double value) {
    return saturatingCast<std::uint64_t>(value);
}

/// Which of two facing bars, in the order of the lines.
enum class Side { kFirst, kSecond };

/// Bars of one direction: lines are rows (letterbox) or columns (pillarbox).
struct Bars {
    LineCounts (*count)(PixelBuffer& buffer, std::uint64_t line, std::int64_t bitDepth);
    double lineCount = 0;            ///< Lines of the whole frame.
    double barLines = 0;             ///< Expected lines of one bar, less the slack.
    std::uint64_t barTolerance = 0;  ///< Samples of a bar that need not be black.
    std::uint64_t lineTolerance = 0; ///< Black samples of a line that is still picture.
    double smallestShare = 0;        ///< Of the lines examined beside a bar.
    std::string_view firstName;
    std::string_view secondName;
};

/// Lines taken off each expected bar.
constexpr double kSlack = 6;

double expectedBarLines(double spareLines) {
    return std::max(std::floor(spareLines * 0.5) - kSlack, 0.0);
}

/// A row that cannot be read counts as having no samples.
LineCounts countRowOrNothing(PixelBuffer& buffer, std::uint64_t row, std::int64_t bitDepth) {
    LineCounts counts;
    scanPixelRow(buffer, row, bitDepth, &counts.black, &counts.nonBlack);
    return counts;
}

Bars letterbox(PixelBuffer& buffer, double spareRows) {
    Bars bars;
    bars.count = countRowOrNothing;
    bars.lineCount = static_cast<double>(buffer.height());
    bars.barLines = expectedBarLines(spareRows);
    bars.lineTolerance = roundedUp(static_cast<double>(buffer.bytesPerRow()) * 0.3);
    bars.barTolerance = bars.lineTolerance;
    bars.smallestShare = 0.12;
    bars.firstName = "Upper";
    bars.secondName = "Lower";
    return bars;
}

Bars pillarbox(PixelBuffer& buffer, double aspectRatio) {
    const auto width = static_cast<double>(buffer.width());
    const auto height = static_cast<double>(buffer.height());
    Bars bars;
    bars.count = countColumn;
    bars.lineCount = width;
    bars.barLines = expectedBarLines(width - aspectRatio * height);
    bars.lineTolerance = roundedUp(height * 0.3);
    bars.barTolerance = roundedUp(bars.barLines * height * 0.3);
    bars.smallestShare = 0.1;
    bars.firstName = "Left";
    bars.secondName = "Right";
    return bars;
}

/// The larger-bar rule. The first side accepts equality and the second does not: deliberate.
bool isLargerThanExpected(std::uint64_t darkLines, std::uint64_t examinedLines,
                          double smallestShare, Side side) {
    const double examined = static_cast<float>(examinedLines);
    const auto dark = static_cast<double>(darkLines);
    if (std::ceil(examined * 0.9) <= dark) {
        return false; // The whole band is dark: a fade or a black frame.
    }
    if (darkLines > 30) {
        return true;
    }
    const double smallest = std::ceil(examined * smallestShare);
    return side == Side::kFirst ? smallest <= dark : smallest < dark;
}

/// One check of one frame.
class BarCheck {
public:
    BarCheck(PixelBuffer& buffer, std::int64_t bitDepth, const Bars& bars)
        : buffer_(buffer), bitDepth_(bitDepth), bars_(bars),
          extent_(roundedUp(bars.lineCount * 0.2)) {}

    std::vector<std::string> messages() const {
        std::vector<std::string> found;
        checkFirst(found);
        checkSecond(found);
        return found;
    }

private:
    void checkFirst(std::vector<std::string>& found) const {
        const std::uint64_t end = cut(bars_.barLines);
        if (nonBlackSamples(0, end) > bars_.barTolerance) {
            found.push_back(notBlack(bars_.firstName));
        } else if (isLargerThanExpected(darkLinesFrom(end), extent_, bars_.smallestShare,
                                        Side::kFirst)) {
            found.push_back(tooLarge(bars_.firstName));
        }
    }

    void checkSecond(std::vector<std::string>& found) const {
        const std::uint64_t start = cut(bars_.lineCount - bars_.barLines);
        if (nonBlackSamples(start, cut(bars_.lineCount)) > bars_.barTolerance) {
            found.push_back(notBlack(bars_.secondName));
        } else if (isLargerThanExpected(darkLinesBackFrom(start), extent_, bars_.smallestShare,
                                        Side::kSecond)) {
            found.push_back(tooLarge(bars_.secondName));
        }
    }

    std::uint64_t nonBlackSamples(std::uint64_t start, std::uint64_t end) const {
        std::uint64_t samples = 0;
        for (std::uint64_t line = start; line < end; ++line) {
            samples += count(line).nonBlack;
        }
        return samples;
    }

    /// From the first line behind the first bar on.
    std::uint64_t darkLinesFrom(std::uint64_t start) const {
        const double end = bars_.barLines + static_cast<double>(extent_);
        std::uint64_t lines = 0;
        while (static_cast<double>(start + lines) < end && isDark(start + lines)) {
            ++lines;
        }
        return lines;
    }

    /// From the first line of the second bar itself back into the picture: that this side starts
    /// within its bar is deliberate.
    std::uint64_t darkLinesBackFrom(std::uint64_t start) const {
        const double limit = (bars_.lineCount - bars_.barLines) - static_cast<double>(extent_);
        std::uint64_t lines = 0;
        while (limit < static_cast<double>(start - lines) && isDark(start - lines)) {
            ++lines;
        }
        return lines;
    }

    bool isDark(std::uint64_t line) const { return count(line).black > bars_.lineTolerance; }

    LineCounts count(std::uint64_t line) const { return bars_.count(buffer_, line, bitDepth_); }

    static std::string notBlack(std::string_view name) {
        return fmt::format("{} matte area is not completely black", name);
    }
    static std::string tooLarge(std::string_view name) {
        return fmt::format("{} matte area is larger than expected", name);
    }

    PixelBuffer& buffer_;
    std::int64_t bitDepth_;
    const Bars& bars_;
    std::uint64_t extent_; ///< Lines examined beside a bar.
};

std::vector<std::string> barMessages(PixelBuffer& buffer, double aspectRatio,
                                     std::int64_t bitDepth) {
    if (!(aspectRatio > 0)) {
        return {};
    }
    const double spareRows =
        static_cast<double>(buffer.height()) - static_cast<double>(buffer.width()) / aspectRatio;
    const Bars bars =
        spareRows >= 0 ? letterbox(buffer, spareRows) : pillarbox(buffer, aspectRatio);
    return BarCheck(buffer, bitDepth, bars).messages();
}

} // namespace

void scanPixelRow(PixelBuffer& buffer, std::uint64_t row, std::int64_t bitDepth,
                  std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels) {
    try {
        store(countRow(buffer, row, bitDepth), blackPixels, nonBlackPixels);
    } catch (const std::exception& exception) {
        logException(exception);
    }
}

void scanPixelColumn(PixelBuffer& buffer, std::uint64_t column, std::int64_t bitDepth,
                     std::uint64_t* blackPixels, std::uint64_t* nonBlackPixels) {
    store(countColumn(buffer, column, bitDepth), blackPixels, nonBlackPixels);
}

std::optional<std::vector<std::string>> checkAspectRatio(PixelBuffer& buffer, double aspectRatio,
                                                         std::int64_t bitDepth) {
    try {
        return barMessages(buffer, aspectRatio, bitDepth);
    } catch (const std::exception& exception) {
        logException(exception);
        return std::nullopt;
    }
}

} // namespace fw::matte
