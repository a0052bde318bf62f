#include "analysis/FWHistogram.h"
#include "tests/analysis/BytesBuffer.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using test::BytesBuffer;

constexpr bool kConvert = true;

/// One '2vuy' group as the histogram takes it: byte 0 is skipped.
BytesBuffer group8(std::uint8_t y, std::uint8_t cb, std::uint8_t cr) {
    return BytesBuffer({99, y, cb, cr});
}

/// One 8-byte 'v210' group with the three samples that the histogram reads; all other bits set.
BytesBuffer group10(std::uint32_t y, std::uint32_t cb, std::uint32_t cr) {
    const std::uint32_t first = 0xFFF003FFU | y << 10;
    const std::uint32_t second = 0xC00FFC00U | cb | cr << 20;
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t word : {first, second}) {
        for (const int shift : {0, 8, 16, 24}) {
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
    }
    return BytesBuffer(bytes);
}

FWHistogram converted(BytesBuffer buffer, std::uint64_t bitDepth) {
    return FWHistogram::histogramFromColorBuffer(buffer, kConvert, bitDepth);
}

/// The one bucket that was met, once.
int onlyBucket(const FWHistogram& histogram) {
    int found = -1;
    for (std::size_t i = 0; i < FWHistogram::kBucketCount; ++i) {
        if (histogram.buckets()[i] != 0) {
            EXPECT_EQ(histogram.buckets()[i], 1);
            EXPECT_EQ(found, -1) << "more than one bucket";
            found = static_cast<int>(i);
        }
    }
    return found;
}

std::int64_t sumOfBuckets(const FWHistogram& histogram) {
    std::int64_t sum = 0;
    for (const std::int64_t count : histogram.buckets()) {
        sum += count;
    }
    return sum;
}

TEST(QuantizeTest, ColorTakesTheTopTwoBitsOfRedGreenAndBlue) {
    for (const int r : {0, 1, 63, 64, 65, 127, 128, 191, 192, 255}) {
        for (const int g : {0, 63, 64, 127, 128, 191, 192, 255}) {
            for (const int b : {0, 63, 64, 127, 128, 191, 192, 255}) {
                EXPECT_EQ(quantize_color(static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                                         static_cast<std::uint8_t>(b)),
                          r / 64 * 16 + g / 64 * 4 + b / 64);
            }
        }
    }
}

TEST(QuantizeTest, GreyTakesTheTopSixBits) {
    for (int v = 0; v < 256; ++v) {
        EXPECT_EQ(quantize_bw(static_cast<std::uint8_t>(v)), v / 4);
    }
}

TEST(FWHistogramTest, IsEmptyWhenCreated) {
    const FWHistogram histogram;
    EXPECT_EQ(sumOfBuckets(histogram), 0);
    EXPECT_EQ(histogram.rAverage(), 0.0F);
    EXPECT_EQ(histogram.gAverage(), 0.0F);
    EXPECT_EQ(histogram.bAverage(), 0.0F);
}

TEST(FWHistogramTest, OfABufferWithoutBytesIsEmpty) {
    for (BytesBuffer buffer : {BytesBuffer(8, 0, 16), BytesBuffer(8, 4, 0)}) {
        for (const FWHistogram& histogram :
             {FWHistogram::histogramFromColorBuffer(buffer),
              FWHistogram::histogramFromColorBuffer(buffer, kConvert, 8),
              FWHistogram::histogramFromColorBuffer(buffer, kConvert, 10),
              FWHistogram::histogramFromBWBuffer(buffer)}) {
            EXPECT_EQ(sumOfBuckets(histogram), 0);
            EXPECT_EQ(histogram.rAverage(), 0.0F);
        }
        EXPECT_EQ(buffer.locks, 4);
        EXPECT_EQ(buffer.unlocks, 4);
    }
}

TEST(FWHistogramTest, OfZeroBytesFillsBucketZeroWithEveryStartedGroup) {
    for (std::uint64_t size = 1; size <= 9; ++size) {
        BytesBuffer buffer(size, 1, size);
        const FWHistogram histogram = FWHistogram::histogramFromColorBuffer(buffer);
        EXPECT_EQ(histogram.buckets()[0], static_cast<std::int64_t>((size + 3) / 4));
        EXPECT_EQ(sumOfBuckets(histogram), histogram.buckets()[0]);
        EXPECT_EQ(histogram.rAverage(), 0.0F);
        EXPECT_EQ(histogram.gAverage(), 0.0F);
        EXPECT_EQ(histogram.bAverage(), 0.0F);
    }
}

TEST(FWHistogramTest, OfFullBytesFillsTheLastBucketAndAveragesOverBytesNotPixels) {
    BytesBuffer buffer(8, 4, 16);
    buffer.fill(0xFF);
    const FWHistogram histogram = FWHistogram::histogramFromColorBuffer(buffer);
    EXPECT_EQ(histogram.buckets()[63], 16);
    EXPECT_EQ(sumOfBuckets(histogram), 16);
    // 255 x 16 / 64: the sums of 16 exact quotients of a power of two are exact.
    EXPECT_EQ(histogram.rAverage(), 63.75F);
    EXPECT_EQ(histogram.gAverage(), 63.75F);
    EXPECT_EQ(histogram.bAverage(), 63.75F);
}

