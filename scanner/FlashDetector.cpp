#include "scanner/FlashDetector.h"

#include "base/numbers.h"
#include "media/FrameNumber.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace fw {
namespace {

/// Differences are compared as the mean of the 64 buckets.
constexpr float kDifferenceScale = 0.015625F;
/// Above this mean difference two frames are not the same picture.
constexpr float kSteadyLimit = 100;
constexpr float kSingleReturnLimit = 20;

float factorFor(std::int64_t sensitivity) {
    return std::max(static_cast<float>(5.0 - 0.4 * static_cast<double>(sensitivity)), 0.1F);
}

float scaleFor(std::int64_t sensitivity) {
    const double dullness = 10.0 - static_cast<double>(sensitivity);
    return static_cast<float>(dullness * dullness * dullness / 125);
}

float singleThreshold(std::uint64_t byteCount) {
    return std::min(static_cast<float>(static_cast<double>(byteCount) * 0.5 * 0.001), 500.0F);
}

std::string burstMessage(std::size_t frames) {
    return fmt::format("Flash frame ({} frame{})", frames, frames == 1 ? "" : "s");
}

} // namespace

FlashDetector::FlashDetector(const FlashSettings& settings)
    : settings_(settings), sensitivityFactor_(factorFor(settings.sensitivity)),
      sensitivityScale_(scaleFor(settings.sensitivity)) {}

std::vector<FlashReport> FlashDetector::examine(const FWHistogram& histogram, const MediaTime& time,
                                                std::uint64_t byteCount) {
    push(histogram);
    lastTime_ = time;
    lastFrame_ = frameNumberAtTime(time, settings_.framesPerSecond);
    lastByteCount_ = byteCount;

    std::vector<FlashReport> reports;
    if (auto single = singleFlash()) {
        reports.push_back(std::move(*single));
    }
    if (auto burst = burstFlash()) {
        reports.push_back(std::move(*burst));
    }
    return reports;
}

std::vector<FlashReport> FlashDetector::finish() {
    std::vector<FlashReport> reports;
    while (slots_.size() > 2) {
        slots_.pop_back();
        if (auto burst = lateBurst()) {
            reports.push_back(std::move(*burst));
        }
    }
    slots_.clear();
    return reports;
}

void FlashDetector::push(const FWHistogram& histogram) {
    const std::int64_t capacity = saturatingAdd(settings_.length, 2);
    if (capacity <= 0) {
        return;
    }
    if (slots_.size() == static_cast<std::uint64_t>(capacity)) {
        slots_.pop_back();
    }
    const FWHistogram* before = slots_.empty() ? nullptr : &slots_.front().histogram;
    const float jump = histogram.difference(before) * kDifferenceScale;
    slots_.push_front({histogram, jump});
}

bool FlashDetector::isFull() const {
    return settings_.length >= 0 &&
           slots_.size() == static_cast<std::uint64_t>(saturatingAdd(settings_.length, 2));
}

float FlashDetector::difference(std::size_t newer, std::size_t older) const {
    return slots_[newer].histogram.difference(&slots_[older].histogram) * kDifferenceScale;
}

float FlashDetector::burstThreshold() const {
    return static_cast<float>(static_cast<double>(lastByteCount_) * 0.5 * 0.2 *
                              static_cast<double>(sensitivityScale_) * 0.015625);
}

MediaTime FlashDetector::timeBefore(std::int64_t frames) const {
    const double seconds =
        static_cast<double>(frames) / static_cast<double>(settings_.framesPerSecond);
    return lastTime_ - MediaTime::makeWithSeconds(seconds, lastTime_.timescale);
}

std::optional<FlashReport> FlashDetector::singleFlash() {
    if (slots_.size() < 3) {
        return std::nullopt; // A difference to a missing frame is 0, which is never a flash.
    }
    const float diff1 = slots_[0].jump;
    const float diff2 = slots_[1].jump;
    const float diff3 = difference(0, 2);
    const float threshold = singleThreshold(lastByteCount_);
    const float apart = sensitivityFactor_ * diff3;
    // The frames around the flash must differ, too: that diff3 is to be above is deliberate.
    if (!(diff1 > threshold && diff2 > threshold && diff3 > kSingleReturnLimit && diff1 > apart &&
          diff2 > apart)) {
        return std::nullopt;
    }
    FlashReport report;
    report.frame = lastFrame_ - 1;
    report.time = timeBefore(1);
    report.message = "Flash frame (1 frame)";
    report.info = fmt::format("diff1: {:.6f}, diff2: {:.6f}, diff3: {:.6f}", diff1, diff2, diff3);
    lastFlashA_ = report.frame;
    return report;
}

std::optional<FlashReport> FlashDetector::burstFlash() {
    if (!isFull()) {
        return std::nullopt; // The oldest pair has an empty slot.
    }
    const std::optional<Burst> burst = findBurst();
    if (!burst || (burst->length == 1 && !isShortBurstSharp(*burst)) || !isSteady(*burst)) {
        return std::nullopt;
    }
    const std::int64_t before = lastFrame_ - settings_.length;
    FlashReport report;
    report.frame = before + 1; // One above the frame of its time: part of the report's form.
    report.time = timeBefore(settings_.length);
    report.message = burstMessage(burst->length);
    if (before == lastFlashA_ || before == lastFlashB_) {
        lastFlashB_ = report.frame;
        return std::nullopt;
    }
    lastFlashA_ = report.frame;
    return report;
}

/// From the oldest pair on: it must be a jump; the next jump closes the burst.
std::optional<FlashDetector::Burst> FlashDetector::findBurst() const {
    if (slots_.size() < 2) {
        return std::nullopt;
    }
    const float threshold = burstThreshold();
    const std::size_t opening = slots_.size() - 2; // The newer slot of the oldest pair.
    if (slots_[opening].jump < threshold) {
        return std::nullopt;
    }
    for (std::size_t newer = opening; newer-- > 0;) {
        const float jump = slots_[newer].jump;
        if (jump > threshold) {
            return Burst{newer, opening - newer};
        }
        if (jump > kSteadyLimit) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

/// The sums of the buckets, not their means, are compared with the threshold here: deliberate.
bool FlashDetector::isShortBurstSharp(const Burst& burst) const {
    const float threshold = burstThreshold();
    return settings_.length >= 2 && slots_[burst.closing].jump / kDifferenceScale >= threshold &&
           slots_[burst.closing - 1].jump / kDifferenceScale >= threshold;
}

bool FlashDetector::isSteady(const Burst& burst) const {
    const std::size_t newest = burst.closing + 1;
    const std::size_t end = newest + burst.length;
    for (std::size_t newer = newest; newer < end; ++newer) {
        for (std::size_t older = newer + 1; older < end; ++older) {
            if (difference(newer, older) > kSteadyLimit) {
                return false;
            }
        }
    }
    return true;
}

/// The burst that begins at the oldest pair left, after a slot was emptied. Its length may be 1,
/// and it leaves the frames of recent reports as they are.
std::optional<FlashReport> FlashDetector::lateBurst() const {
    const std::optional<Burst> burst = findBurst();
    if (!burst || !isSteady(*burst)) {
        return std::nullopt;
    }
    const std::int64_t framesBack = static_cast<std::int64_t>(slots_.size()) - 2;
    FlashReport report;
    report.frame = lastFrame_ - framesBack;
    report.time = timeBefore(framesBack);
    report.message = burstMessage(burst->length);
    if (report.frame == lastFlashA_ + 1 || report.frame == lastFlashB_ + 1) {
        return std::nullopt;
    }
    return report;
}

} // namespace fw
