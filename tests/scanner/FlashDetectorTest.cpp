#include "scanner/FlashDetector.h"

#include <gtest/gtest.h>
#include <utility>

namespace fw {
namespace {

/// With these bytes and sensitivity 5 the burst threshold is a mean difference of exactly 10.
constexpr std::uint64_t kBytesForTen = 6400;
/// And of exactly 200, above the limit of 100 for frames within a burst.
constexpr std::uint64_t kBytesForTwoHundred = 128000;

/// A picture of counts by bucket. Differences are sums of counts / 64.
FWHistogram picture(std::initializer_list<std::pair<int, int>> counts) {
    FWHistogram histogram;
    for (const auto& [bucket, count] : counts) {
        for (int i = 0; i < count; ++i) {
            histogram.incrementValue(static_cast<std::uint8_t>(bucket));
        }
    }
    return histogram;
}

/// A detector that is fed frame after frame at 25 frames a second.
class Feed {
public:
    Feed(std::int64_t length, std::int64_t sensitivity, std::uint64_t byteCount)
        : detector({length, sensitivity, 25.0F}), byteCount_(byteCount) {}

    std::vector<FlashReport> next(const FWHistogram& histogram) {
        const MediaTime time = MediaTime::make(frame_++ * 1000, 25000);
        auto found = detector.examine(histogram, time, byteCount_);
        all.insert(all.end(), found.begin(), found.end());
        return found;
    }
    void next(const FWHistogram& histogram, int times) {
        for (int i = 0; i < times; ++i) {
            next(histogram);
        }
    }

    FlashDetector detector;
    std::vector<FlashReport> all;

private:
    std::uint64_t byteCount_;
    std::int64_t frame_ = 0;
};

// Single flashes.

/// Three frames: the second differs from the first by flash / 64, the third from the first by
/// apart / 64 and from the second by the sum of both.
bool isSingleFlash(int apart, int flash, std::int64_t sensitivity, std::uint64_t byteCount) {
    Feed feed(4, sensitivity, byteCount);
    feed.next(picture({{0, 100}}));
    feed.next(picture({{0, 100}, {1, flash}}));
    return feed.next(picture({{0, 100 + apart}})).size() == 1;
}

TEST(SingleFlashTest, IsReportedAtTheFrameBeforeWithItsDifferences) {
    Feed feed(4, 5, 1000);
    feed.next(picture({{0, 100}}), 5);
    feed.next(picture({{0, 100}, {1, 4000}}));
    const auto found = feed.next(picture({{0, 1400}})); // Frame 6.
    const FlashReport expected{5, MediaTime::make(5000, 25000), "Flash frame (1 frame)",
                               "diff1: 82.812500, diff2: 62.500000, diff3: 20.312500"};
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0], expected);
    EXPECT_EQ(found[0].time.timescale, 25000);
}

TEST(SingleFlashTest, FramesAroundItMustDifferByMoreThan20) {
    EXPECT_FALSE(isSingleFlash(1280, 6000, 5, 1000)) << "exactly 20";
    EXPECT_TRUE(isSingleFlash(1281, 6000, 5, 1000));
    EXPECT_FALSE(isSingleFlash(0, 6000, 5, 1000)) << "and so the cleanest flash is none";
}

TEST(SingleFlashTest, MustDifferFromTheFrameBeforeByMoreThanTheFactorTimesTheDifferenceAround) {
    // 1281 / 64 x factor, in counts.
    EXPECT_FALSE(isSingleFlash(1281, 3843, 5, 1000)) << "factor 3";
    EXPECT_TRUE(isSingleFlash(1281, 3844, 5, 1000));
    EXPECT_FALSE(isSingleFlash(1281, 6405, 0, 1000)) << "factor 5";
    EXPECT_TRUE(isSingleFlash(1281, 6406, 0, 1000));
    EXPECT_FALSE(isSingleFlash(1281, 1281, 10, 1000)) << "factor 1";
    EXPECT_TRUE(isSingleFlash(1281, 1282, 10, 1000));
    EXPECT_FALSE(isSingleFlash(1281, 1281 * 7, -5, 1000)) << "factor 7";
    EXPECT_TRUE(isSingleFlash(1281, 1281 * 7 + 1, -5, 1000));
}

