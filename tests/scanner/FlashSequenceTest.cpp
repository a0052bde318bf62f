#include "media/FrameNumber.h"
#include "tests/scanner/FlashReference.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace fw {

/// So that a failure prints what differs.
void PrintTo(const FlashReport& report, std::ostream* out) {
    *out << report.frame << " at " << report.time.value << "/" << report.time.timescale << " \""
         << report.message << "\" " << report.info.value_or("-");
}

namespace {

using test::FlashReference;

constexpr std::int64_t kHuge = std::int64_t{1} << 62;

struct Rate {
    float framesPerSecond = 25;
    std::int32_t timescale = 25000;
    std::int64_t frameTicks = 1000;
};

/// A few pictures, some much alike, some not, of about as many samples as a frame of `byteCount`
/// bytes has groups.
std::vector<FWHistogram> randomPictures(std::mt19937& generator) {
    const auto upTo = [&generator](int most) {
        return std::uniform_int_distribution<int>(0, most)(generator);
    };
    std::vector<FWHistogram> pictures;
    for (int scene = 0; scene < 4; ++scene) {
        FWHistogram base;
        for (int i = 0, samples = upTo(9000); i < samples; ++i) {
            base.incrementValue(static_cast<std::uint8_t>(scene * 16 + upTo(3)));
        }
        pictures.push_back(base);
        for (int variant = 0; variant < 3; ++variant) {
            FWHistogram changed = pictures.back(); // Each drifts further away.
            const int samples = scene % 2 == 0 ? upTo(100) : 3200 + upTo(3200);
            for (int i = 0; i < samples; ++i) {
                changed.incrementValue(static_cast<std::uint8_t>(upTo(63)));
            }
            pictures.push_back(changed);
        }
    }
    return pictures;
}

/// The picture before, the next one, or any.
std::vector<std::size_t> randomOrder(std::mt19937& generator, std::size_t frames,
                                     std::size_t pictures) {
    std::vector<std::size_t> order;
    const int restlessness = std::uniform_int_distribution<int>(5, 95)(generator);
    std::size_t current = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        if (std::uniform_int_distribution<int>(0, 99)(generator) < restlessness) {
            const bool drifts = std::uniform_int_distribution<int>(0, 1)(generator) == 1;
            current = drifts
                          ? (current + 1) % pictures
                          : std::uniform_int_distribution<std::size_t>(0, pictures - 1)(generator);
        }
        order.push_back(current);
    }
    return order;
}

void add(FlashReference::Reached& sum, const FlashReference::Reached& part) {
    sum.singles += part.singles;
    sum.bursts += part.bursts;
    sum.burstsOfOne += part.burstsOfOne;
    sum.blunt += part.blunt;
    sum.unsteady += part.unsteady;
    sum.suppressed += part.suppressed;
    sum.lateBursts += part.lateBursts;
    sum.lateSuppressed += part.lateSuppressed;
}

/// One random movie through the detector and the reference. `referenceLength` stands for `length`
/// where that many slots cannot be.
FlashReference::Reached expectSequenceEqual(std::mt19937& generator, std::int64_t length,
                                            std::int64_t referenceLength, std::int64_t sensitivity,
                                            const Rate& rate) {
    FlashDetector detector({length, sensitivity, rate.framesPerSecond});
    FlashReference reference(referenceLength, sensitivity, rate.framesPerSecond);
    const auto pictures = randomPictures(generator);
    const std::size_t frames = std::uniform_int_distribution<std::size_t>(0, 40)(generator);
    const auto bytes = std::uniform_int_distribution<std::uint64_t>(0, 120000)(generator);
    const auto order = randomOrder(generator, frames, pictures.size());
    const std::string what = "length " + std::to_string(length) + ", sensitivity " +
                             std::to_string(sensitivity) + ", bytes " + std::to_string(bytes);
    for (std::size_t i = 0; i < frames; ++i) {
        const auto number = static_cast<std::int64_t>(i);
        const MediaTime time = MediaTime::make(number * rate.frameTicks, rate.timescale);
        EXPECT_EQ(detector.examine(pictures[order[i]], time, bytes),
                  reference.frame(pictures[order[i]], number, time, bytes))
            << what << ", frame " << i;
    }
    EXPECT_EQ(detector.finish(), reference.end()) << what << ", at the end";
    return reference.reached;
}

TEST(FlashSequenceTest, EqualsTheSlotBySlotReferenceAtEveryLengthAndSensitivity) {
    std::mt19937 generator(5);
    FlashReference::Reached reached;
    for (std::int64_t length = -3; length <= 8; ++length) {
        for (const std::int64_t sensitivity : {-5, 0, 5, 7, 9, 10, 12, 20}) {
            for (int round = 0; round < 40; ++round) {
                add(reached, expectSequenceEqual(generator, length, length, sensitivity, {}));
            }
        }
    }
    EXPECT_GT(reached.singles, 20);
    EXPECT_GT(reached.bursts, 100);
    EXPECT_GT(reached.burstsOfOne, 100);
    EXPECT_GT(reached.blunt, 20);
    EXPECT_GT(reached.unsteady, 5);
    EXPECT_GT(reached.suppressed, 100);
    EXPECT_GT(reached.lateBursts, 100);
    EXPECT_GT(reached.lateSuppressed, 20);
}

TEST(FlashSequenceTest, EqualsTheReferenceAtRatesThatAreNotWhole) {
    std::mt19937 generator(6);
    for (const Rate& rate : {Rate{nominalFrameRate({30000, 1001}), 30000, 1001},
                             Rate{nominalFrameRate({24000, 1001}), 24000, 1001}}) {
        for (const std::int64_t length : {1, 4, 7}) {
            for (int round = 0; round < 100; ++round) {
                expectSequenceEqual(generator, length, length, 9, rate);
            }
        }
    }
}

TEST(FlashSequenceTest, AHugeLengthIsAHistoryThatNeverFills) {
    std::mt19937 generator(7);
    for (const std::int64_t length :
         {std::int64_t{1} << 40, kHuge, std::numeric_limits<std::int64_t>::max()}) {
        for (const std::int64_t sensitivity : {0, 5, 10}) {
            for (int round = 0; round < 40; ++round) {
                expectSequenceEqual(generator, length, 100, sensitivity, {});
            }
        }
    }
}

TEST(FlashSequenceTest, TheSmallestLengthIsNoHistory) {
    std::mt19937 generator(8);
    expectSequenceEqual(generator, std::numeric_limits<std::int64_t>::min(), -2, 5, {});
}

} // namespace
} // namespace fw
