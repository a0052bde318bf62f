#pragma once

#include "analysis/kernels/LumaKernel.h"
#include "analysis/kernels/V210Word.h"

#include <algorithm>
#include <limits>

/// The walk over the luma of a frame, compiled for each kind of machine where it is included.
namespace fw::luma {

inline constexpr std::int32_t kLargestCode8 = 255;
inline constexpr std::int32_t kLargestCode10 = 1023;

/// A reference level beside the codes: what lies outside them compares like the next value beyond.
inline std::int32_t heldNearCodes(std::int64_t level, std::int32_t largestCode) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(level, -1, std::int64_t{largestCode} + 1));
}

/// Codes below `black` are black, codes above `white` are white. `black` is never above `white` +
/// 1: a value that is white is not black, too.
struct Limits {
    Limits(std::int64_t refBlack, std::int64_t refWhite, std::int32_t largest)
        : white(heldNearCodes(refWhite, largest)),
          black(std::min(heldNearCodes(refBlack, largest), white + 1)), largestCode(largest) {}

    std::int32_t white;
    std::int32_t black;
    std::int32_t largestCode;
};

/// The counts of up to 2^32 samples; narrow, and without branches, so that compilers make vectors
/// of it and noise around a level misleads no prediction.
struct BlockTally {
    void add(std::int32_t luma, const Limits& limits) {
        whiteCount += luma > limits.white ? 1 : 0;
        blackCount += luma < limits.black ? 1 : 0;
        highest = std::max(highest, luma);
        lowest = std::min(lowest, luma);
    }

    std::uint32_t blackCount = 0;
    std::uint32_t whiteCount = 0;
    std::int32_t lowest = std::numeric_limits<std::int32_t>::max();
    std::int32_t highest = 0;
};

/// The lowest code of all is the lowest of the black ones when there is a black one; likewise
/// white.
inline void merge(LumaCounts& counts, const BlockTally& block) {
    counts.blackCount += block.blackCount;
    counts.whiteCount += block.whiteCount;
    if (block.blackCount > 0) {
        counts.lowestBlack = std::min<std::int64_t>(counts.lowestBlack, block.lowest);
    }
    if (block.whiteCount > 0) {
        counts.highestWhite = std::max<std::int64_t>(counts.highestWhite, block.highest);
    }
}

/// Groups of `Step` bytes from `first` to `end`; `addGroup` gives the luma values of the group at
/// an address to a tally.
template <std::uint64_t Step, typename AddGroup>
LumaCounts scan(const std::uint8_t* base, std::uint64_t first, std::uint64_t end,
                std::int32_t largestCode, AddGroup addGroup) {
    constexpr std::uint64_t kGroupsPerBlock = std::uint64_t{1} << 18;
    LumaCounts counts{0, 0, largestCode, 0};
    std::uint64_t groupsLeft = end > first ? (end - first + Step - 1) / Step : 0;
    const std::uint8_t* group = base + first;
    while (groupsLeft > 0) {
        const std::uint64_t groups = std::min(groupsLeft, kGroupsPerBlock);
        BlockTally block;
        for (std::uint64_t i = 0; i < groups; ++i) {
            addGroup(block, group + i * Step);
        }
        merge(counts, block);
        group += groups * Step;
        groupsLeft -= groups;
    }
    return counts;
}

inline LumaCounts scan8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                        std::int64_t refWhite) {
    const Limits limits(refBlack, refWhite, kLargestCode8);
    return scan<2>(
        base, 1, byteCount, limits.largestCode,
        [limits](BlockTally& tally, const std::uint8_t* group) { tally.add(*group, limits); });
}

inline LumaCounts scan10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                         std::int64_t refWhite) {
    const Limits limits(refBlack, refWhite, kLargestCode10);
    return scan<8>(base, 0, byteCount, limits.largestCode,
                   [limits](BlockTally& tally, const std::uint8_t* group) {
                       const std::uint32_t second = littleEndianWord(group + 4);
                       tally.add(middleSample(littleEndianWord(group)), limits);
                       tally.add(lowSample(second), limits);
                       tally.add(highSample(second), limits);
                   });
}

} // namespace fw::luma
