#include "tests/scanner/FlashReference.h"

#include <cmath>
#include <cstdio>

namespace fw::test {
namespace {

std::string burstText(std::int64_t frames) {
    return "Flash frame (" + std::to_string(frames) + (frames == 1 ? " frame)" : " frames)");
}

} // namespace

FlashReference::FlashReference(std::int64_t length, std::int64_t sensitivity,
                               double framesPerSecond)
    : length_(length), sensitivity_(sensitivity), fps_(framesPerSecond),
      slots_(length + 2 > 0 ? static_cast<std::size_t>(length + 2) : 0) {}

/// Null when the slot does not exist or is empty.
FlashReference::Slot* FlashReference::slot(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(slots_.size())) {
        return nullptr;
    }
    Slot& found = slots_[static_cast<std::size_t>(index)];
    return found ? &found : nullptr;
}

float FlashReference::raw(std::int64_t a, std::int64_t b) {
    const Slot* first = slot(a);
    const Slot* second = slot(b);
    if (first == nullptr || second == nullptr) {
        return 0;
    }
    float sum = 0;
    for (std::size_t i = 0; i < 64; ++i) {
        sum = sum + static_cast<float>(std::abs((**first)[i] - (**second)[i]));
    }
    return sum;
}

float FlashReference::burstThreshold() const {
    const double dullness = 10.0 - static_cast<double>(sensitivity_);
    const auto scale = static_cast<float>(std::pow(dullness, 3) / 125.0);
    return static_cast<float>(bytes_ * 0.5 * 0.2 * static_cast<double>(scale) * 0.015625);
}

bool FlashReference::steady(std::int64_t newest, std::int64_t count) {
    for (std::int64_t a = newest; a < newest + count; ++a) {
        for (std::int64_t b = newest; b < newest + count; ++b) {
            if (a != b && slot(a) != nullptr && slot(b) != nullptr && scaled(a, b) > 100) {
                return false;
            }
        }
    }
    return true;
}

MediaTime FlashReference::timeBack(std::int64_t frames) const {
    const long double ticks = static_cast<long double>(frames) / static_cast<long double>(fps_) *
                              static_cast<long double>(time_.timescale);
    return MediaTime::make(time_.value - std::llround(ticks), time_.timescale);
}

std::vector<FlashReport> FlashReference::frame(const FWHistogram& histogram, std::int64_t number,
                                               const MediaTime& time, std::uint64_t byteCount) {
    std::vector<FlashReport> reports;
    number_ = number;
    time_ = time;
    bytes_ = static_cast<double>(byteCount);
    if (slots_.empty()) {
        return reports;
    }
    slots_.back().reset();
    for (std::int64_t i = length_; i >= 0; --i) {
        if (const Slot* full = slot(i)) {
            slots_[static_cast<std::size_t>(i + 1)] = *full;
        }
    }
    slots_.front() = histogram.buckets();
    testSingle(reports);
    if (length_ >= 0) {
        testBurst(reports);
    }
    return reports;
}

void FlashReference::testSingle(std::vector<FlashReport>& reports) {
    auto threshold = static_cast<float>(bytes_ * 0.5 * 0.001);
    if (threshold > 500) {
        threshold = 500;
    }
    auto factor = static_cast<float>(5.0 - 0.4 * static_cast<double>(sensitivity_));
    if (factor < 0.1F) {
        factor = 0.1F;
    }
    const float diff1 = scaled(0, 1);
    const float diff2 = scaled(1, 2);
    const float diff3 = scaled(0, 2);
    if (diff1 > threshold && diff2 > threshold && diff3 > 20 && diff1 > factor * diff3 &&
        diff2 > factor * diff3) {
        char info[200];
        std::snprintf(info, sizeof info, "diff1: %f, diff2: %f, diff3: %f",
                      static_cast<double>(diff1), static_cast<double>(diff2),
                      static_cast<double>(diff3));
        reports.push_back({number_ - 1, timeBack(1), "Flash frame (1 frame)", info});
        lastA_ = number_ - 1;
        ++reached.singles;
    }
}

void FlashReference::testBurst(std::vector<FlashReport>& reports) {
    const float threshold = burstThreshold();
    std::int64_t walked = 0;
    for (std::int64_t j = length_ + 1; j >= 1; --j, ++walked) {
        if (slot(j - 1) == nullptr || slot(j) == nullptr) {
            return;
        }
        const float d = scaled(j, j - 1);
        if (walked == 0) {
            if (d < threshold) {
                return;
            }
            continue;
        }
        if (d > threshold) {
            if (walked == 1) {
                ++reached.burstsOfOne;
                if (!(raw(j - 1, j) >= threshold && length_ >= 2 &&
                      raw(j - 1, j - 2) >= threshold)) {
                    ++reached.blunt;
                    return;
                }
            }
            if (!steady(j, walked)) {
                ++reached.unsteady;
                return;
            }
            const std::int64_t position = number_ - length_ + 1;
            if (number_ - length_ == lastA_ || number_ - length_ == lastB_) {
                lastB_ = position;
                ++reached.suppressed;
                return;
            }
            reports.push_back({position, timeBack(length_), burstText(walked), std::nullopt});
            lastA_ = position;
            ++reached.bursts;
            return;
        }
        if (d > 100) {
            return;
        }
    }
}

std::vector<FlashReport> FlashReference::end() {
    std::vector<FlashReport> reports;
    if (length_ <= -2) {
        return reports;
    }
    const auto oldest = [this] {
        std::int64_t index = static_cast<std::int64_t>(slots_.size()) - 1;
        while (index >= 0 && slot(index) == nullptr) {
            --index;
        }
        return index;
    };
    if (oldest() <= 1) {
        return reports;
    }
    std::int64_t emptied = 0;
    do {
        emptied = oldest();
        slots_[static_cast<std::size_t>(emptied)].reset();
        testLateBurst(emptied, reports);
    } while (emptied > 2);
    return reports;
}

void FlashReference::testLateBurst(std::int64_t emptied, std::vector<FlashReport>& reports) {
    const float threshold = burstThreshold();
    std::int64_t walked = 0;
    for (std::int64_t j = length_ + 1; j >= 1; --j) {
        if (slot(j - 1) == nullptr || slot(j) == nullptr) {
            continue;
        }
        const float d = scaled(j, j - 1);
        if (walked == 0) {
            if (d < threshold) {
                return;
            }
        } else if (d > threshold) {
            if (!steady(j, walked)) {
                return;
            }
            const std::int64_t position = number_ - (emptied - 2);
            if (position == lastA_ + 1 || position == lastB_ + 1) {
                ++reached.lateSuppressed;
                return;
            }
            reports.push_back({position, timeBack(emptied - 2), burstText(walked), std::nullopt});
            ++reached.lateBursts;
            return;
        } else if (d > 100) {
            return;
        }
        ++walked;
    }
}

} // namespace fw::test
