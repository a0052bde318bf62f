#pragma once

#include "analysis/kernels/HistogramRules.h"

#include <cmath>
#include <cstdint>

namespace fw::avx2 {

/// How many shares are taken at a time.
inline constexpr std::uint64_t kGroupsPerBlock = 512;

/// The shares of components added up in single precision one after the other, taken a block at a
/// time where that makes no difference.
///
/// While such a sum lies between two powers of two its last place stands for the same unit, and
/// every share, rounded as the sum rounds it, adds a whole number of units. Whole numbers can be
/// added in any order. It does make a difference where the sum reaches the next power of two, and
/// where a share lies half-way between two numbers of units, because ties go to the even sum.
class OrderedSum {
public:
    explicit OrderedSum(const Shares& shares) : shares_(&shares) {}

    float value() const { return sum_; }

    /// A component adds as many units as component * unitsPerStep(), rounded to the nearest. 0
    /// where blocks cannot be taken: only single components.
    float unitsPerStep() const { return unitsPerStep_; }

    /// Takes a block whose units are added up already; false, and nothing is taken, where its order
    /// matters.
    bool addBlock(std::int32_t units) {
        if (unitsPerStep_ == 0) {
            return false;
        }
        const float sum = sum_ + static_cast<float>(units) * unit_;
        const bool isInRange = units == 0 || sum < end_;
        sum_ = isInRange ? sum : sum_;
        return isInRange;
    }

    void add(std::uint8_t component) { sum_ += (*shares_)[component]; }

    /// After single components: where the sum lies now.
    void findRange() {
        if (sum_ == 0) { // Only blocks of nothing leave it there.
            unitsPerStep_ = 1;
            end_ = 0;
            return;
        }
        constexpr int kSignificantBits = 24;
        int exponent = 0;
        std::frexp(sum_, &exponent);
        end_ = std::ldexp(1.0F, exponent);
        unit_ = std::ldexp(1.0F, exponent - kSignificantBits);
        unitsPerStep_ = (*shares_)[1] / unit_;
        if (!isExact()) {
            unitsPerStep_ = 0;
        }
    }

private:
    /// Whether every component adds the number of units that its product rounds to, and the units
    /// of a block are counted without rounding.
    bool isExact() const {
        constexpr float kMostUnits = static_cast<float>(1 << 24) / kGroupsPerBlock;
        for (int component = 0; component < 256; ++component) {
            const float units = (*shares_)[static_cast<std::uint8_t>(component)] / unit_;
            const float nearest = std::nearbyint(units);
            const float product = std::nearbyint(static_cast<float>(component) * unitsPerStep_);
            const bool isTie = std::abs(units - nearest) == 0.5F;
            if (units > kMostUnits || isTie || product != nearest) {
                return false;
            }
        }
        return true;
    }

    const Shares* shares_;
    float sum_ = 0;
    float unitsPerStep_ = 0;
    float unit_ = 0;
    float end_ = 0; ///< The next power of two.
};

} // namespace fw::avx2