TEST(SingleFlashTest, TheFactorIsAtLeastATenth) {
    EXPECT_FALSE(isSingleFlash(1290, 129, 13, 10)) << "5 - 0.4 x 13 is below zero";
    EXPECT_TRUE(isSingleFlash(1290, 130, 13, 10));
    EXPECT_FALSE(isSingleFlash(1290, 129, 20, 10));
    EXPECT_TRUE(isSingleFlash(1290, 130, 20, 10));
}

TEST(SingleFlashTest, MustDifferFromTheFrameBehindByMoreThanTheFactorTimesTheDifferenceAround) {
    const auto isFlash = [](int flash) {
        Feed feed(4, 5, 1000);
        feed.next(picture({{0, 100}}));
        feed.next(picture({{0, 100}, {1, flash}}));
        return !feed.next(picture({{0, 100}, {1, 1281}})).empty(); // flash - 1281 behind.
    };
    EXPECT_FALSE(isFlash(1281 + 3843));
    EXPECT_TRUE(isFlash(1281 + 3844));
}

TEST(SingleFlashTest, MustDifferByMoreThanAThousandthOfHalfTheBytes) {
    EXPECT_TRUE(isSingleFlash(1281, 3844, 5, 120124)) << "60.0625 against 60.062";
    EXPECT_FALSE(isSingleFlash(1281, 3844, 5, 120125)) << "60.0625 against 60.0625";
}

TEST(SingleFlashTest, TheThresholdIsAtMost500) {
    EXPECT_FALSE(isSingleFlash(1281, 32000, 5, 1000000000)) << "exactly 500";
    EXPECT_TRUE(isSingleFlash(1281, 32001, 5, 1000000000));
    EXPECT_TRUE(isSingleFlash(1281, 31999, 5, 999000)) << "499.98 against 499.5";
}

TEST(SingleFlashTest, TheFirstTwoFramesAreNone) {
    Feed feed(4, 5, 0);
    EXPECT_TRUE(feed.next(picture({{0, 9000}})).empty());
    EXPECT_TRUE(feed.next(picture({{1, 90000}})).empty());
}

TEST(SingleFlashTest, WorksWithALengthOfOneAndNeedsOne) {
    for (const auto& [length, isFound] :
         {std::pair{1, true}, std::pair{0, false}, std::pair{-1, false}, std::pair{-2, false}}) {
        Feed feed(length, 5, 1000);
        feed.next(picture({{0, 100}}));
        feed.next(picture({{0, 100}, {1, 6000}}));
        feed.next(picture({{0, 100 + 1400}}));
        EXPECT_EQ(!feed.all.empty(), isFound) << length;
    }
}

TEST(SingleFlashTest, IsReportedWhateverWasReportedBefore) {
    // Each frame leaps 4 times as far as two frames differ: every one is a flash.
    Feed feed(4, 10, 1000);
    feed.next(picture({}));
    for (int i = 1; i <= 4; ++i) {
        feed.next(picture({{i % 2, 3000}, {4, i * 700}}));
    }
    std::vector<std::int64_t> frames;
    for (const FlashReport& report : feed.all) {
        if (report.info) {
            frames.push_back(report.frame);
        }
    }
    EXPECT_EQ(frames, (std::vector<std::int64_t>{2, 3}));
}

// Bursts. Length 4: the history is six frames.

/// Six frames: one, then `burst`, then others; the reports of the last.
std::vector<FlashReport> sixFrames(const std::vector<FWHistogram>& frames, std::uint64_t byteCount,
                                   std::int64_t sensitivity = 5) {
    Feed feed(4, sensitivity, byteCount);
    std::vector<FlashReport> last;
    for (const FWHistogram& frame : frames) {
        EXPECT_TRUE(last.empty());
        last = feed.next(frame);
    }
    return last;
}

