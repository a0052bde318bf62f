#pragma once

#include "analysis/FWHistogram.h"
#include "scanner/FlashDetector.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace fw::test {

/// A second flash detector: a literal array of length + 2 slots, and one rule after the other.
/// Frame numbers are given by the caller.
class FlashReference {
public:
    FlashReference(std::int64_t length, std::int64_t sensitivity, double framesPerSecond);

    std::vector<FlashReport> frame(const FWHistogram& histogram, std::int64_t number,
                                   const MediaTime& time, std::uint64_t byteCount);
    std::vector<FlashReport> end();

    /// How often each rule was reached, so that a test can tell whether its frames reach them all.
    struct Reached {
        int singles = 0;
        int bursts = 0;
        int burstsOfOne = 0;
        int blunt = 0;      ///< Bursts of one frame that the further conditions refuse.
        int unsteady = 0;   ///< Bursts whose frames differ too much.
        int suppressed = 0; ///< Bursts reported before.
        int lateBursts = 0;
        int lateSuppressed = 0;
    };
    Reached reached;

private:
    using Slot = std::optional<FWHistogram::Buckets>;

    Slot* slot(std::int64_t index);
    float raw(std::int64_t a, std::int64_t b);
    float scaled(std::int64_t a, std::int64_t b) { return raw(a, b) * 0.015625F; }
    float burstThreshold() const;
    bool steady(std::int64_t newest, std::int64_t count);
    MediaTime timeBack(std::int64_t frames) const;
    void testSingle(std::vector<FlashReport>& reports);
    void testBurst(std::vector<FlashReport>& reports);
    void testLateBurst(std::int64_t emptied, std::vector<FlashReport>& reports);

    std::int64_t length_;
    std::int64_t sensitivity_;
    double fps_;
    std::vector<Slot> slots_;
    std::int64_t number_ = 0;
    MediaTime time_;
    double bytes_ = 0;
    std::int64_t lastA_ = -2;
    std::int64_t lastB_ = -2;
};

} // namespace fw::test
