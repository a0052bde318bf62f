#pragma once

#include "analysis/FWHistogram.h"
#include "media/MediaTime.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// A flash that was found.
struct FlashReport {
    std::int64_t frame = 0; ///< May be below zero.
    MediaTime time;
    std::string message;
    std::optional<std::string> info; ///< The three differences of a single flash.

    bool operator==(const FlashReport&) const = default;
};

struct FlashSettings {
    /// The longest flash in frames; the history has two frames more. -2 and below: no history.
    std::int64_t length = 4;
    /// 0 to 10 in practice; higher finds more.
    std::int64_t sensitivity = 5;
    float framesPerSecond = 0;
};

/// Finds frames, and short bursts of frames, whose colours jump away from their neighbours' and
/// back. It keeps the histograms of at most length + 2 frames. Not thread-safe.
class FlashDetector {
public:
    explicit FlashDetector(const FlashSettings& settings);

    /// Takes the next frame. A single flash, if any, comes before a burst.
    std::vector<FlashReport> examine(const FWHistogram& histogram, const MediaTime& time,
                                     std::uint64_t byteCount);

    /// After the last frame: the bursts that the history still holds. Empties the history.
    std::vector<FlashReport> finish();

private:
    /// A frame of the history and its difference to the frame before, 0 when there was none.
    struct Slot {
        FWHistogram histogram;
        float jump = 0;
    };
    /// Frames between two jumps. `closing` is the newer slot of the closing pair.
    struct Burst {
        std::size_t closing = 0;
        std::size_t length = 0;
    };

    bool isFull() const;
    void push(const FWHistogram& histogram);
    float difference(std::size_t newer, std::size_t older) const;
    float burstThreshold() const;
    MediaTime timeBefore(std::int64_t frames) const;

    std::optional<FlashReport> singleFlash();
    std::optional<FlashReport> burstFlash();
    std::optional<Burst> findBurst() const;
    bool isShortBurstSharp(const Burst& burst) const;
    bool isSteady(const Burst& burst) const;
    std::optional<FlashReport> lateBurst() const;

    FlashSettings settings_;
    float sensitivityFactor_;
    float sensitivityScale_;

    std::deque<Slot> slots_; ///< The newest first; never more than length + 2.
    MediaTime lastTime_;
    std::int64_t lastFrame_ = 0;
    std::uint64_t lastByteCount_ = 0;

    // Frames of recent reports, so that a burst is not reported again. -2: none.
    std::int64_t lastFlashA_ = -2;
    std::int64_t lastFlashB_ = -2;
};

} // namespace fw