const FWHistogram kScene = picture({{0, 5000}});

FWHistogram sceneAnd(int count) {
    return picture({{0, 5000}, {1, count}});
}

TEST(BurstFlashTest, IsReportedWhenItsOpeningReachesTheOldestPair) {
    Feed feed(4, 5, kBytesForTen);
    const FWHistogram flash = sceneAnd(700);
    feed.next(kScene, 10);
    feed.next(flash, 2); // Frames 10 and 11.
    feed.next(kScene, 2);
    EXPECT_TRUE(feed.all.empty());
    feed.next(kScene); // Frame 14: frame 9 is the oldest of six.
    // The frame number is one above the frame of the time.
    EXPECT_EQ(feed.all, (std::vector{FlashReport{11, MediaTime::make(10000, 25000),
                                                 "Flash frame (2 frames)", std::nullopt}}));
    feed.next(kScene, 10);
    EXPECT_EQ(feed.all.size(), 1U);
}

TEST(BurstFlashTest, OpensWithADifferenceOfTheThresholdAndNotBelow) {
    const auto opens = [](int count) {
        const FWHistogram flash = sceneAnd(count);
        return !sixFrames({kScene, flash, flash, kScene, picture({}), picture({})}, kBytesForTen)
                    .empty();
    };
    EXPECT_FALSE(opens(639));
    // 640 opens the burst, but does not close it: the cut to the empty picture does.
    EXPECT_TRUE(opens(640));
    EXPECT_TRUE(opens(641));
}

TEST(BurstFlashTest, ClosesWithADifferenceAboveTheThresholdOnly) {
    const auto frames = [](int count) {
        const FWHistogram flash = sceneAnd(count);
        return sixFrames({kScene, flash, flash, kScene, kScene, kScene}, kBytesForTen);
    };
    EXPECT_TRUE(frames(640).empty()) << "opens and never closes";
    ASSERT_EQ(frames(641).size(), 1U);
    EXPECT_EQ(frames(641)[0].message, "Flash frame (2 frames)");
}

TEST(BurstFlashTest, CountsTheFramesBetweenTheJumps) {
    const FWHistogram flash = sceneAnd(700);
    const auto message = [&](int length) {
        std::vector<FWHistogram> frames = {kScene};
        frames.insert(frames.end(), static_cast<std::size_t>(length), flash);
        frames.resize(6, kScene);
        const auto found = sixFrames(frames, kBytesForTen);
        return found.empty() ? std::string() : found[0].message;
    };
    EXPECT_EQ(message(2), "Flash frame (2 frames)");
    EXPECT_EQ(message(3), "Flash frame (3 frames)");
    EXPECT_EQ(message(4), "Flash frame (4 frames)");
    EXPECT_EQ(message(5), "") << "longer than the length";
}

TEST(BurstFlashTest, EndsUnreportedAtAChangeAbove100WithinIt) {
    const auto found = [](int change) {
        const FWHistogram first = sceneAnd(30000);
        const FWHistogram second = sceneAnd(30000 + change);
        return !sixFrames({kScene, first, second, kScene, kScene, kScene}, kBytesForTwoHundred)
                    .empty();
    };
    EXPECT_TRUE(found(6400)) << "exactly 100";
    EXPECT_FALSE(found(6401));
}

TEST(BurstFlashTest, MustBeSteadyBetweenAnyTwoOfItsFrames) {
    const auto found = [](int change) {
        return !sixFrames({kScene, sceneAnd(30000), sceneAnd(30000 + change),
                           sceneAnd(30000 + 2 * change), kScene, kScene},
                          kBytesForTwoHundred)
                    .empty();
    };
    EXPECT_TRUE(found(3200)) << "first and last differ by exactly 100";
    EXPECT_FALSE(found(3201));
}

