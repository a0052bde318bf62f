#include "tests/analysis/MatteReference.h"

#include <cmath>

namespace fw::test {

/// Counts the sample at an offset; false, with a log line, when it lies beyond the buffer.
bool MatteReference::readSample(std::uint64_t offset) {
    const std::uint64_t total = height * bytesPerRow;
    if (tenBits) {
        if (offset + 7 > total) {
            log.push_back("Error: " + std::to_string(static_cast<int>(offset + 7)) +
                          " beyond bounds " + std::to_string(total));
            return false;
        }
        const int value = bytes.at(offset + 1) / 4 + bytes.at(offset + 2) % 16 * 64;
        ++(value <= 64 ? black : nonBlack);
        return true;
    }
    if (offset > total) {
        log.push_back("Error: " + std::to_string(offset) + " beyond bounds " +
                      std::to_string(total));
        return false;
    }
    ++(bytes.at(offset) <= 16 ? black : nonBlack);
    return true;
}

void MatteReference::scanRow(std::uint64_t row) {
    black = 0;
    nonBlack = 0;
    std::uint64_t offset = bytesPerRow * row + (tenBits ? 0 : 1);
    while (offset < bytesPerRow * (row + 1) && readSample(offset)) {
        offset += tenBits ? 8 : 2;
    }
}

void MatteReference::scanColumn(std::uint64_t column) {
    black = 0;
    nonBlack = 0;
    std::uint64_t offset = 0;
    if (tenBits) {
        offset = column % 2 == 1 ? column : column + 7;
    } else {
        offset = column % 2 == 0 ? column + 1 : column + 2;
    }
    if (height == 0) {
        return;
    }
    const std::uint64_t end = offset + (height - 1) * bytesPerRow;
    while (offset < end && readSample(offset)) {
        offset += bytesPerRow + (tenBits ? 7 : 2);
    }
}

bool MatteReference::isLarger(std::uint64_t count, std::uint64_t extent, double factor,
                              bool first) const {
    const auto examined = static_cast<double>(static_cast<float>(extent));
    const auto lines = static_cast<double>(count);
    if (std::ceil(examined * 0.9) <= lines) {
        return false;
    }
    if (count > 30) {
        return true;
    }
    const double limit = std::ceil(examined * factor);
    return first ? limit <= lines : limit < lines;
}

std::vector<std::string> MatteReference::check(double aspectRatio) {
    std::vector<std::string> found;
    if (aspectRatio > 0) {
        const double spare = static_cast<double>(height) - static_cast<double>(width) / aspectRatio;
        if (spare >= 0) {
            checkRows(spare, found);
        } else {
            checkColumns(aspectRatio, found);
        }
    }
    return found;
}

void MatteReference::checkRows(double spare, std::vector<std::string>& found) {
    const auto h = static_cast<double>(height);
    const auto tolerance =
        static_cast<std::uint64_t>(std::ceil(static_cast<double>(bytesPerRow) * 0.3));
    double bar = std::floor(spare * 0.5) - 6;
    if (bar < 0) {
        bar = 0;
    }
    const auto extent = static_cast<std::uint64_t>(std::ceil(h * 0.2));

    std::uint64_t sum = 0;
    for (std::uint64_t row = 0; static_cast<double>(row) < bar; ++row) {
        scanRow(row);
        sum += nonBlack;
    }
    if (sum > tolerance) {
        found.push_back("Upper matte area is not completely black");
    } else {
        std::uint64_t count = 0;
        for (auto row = static_cast<std::uint64_t>(bar);
             bar + static_cast<double>(extent) > static_cast<double>(row); ++row) {
            scanRow(row);
            if (black <= tolerance) {
                break;
            }
            ++count;
        }
        if (isLarger(count, extent, 0.12, true)) {
            found.push_back("Upper matte area is larger than expected");
        }
    }

    const auto start = static_cast<std::uint64_t>(h - bar);
    sum = 0;
    for (std::uint64_t row = start; row < height; ++row) {
        scanRow(row);
        sum += nonBlack;
    }
    if (sum > tolerance) {
        found.push_back("Lower matte area is not completely black");
        return;
    }
    const double limit = (h - bar) - static_cast<double>(extent);
    std::uint64_t count = 0;
    for (std::uint64_t row = start; limit < static_cast<double>(row); --row) {
        scanRow(row);
        if (black <= tolerance) {
            break;
        }
        ++count;
    }
    if (isLarger(count, extent, 0.12, false)) {
        found.push_back("Lower matte area is larger than expected");
    }
}

void MatteReference::checkColumns(double aspectRatio, std::vector<std::string>& found) {
    const auto w = static_cast<double>(width);
    const auto h = static_cast<double>(height);
    const auto lineTolerance = static_cast<std::uint64_t>(std::ceil(h * 0.3));
    double bar = std::floor((w - aspectRatio * h) * 0.5) - 6;
    if (bar < 0) {
        bar = 0;
    }
    const auto barTolerance = static_cast<std::uint64_t>(std::ceil(bar * h * 0.3));
    const auto extent = static_cast<std::uint64_t>(std::ceil(w * 0.2));

    std::uint64_t sum = 0;
    for (std::uint64_t column = 0; static_cast<double>(column) < bar; ++column) {
        scanColumn(column);
        sum += nonBlack;
    }
    if (sum > barTolerance) {
        found.push_back("Left matte area is not completely black");
    } else {
        std::uint64_t count = 0;
        for (auto column = static_cast<std::uint64_t>(bar);
             bar + static_cast<double>(extent) > static_cast<double>(column); ++column) {
            scanColumn(column);
            if (black <= lineTolerance) {
                break;
            }
            ++count;
        }
        if (isLarger(count, extent, 0.1, true)) {
            found.push_back("Left matte area is larger than expected");
        }
    }

    const auto start = static_cast<std::uint64_t>(w - bar);
    sum = 0;
    for (std::uint64_t column = start; column < width; ++column) {
        scanColumn(column);
        sum += nonBlack;
    }
    if (sum > barTolerance) {
        found.push_back("Right matte area is not completely black");
        return;
    }
    const double limit = (w - bar) - static_cast<double>(extent);
    std::uint64_t count = 0;
    for (std::uint64_t column = start; limit < static_cast<double>(column); --column) {
        scanColumn(column);
        if (black <= lineTolerance) {
            break;
        }
        ++count;
    }
    if (isLarger(count, extent, 0.1, false)) {
        found.push_back("Right matte area is larger than expected");
    }
}

} // namespace fw::test
