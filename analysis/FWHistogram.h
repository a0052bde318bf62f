#pragma once

#include "analysis/Quantize.h"
#include "analysis/kernels/HistogramKernel.h"
#include "pixels/PixelBuffer.h"

#include <array>
#include <cstdint>
#include <string>

namespace fw {

/// A frame reduced to 64 colour buckets and three channel sums. A value; an empty buffer gives an
/// empty one.
///
/// The sums are of component / bytes of the buffer, in single precision and in the order of the
/// samples; callers' thresholds depend on that scale. The factories lock the buffer while they
/// read it and keep no reference to it. The whole buffer is read, row padding included.
class FWHistogram {
public:
    static constexpr std::size_t kBucketCount = kHistogramBucketCount;
    using Buckets = std::array<std::int64_t, kBucketCount>;

    /// As it stands, 8 bits: bytes 1 to 3 of each group of four are red, green and blue.
    static FWHistogram histogramFromColorBuffer(PixelBuffer& buffer);
    /// bitDepth 10 reads groups of 8 bytes ('v210'), every other groups of 4 ('2vuy').
    /// Depths other than 8 and 10 are never converted.
    static FWHistogram histogramFromColorBuffer(PixelBuffer& buffer, bool convertFromYUV,
                                                std::uint64_t bitDepth);
    /// The byte 1 of each group of four, as a grey; only rAverage is filled.
    static FWHistogram histogramFromBWBuffer(PixelBuffer& buffer);

    const Buckets& buckets() const { return buckets_; }
    float rAverage() const { return rAverage_; }
    float gAverage() const { return gAverage_; }
    float bAverage() const { return bAverage_; }
    void setRAverage(float value) { rAverage_ = value; }
    void setGAverage(float value) { gAverage_ = value; }
    void setBAverage(float value) { bAverage_ = value; }

    /// Adds one to a bucket; 64 to 255 change nothing.
    void incrementValue(std::uint8_t value);
    /// The sum of the buckets' absolute differences, in single precision; 0 for null.
    float difference(const FWHistogram* other) const;
    /// "Histogram: {" and the 64 counts, joined by ", ", and "}".
    std::string description() const;

private:
    static FWHistogram fromSums(const HistogramSums& sums);

    Buckets buckets_{};
    float rAverage_ = 0;
    float gAverage_ = 0;
    float bAverage_ = 0;
};

} // namespace fw