TEST(BurstFlashTest, OfOneFrameNeedsAChangeBehindItOfTheThresholdAsASum) {
    // The threshold is a mean of 10; here it is compared with the sum, 64 times the mean.
    const auto found = [](int change) {
        return sixFrames({kScene, sceneAnd(700), kScene, sceneAnd(change), kScene, kScene},
                         kBytesForTen);
    };
    EXPECT_TRUE(found(0).empty());
    EXPECT_TRUE(found(9).empty());
    ASSERT_EQ(found(10).size(), 1U);
    EXPECT_EQ(found(10)[0].message, "Flash frame (1 frame)");
    EXPECT_EQ(found(10)[0].info, std::nullopt);
}

TEST(BurstFlashTest, OfOneFrameNeedsALengthOfTwo) {
    for (const auto& [length, isFound] :
         {std::pair{0, false}, std::pair{1, false}, std::pair{2, true}, std::pair{3, true}}) {
        Feed feed(length, 5, kBytesForTen);
        feed.next(kScene, 10);
        feed.next(sceneAnd(700));
        feed.next(kScene);
        feed.next(sceneAnd(10));
        feed.next(kScene, 10);
        EXPECT_EQ(!feed.all.empty(), isFound) << length;
    }
}

TEST(BurstFlashTest, ARunOfJumpsIsReportedOnce) {
    Feed feed(4, 5, kBytesForTen);
    for (int i = 0; i < 30; ++i) {
        feed.next(i % 2 == 0 ? kScene : sceneAnd(700));
    }
    ASSERT_EQ(feed.all.size(), 1U);
    EXPECT_EQ(feed.all[0].frame, 2) << "frame 5 is the first with a full history";
    EXPECT_EQ(feed.all[0].time, MediaTime::make(1000, 25000));
}

TEST(BurstFlashTest, IsNotReportedAgainForASingleFlash) {
    Feed feed(4, 5, kBytesForTen);
    feed.next(kScene, 8);
    feed.next(sceneAnd(9000));                                        // Frame 8.
    EXPECT_EQ(feed.next(picture({{0, 5000}, {2, 1400}})).size(), 1U); // A single flash at 8.
    feed.next(kScene, 10); // The burst would be told with the time of frame 8.
    EXPECT_EQ(feed.all.size(), 1U);
}

TEST(BurstFlashTest, AtSensitivityTenEveryPairOpensAndTheNextChangeCloses) {
    const auto found =
        sixFrames({kScene, kScene, kScene, sceneAnd(1), kScene, kScene}, kBytesForTen, 10);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].message, "Flash frame (2 frames)");
}

TEST(BurstFlashTest, TheThresholdFollowsTheCubeOfTheSensitivity) {
    // Sensitivity 0: eight times that of 5, a mean of 80.
    const auto found = [](int count) {
        const FWHistogram flash = sceneAnd(count);
        return !sixFrames({kScene, flash, flash, kScene, kScene, kScene}, kBytesForTen, 0).empty();
    };
    EXPECT_FALSE(found(5120));
    EXPECT_TRUE(found(5121));
}

TEST(BurstFlashTest, FrameNumbersMayBeBelowZero) {
    // Times below zero have frame number 0.
    FlashDetector detector({4, 5, 25.0F});
    std::vector<FlashReport> found;
    for (const FWHistogram& frame :
         {kScene, sceneAnd(700), sceneAnd(700), kScene, kScene, kScene}) {
        found = detector.examine(frame, MediaTime::make(-1000, 25000), kBytesForTen);
    }
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].frame, -3);
    EXPECT_EQ(found[0].time, MediaTime::make(-5000, 25000));
}

TEST(BurstFlashTest, TimesAreMadeOnTheFramesOwnTimescaleToTheNearestTick) {
    FlashDetector detector({4, 5, 24.0F});
    std::vector<FlashReport> found;
    std::int64_t frame = 0;
    for (const FWHistogram& histogram :
         {kScene, sceneAnd(700), sceneAnd(700), kScene, kScene, kScene}) {
        found = detector.examine(histogram, MediaTime::make(frame++ * 125 / 3, 1000), kBytesForTen);
    }
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].time.value, 208 - 167) << "4 / 24 of a second is 166.67 ticks";
    EXPECT_EQ(found[0].time.timescale, 1000);
}

// The end of the stream.

