#include "analysis/FWHistogram.h"

#include "base/numbers.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace fw {
namespace {

/// The samples of a buffer, as one run of bytes.
struct Samples {
    explicit Samples(PixelBuffer& buffer)
        : base(buffer.base()), byteCount(buffer.bytesPerRow() * buffer.height()) {}

    const std::uint8_t* base;
    std::uint64_t byteCount;
};

HistogramSums sumColor(const Samples& samples, bool convertFromYUV, std::uint64_t bitDepth) {
    if (convertFromYUV && bitDepth == 8) {
        return sumVideoColor8(samples.base, samples.byteCount);
    }
    if (convertFromYUV && bitDepth == 10) {
        return sumVideoColor10(samples.base, samples.byteCount);
    }
    return sumRawColor(samples.base, samples.byteCount, bitDepth == 10 ? 8 : 4);
}

} // namespace

FWHistogram FWHistogram::fromSums(const HistogramSums& sums) {
    FWHistogram histogram;
    histogram.buckets_ = sums.buckets;
    histogram.rAverage_ = sums.red;
    histogram.gAverage_ = sums.green;
    histogram.bAverage_ = sums.blue;
    return histogram;
}

FWHistogram FWHistogram::histogramFromColorBuffer(PixelBuffer& buffer) {
    return histogramFromColorBuffer(buffer, false, 8);
}

FWHistogram FWHistogram::histogramFromColorBuffer(PixelBuffer& buffer, bool convertFromYUV,
                                                  std::uint64_t bitDepth) {
    const PixelBufferLock lock(buffer);
    return fromSums(sumColor(Samples(buffer), convertFromYUV, bitDepth));
}

FWHistogram FWHistogram::histogramFromBWBuffer(PixelBuffer& buffer) {
    const PixelBufferLock lock(buffer);
    const Samples samples(buffer);
    return fromSums(sumGrey(samples.base, samples.byteCount));
}

void FWHistogram::incrementValue(std::uint8_t value) {
    if (value < kBucketCount) {
        ++buckets_[value];
    }
}

float FWHistogram::difference(const FWHistogram* other) const {
    if (other == nullptr) {
        return 0;
    }
    float sum = 0;
    for (std::size_t i = 0; i < kBucketCount; ++i) {
        const auto [smaller, larger] = std::minmax(buckets_[i], other->buckets_[i]);
        sum += static_cast<float>(larger - smaller);
    }
    return sum;
}

std::string FWHistogram::description() const {
    std::array<std::int32_t, kBucketCount> counts{};
    std::transform(buckets_.begin(), buckets_.end(), counts.begin(), low32Signed);
    return fmt::format("Histogram: {{{}}}", fmt::join(counts, ", "));
}

} // namespace fw
