#include "analysis/kernels/LumaKernel.h"

#include "analysis/kernels/V210Word.h"

#include <algorithm>

namespace fw {
namespace {

constexpr std::int32_t kLargestCode8 = 255;
constexpr std::int32_t kLargestCode10 = 1023;

/// A reference level beside the codes: what lies outside them compares like the next value beyond.
std::int32_t heldNearCodes(std::int64_t level, std::int32_t largestCode) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(level, -1, std::int64_t{largestCode} + 1));
}

class LumaTally {
public:
    LumaTally(std::int64_t refBlack, std::int64_t refWhite, std::int32_t largestCode)
        : black_(heldNearCodes(refBlack, largestCode)),
          white_(heldNearCodes(refWhite, largestCode)), lowestBlack_(largestCode) {}

    /// Without branches: pictures with noise around a level would mislead every prediction.
    void add(std::int32_t luma) {
        const bool isWhite = luma > white_;
        const bool isBlack = !isWhite && luma < black_;
        whiteCount_ += isWhite;
        blackCount_ += isBlack;
        highestWhite_ = std::max(highestWhite_, isWhite ? luma : 0);
        lowestBlack_ = std::min(lowestBlack_, isBlack ? luma : lowestBlack_);
    }

    LumaCounts counts() const { return {blackCount_, whiteCount_, lowestBlack_, highestWhite_}; }

private:
    std::int32_t black_;
    std::int32_t white_;
    std::uint64_t blackCount_ = 0;
    std::uint64_t whiteCount_ = 0;
    std::int32_t lowestBlack_;
    std::int32_t highestWhite_ = 0;
};

} // namespace

LumaCounts scanLuma8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                     std::int64_t refWhite) {
    LumaTally tally(refBlack, refWhite, kLargestCode8);
    for (std::uint64_t offset = 1; offset < byteCount; offset += 2) {
        tally.add(base[offset]);
    }
    return tally.counts();
}

LumaCounts scanLuma10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                      std::int64_t refWhite) {
    LumaTally tally(refBlack, refWhite, kLargestCode10);
    for (std::uint64_t offset = 0; offset < byteCount; offset += 8) {
        const std::uint32_t second = littleEndianWord(base + offset + 4);
        tally.add(middleSample(littleEndianWord(base + offset)));
        tally.add(lowSample(second));
        tally.add(highSample(second));
    }
    return tally.counts();
}

} // namespace fw
