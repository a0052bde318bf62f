#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fw::test {

/// A second, plainly written matte check: one sample, one line and one bar after the other.
struct MatteReference {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t bytesPerRow = 0;
    std::vector<std::uint8_t> bytes; ///< With zeros behind the end.
    bool tenBits = false;

    std::uint64_t black = 0;
    std::uint64_t nonBlack = 0;
    std::vector<std::string> log;

    void scanRow(std::uint64_t row);
    void scanColumn(std::uint64_t column);
    std::vector<std::string> check(double aspectRatio);

private:
    bool readSample(std::uint64_t offset);
    bool isLarger(std::uint64_t count, std::uint64_t extent, double factor, bool first) const;
    void checkRows(double spare, std::vector<std::string>& found);
    void checkColumns(double aspectRatio, std::vector<std::string>& found);
};

} // namespace fw::test