TEST(FWHistogramTest, WithoutConversionSkipsByteZeroOfAGroup) {
    BytesBuffer buffer({255, 64, 128, 192});
    const FWHistogram histogram = FWHistogram::histogramFromColorBuffer(buffer);
    EXPECT_EQ(onlyBucket(histogram), 1 * 16 + 2 * 4 + 3);
    EXPECT_EQ(histogram.rAverage(), 16.0F);
    EXPECT_EQ(histogram.gAverage(), 32.0F);
    EXPECT_EQ(histogram.bAverage(), 48.0F);
}

TEST(FWHistogramTest, PlainFactoryIsTheOneWithoutConversionAt8Bits) {
    std::mt19937 generator(7);
    BytesBuffer buffer(10, 3, 21);
    buffer.randomize(generator);
    const FWHistogram plain = FWHistogram::histogramFromColorBuffer(buffer);
    const FWHistogram full = FWHistogram::histogramFromColorBuffer(buffer, false, 8);
    EXPECT_EQ(plain.buckets(), full.buckets());
    EXPECT_EQ(plain.rAverage(), full.rAverage());
    EXPECT_EQ(plain.gAverage(), full.gAverage());
    EXPECT_EQ(plain.bAverage(), full.bAverage());
}

TEST(FWHistogramTest, TenBitsWithoutConversionStepsEightBytesAndReadsThemRaw) {
    BytesBuffer buffer({0, 64, 128, 192, 255, 255, 255, 255, 0, 192, 64, 0, 1, 2, 3, 4});
    const FWHistogram histogram = FWHistogram::histogramFromColorBuffer(buffer, false, 10);
    EXPECT_EQ(sumOfBuckets(histogram), 2);
    EXPECT_EQ(histogram.buckets()[16 + 8 + 3], 1);
    EXPECT_EQ(histogram.buckets()[48 + 4 + 0], 1);
}

TEST(FWHistogramTest, DepthsOtherThan8And10AreNotConvertedAndStepFourBytes) {
    for (const std::uint64_t depth : {0ULL, 9ULL, 12ULL, 16ULL, ~0ULL}) {
        BytesBuffer buffer({0, 64, 128, 192, 0, 64, 128, 192});
        const FWHistogram histogram =
            FWHistogram::histogramFromColorBuffer(buffer, kConvert, depth);
        EXPECT_EQ(histogram.buckets()[16 + 8 + 3], 2) << depth;
    }
}

TEST(FWHistogramTest, VideoBlackIsBucketZeroAndVideoWhiteTheLast) {
    const FWHistogram black = converted(group8(16, 128, 128), 8);
    EXPECT_EQ(onlyBucket(black), 0);
    EXPECT_EQ(black.rAverage(), 0.0F);
    const FWHistogram white = converted(group8(235, 128, 128), 8);
    EXPECT_EQ(onlyBucket(white), 63);
    EXPECT_EQ(white.rAverage(), 255.0F / 4);
    EXPECT_EQ(white.gAverage(), 255.0F / 4);
    EXPECT_EQ(white.bAverage(), 255.0F / 4);
}

TEST(FWHistogramTest, AConvertedValueOf260WrapsTo4) {
    const FWHistogram histogram = converted(group8(240, 128, 128), 8); // 224 x 1.164... = 260.8
    EXPECT_EQ(histogram.rAverage(), 1.0F);
    EXPECT_EQ(onlyBucket(histogram), 0);
}

TEST(FWHistogramTest, AConvertedValueOfMinus3WrapsTo253) {
    const FWHistogram histogram = converted(group8(13, 128, 128), 8); // -3 x 1.164... = -3.49
    EXPECT_EQ(histogram.rAverage(), 253.0F / 4);
    EXPECT_EQ(onlyBucket(histogram), 63);
}

TEST(FWHistogramTest, ConvertedValuesAreCutTowardZero) {
    // Red is 1 - 1.402 = -0.402, which is 0, not -1; blue is 1 + 0.
    const FWHistogram histogram = converted(group10(1, 128, 127), 10);
    EXPECT_EQ(histogram.rAverage(), 0.0F);
    EXPECT_EQ(histogram.bAverage(), 1.0F / 8);
}

TEST(FWHistogramTest, SaturatedRedAt8BitsIsRedOnly) {
    const FWHistogram histogram = converted(group8(81, 90, 240), 8);
    // r = 75.68 + 178.76 = 254.4, g = 75.68 + 14.89 - 91.05 = -0.48, b = 75.68 - 76.65 = -0.97.
    EXPECT_EQ(histogram.rAverage(), 254.0F / 4);
    EXPECT_EQ(histogram.gAverage(), 0.0F);
    EXPECT_EQ(histogram.bAverage(), 0.0F);
    EXPECT_EQ(onlyBucket(histogram), 48);
}

