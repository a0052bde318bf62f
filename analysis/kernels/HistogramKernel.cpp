#include "analysis/kernels/HistogramKernel.h"

#include "analysis/Quantize.h"
#include "analysis/kernels/HistogramRules.h"
#include "analysis/kernels/avx2/HistogramAvx2.h"
#include "base/Avx2.h"

namespace fw {
namespace {

template <typename ColorOfGroup>
HistogramSums sumColor(const std::uint8_t* base, std::uint64_t byteCount, std::uint64_t groupSize,
                       ColorOfGroup colorOfGroup) {
    const Shares shares(byteCount);
    HistogramSums sums;
    for (std::uint64_t offset = 0; offset < byteCount; offset += groupSize) {
        const Color color = colorOfGroup(base + offset);
        ++sums.buckets[quantize_color(color.r, color.g, color.b)];
        sums.red += shares[color.r];
        sums.green += shares[color.g];
        sums.blue += shares[color.b];
    }
    return sums;
}

} // namespace

HistogramSums sumRawColor(const std::uint8_t* base, std::uint64_t byteCount,
                          std::uint64_t groupSize) {
    return sumColor(base, byteCount, groupSize, rawColor);
}

HistogramSums scalar::sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumColor(base, byteCount, 4, videoColor8);
}

HistogramSums scalar::sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumColor(base, byteCount, 8, videoColor10);
}

HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount) {
    if constexpr (kIsX86) {
        if (hasAvx2()) {
            return avx2::sumVideoColor8(base, byteCount);
        }
    }
    return scalar::sumVideoColor8(base, byteCount);
}

HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount) {
    if constexpr (kIsX86) {
        if (hasAvx2()) {
            return avx2::sumVideoColor10(base, byteCount);
        }
    }
    return scalar::sumVideoColor10(base, byteCount);
}

HistogramSums sumGrey(const std::uint8_t* base, std::uint64_t byteCount) {
    const Shares shares(byteCount);
    HistogramSums sums;
    for (std::uint64_t offset = 0; offset < byteCount; offset += 4) {
        const std::uint8_t grey = base[offset + 1];
        ++sums.buckets[quantize_bw(grey)];
        sums.red += shares[grey];
    }
    return sums;
}

} // namespace fw