TEST(LateFlashTest, ABurstInTheLastFramesIsFoundAtItsFirstFrame) {
    Feed feed(4, 5, kBytesForTen);
    feed.next(kScene, 6);
    feed.next(sceneAnd(700), 2); // Frames 6 and 7.
    feed.next(kScene);           // Frame 8.
    EXPECT_TRUE(feed.all.empty());
    EXPECT_EQ(feed.detector.finish(),
              (std::vector{FlashReport{6, MediaTime::make(6000, 25000), "Flash frame (2 frames)",
                                       std::nullopt}}));
}

TEST(LateFlashTest, ABurstOfOneFrameNeedsNoChangeBehindIt) {
    Feed feed(4, 5, kBytesForTen);
    feed.next(kScene, 6);
    feed.next(sceneAnd(700)); // Frame 6.
    feed.next(kScene);
    EXPECT_EQ(feed.detector.finish(),
              (std::vector{FlashReport{6, MediaTime::make(6000, 25000), "Flash frame (1 frame)",
                                       std::nullopt}}));
}

TEST(LateFlashTest, AHistoryThatIsNotFullIsWalkedOverItsEmptySlots) {
    Feed feed(50, 5, kBytesForTen);
    feed.next(kScene, 2);
    feed.next(sceneAnd(700), 3); // Frames 2 to 4.
    feed.next(kScene);
    EXPECT_EQ(feed.detector.finish(),
              (std::vector{FlashReport{2, MediaTime::make(2000, 25000), "Flash frame (3 frames)",
                                       std::nullopt}}));
}

TEST(LateFlashTest, TheOldestFrameGoesBeforeTheFirstWalk) {
    // The jump between the two oldest frames is gone with the oldest.
    Feed feed(50, 5, kBytesForTen);
    feed.next(kScene);
    feed.next(sceneAnd(700), 2);
    feed.next(kScene);
    EXPECT_TRUE(feed.detector.finish().empty());
}

TEST(LateFlashTest, UnsteadyBurstsAreNotReported) {
    const auto found = [](int change) {
        Feed feed(6, 5, kBytesForTwoHundred);
        feed.next(kScene, 3);
        feed.next(sceneAnd(30000));
        feed.next(sceneAnd(30000 + change));
        feed.next(sceneAnd(30000 + 2 * change));
        feed.next(kScene);
        return !feed.detector.finish().empty();
    };
    EXPECT_TRUE(found(3200));
    EXPECT_FALSE(found(3201));
}

TEST(LateFlashTest, FewerThanThreeFramesHoldNoBurst) {
    for (int frames = 0; frames <= 2; ++frames) {
        Feed feed(4, 10, 0);
        for (int i = 0; i < frames; ++i) {
            feed.next(sceneAnd(i * 700));
        }
        EXPECT_TRUE(feed.detector.finish().empty()) << frames;
    }
}

TEST(LateFlashTest, ABurstOneFrameBehindAReportedOneIsNotReportedAgain) {
    // Jumps at every frame: the first burst is reported at frame 2 (B of its suppression moves on
    // with every frame), so of the last ones one is held back.
    Feed feed(4, 5, kBytesForTen);
    for (int i = 0; i < 8; ++i) { // Frames 0 to 7; the suppressed position is then 7 - 4 + 1 = 4.
        feed.next(i % 2 == 0 ? kScene : sceneAnd(700));
    }
    std::vector<std::int64_t> frames;
    for (const FlashReport& report : feed.detector.finish()) {
        frames.push_back(report.frame);
    }
    EXPECT_EQ(frames, (std::vector<std::int64_t>{4, 6})) << "5 follows 4";
}

TEST(LateFlashTest, LeavesAnEmptyHistory) {
    Feed feed(4, 5, kBytesForTen);
    feed.next(kScene, 6);
    feed.next(sceneAnd(700));
    feed.next(kScene);
    EXPECT_EQ(feed.detector.finish().size(), 1U);
    EXPECT_TRUE(feed.detector.finish().empty());
}

} // namespace
} // namespace fw