TEST(FWHistogramTest, TenBitSamplesAreOffsetBy128AndNotScaled) {
    const FWHistogram histogram = converted(group10(64, 512, 512), 10);
    // r = 64 + 384 x 1.402 = 602.4, g = 64 - 384 x 1.05828 = -342.4, b = 64 + 384 x 1.772 = 744.4;
    // their low 8 bits are 90, 170 and 232.
    EXPECT_EQ(histogram.rAverage(), 90.0F / 8);
    EXPECT_EQ(histogram.gAverage(), 170.0F / 8);
    EXPECT_EQ(histogram.bAverage(), 232.0F / 8);
    EXPECT_EQ(onlyBucket(histogram), 16 + 8 + 3);
}

TEST(FWHistogramTest, AGroupThatReachesPastTheEndReadsZeros) {
    BytesBuffer buffer({0, 192, 192, 192, 0, 192});
    const FWHistogram histogram = FWHistogram::histogramFromColorBuffer(buffer);
    EXPECT_EQ(histogram.buckets()[63], 1);
    EXPECT_EQ(histogram.buckets()[48], 1) << "green and blue of the second group lie past the end";
}

TEST(FWHistogramTest, GreyBufferFillsRedOnly) {
    BytesBuffer buffer({255, 100, 255, 255, 255, 255, 255, 255});
    const FWHistogram histogram = FWHistogram::histogramFromBWBuffer(buffer);
    EXPECT_EQ(histogram.buckets()[25], 1);
    EXPECT_EQ(histogram.buckets()[63], 1);
    EXPECT_EQ(sumOfBuckets(histogram), 2);
    EXPECT_EQ(histogram.rAverage(), 100.0F / 8 + 255.0F / 8);
    EXPECT_EQ(histogram.gAverage(), 0.0F);
    EXPECT_EQ(histogram.bAverage(), 0.0F);
}

TEST(FWHistogramTest, RowPaddingIsReadLikePicture) {
    BytesBuffer buffer(2, 2, 12);
    buffer.fill(0xFF);
    EXPECT_EQ(FWHistogram::histogramFromColorBuffer(buffer).buckets()[63], 6);
}

TEST(FWHistogramTest, FactoriesUnlockABufferThatThrows) {
    BytesBuffer buffer({0, 0, 0, 0});
    buffer.baseException = "gone";
    EXPECT_THROW(FWHistogram::histogramFromColorBuffer(buffer), PlatformException);
    EXPECT_THROW(FWHistogram::histogramFromBWBuffer(buffer), PlatformException);
    EXPECT_EQ(buffer.locks, 2);
    EXPECT_EQ(buffer.unlocks, 2);
}

TEST(FWHistogramTest, IncrementIgnoresEverythingBeyondTheBuckets) {
    FWHistogram histogram;
    for (int value = 64; value < 256; ++value) {
        histogram.incrementValue(static_cast<std::uint8_t>(value));
    }
    EXPECT_EQ(sumOfBuckets(histogram), 0);
    histogram.incrementValue(63);
    histogram.incrementValue(63);
    EXPECT_EQ(histogram.buckets()[63], 2);
}

TEST(FWHistogramTest, SettersStoreTheAverages) {
    FWHistogram histogram;
    histogram.setRAverage(1.5F);
    histogram.setGAverage(2.5F);
    histogram.setBAverage(3.5F);
    EXPECT_EQ(histogram.rAverage(), 1.5F);
    EXPECT_EQ(histogram.gAverage(), 2.5F);
    EXPECT_EQ(histogram.bAverage(), 3.5F);
}

TEST(FWHistogramTest, DifferenceToNothingAndToItselfIsZero) {
    FWHistogram histogram;
    histogram.incrementValue(5);
    EXPECT_EQ(histogram.difference(nullptr), 0.0F);
    EXPECT_EQ(histogram.difference(&histogram), 0.0F);
}

TEST(FWHistogramTest, DifferenceSumsBothDirectionsAndIsSymmetric) {
    FWHistogram a;
    FWHistogram b;
    for (int i = 0; i < 5; ++i) {
        a.incrementValue(0);
    }
    b.incrementValue(0);
    b.incrementValue(63);
    b.incrementValue(63);
    EXPECT_EQ(a.difference(&b), 6.0F);
    EXPECT_EQ(b.difference(&a), 6.0F);
}

TEST(FWHistogramTest, DifferenceIsAddedUpInSinglePrecision) {
    const FWHistogram empty;
    FWHistogram large;
    for (int i = 0; i < 1 << 24; ++i) {
        large.incrementValue(0);
    }
    large.incrementValue(1);
    large.incrementValue(2);
    large.incrementValue(3);
    // 2^24 + 1 is no float: each further 1 is lost.
    EXPECT_EQ(large.difference(&empty), 16777216.0F);
}

TEST(FWHistogramTest, DescriptionListsTheSixtyFourCounts) {
    FWHistogram histogram;
    histogram.incrementValue(0);
    histogram.incrementValue(63);
    histogram.incrementValue(63);
    std::string expected = "Histogram: {1";
    for (int i = 1; i < 63; ++i) {
        expected += ", 0";
    }
    EXPECT_EQ(histogram.description(), expected + ", 2}");
}

} // namespace
} // namespace fw
