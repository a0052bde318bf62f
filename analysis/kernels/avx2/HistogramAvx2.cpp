#include "analysis/kernels/avx2/HistogramAvx2.h"

#include "analysis/Quantize.h"
#include "analysis/kernels/HistogramRules.h"
#include "analysis/kernels/avx2/OrderedSum.h"

#include <algorithm>
#include <array>
#include <functional>
#include <immintrin.h>

// Only the functions that say so are compiled for AVX2: were it the whole file, its copies of
// inline functions could become those of the whole program.

namespace fw::avx2 {
namespace {

constexpr std::uint64_t kGroupsPerStep = 8;

/// Eight groups, a group a lane.
struct Samples {
    __m256i y;
    __m256i cb;
    __m256i cr;
};
struct Colors {
    __m256i r;
    __m256i g;
    __m256i b;
};

[[gnu::target("avx2")]] inline __m256i load(const std::uint8_t* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

struct Video8 {
    static constexpr std::uint64_t kGroupSize = 4;
    static constexpr const ColorMatrix& kMatrix = kVideo8;

    static Color color(const std::uint8_t* group) { return videoColor8(group); }

    [[gnu::target("avx2")]] static Samples samples(const std::uint8_t* groups) {
        const __m256i words = load(groups);
        const __m256i byte = _mm256_set1_epi32(0xFF);
        const __m256i y = _mm256_and_si256(_mm256_srli_epi32(words, 8), byte);
        const __m256i cb = _mm256_and_si256(_mm256_srli_epi32(words, 16), byte);
        const __m256i cr = _mm256_srli_epi32(words, 24);
        const __m256i neutral = _mm256_set1_epi32(128);
        return {_mm256_sub_epi32(y, _mm256_set1_epi32(16)), _mm256_sub_epi32(cb, neutral),
                _mm256_sub_epi32(cr, neutral)};
    }
};

struct Video10 {
    static constexpr std::uint64_t kGroupSize = 8;
    static constexpr const ColorMatrix& kMatrix = kVideo10;

    static Color color(const std::uint8_t* group) { return videoColor10(group); }

    /// In an order of their own, which is all one.
    [[gnu::target("avx2")]] static Samples samples(const std::uint8_t* groups) {
        const __m256 low = _mm256_castsi256_ps(load(groups));
        const __m256 high = _mm256_castsi256_ps(load(groups + 32));
        const __m256i first = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0x88));
        const __m256i second = _mm256_castps_si256(_mm256_shuffle_ps(low, high, 0xDD));
        const __m256i sample = _mm256_set1_epi32(0x3FF);
        const __m256i cb = _mm256_and_si256(second, sample);
        const __m256i cr = _mm256_and_si256(_mm256_srli_epi32(second, 20), sample);
        const __m256i neutral = _mm256_set1_epi32(128);
        return {_mm256_and_si256(_mm256_srli_epi32(first, 10), sample),
                _mm256_sub_epi32(cb, neutral), _mm256_sub_epi32(cr, neutral)};
    }
};

/// Four groups of three components in double precision.
struct Values {
    __m256d r;
    __m256d g;
    __m256d b;
};

[[gnu::target("avx2")]] inline __m256d scaled(__m256d samples, double factor) {
    return _mm256_mul_pd(samples, _mm256_set1_pd(factor));
}

[[gnu::target("avx2")]] inline Values converted(__m128i y, __m128i cb, __m128i cr,
                                                const ColorMatrix& matrix) {
    const __m256d luma = scaled(_mm256_cvtepi32_pd(y), matrix.y);
    const __m256d blue = _mm256_cvtepi32_pd(cb);
    const __m256d red = _mm256_cvtepi32_pd(cr);
    return {_mm256_add_pd(luma, scaled(red, matrix.crToRed)),
            _mm256_add_pd(_mm256_add_pd(luma, scaled(blue, matrix.cbToGreen)),
                          scaled(red, matrix.crToGreen)),
            _mm256_add_pd(luma, scaled(blue, matrix.cbToBlue))};
}

[[gnu::target("avx2")]] inline __m256i wrapped(__m256d low, __m256d high) {
    const __m256i whole = _mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low));
    return _mm256_and_si256(whole, _mm256_set1_epi32(0xFF));
}

[[gnu::target("avx2")]] inline Colors converted(const Samples& samples, const ColorMatrix& matrix) {
    const Values low =
        converted(_mm256_castsi256_si128(samples.y), _mm256_castsi256_si128(samples.cb),
                  _mm256_castsi256_si128(samples.cr), matrix);
    const Values high =
        converted(_mm256_extracti128_si256(samples.y, 1), _mm256_extracti128_si256(samples.cb, 1),
                  _mm256_extracti128_si256(samples.cr, 1), matrix);
    return {wrapped(low.r, high.r), wrapped(low.g, high.g), wrapped(low.b, high.b)};
}

[[gnu::target("avx2")]] inline __m256i bucketsOf(const Colors& colors) {
    const __m256i red = _mm256_and_si256(_mm256_srli_epi32(colors.r, 2), _mm256_set1_epi32(0x30));
    const __m256i green = _mm256_and_si256(_mm256_srli_epi32(colors.g, 4), _mm256_set1_epi32(0x0C));
    return _mm256_or_si256(_mm256_or_si256(red, green), _mm256_srli_epi32(colors.b, 6));
}

/// The units that components add; see OrderedSum.
[[gnu::target("avx2")]] inline __m256i unitsOf(__m256i components, __m256 unitsPerStep) {
    return _mm256_cvtps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(components), unitsPerStep));
}

[[gnu::target("avx2")]] inline std::int32_t sumOfLanes(__m256i lanes) {
    alignas(32) std::array<std::int32_t, kGroupsPerStep> values;
    _mm256_store_si256(reinterpret_cast<__m256i*>(values.data()), lanes);
    std::int32_t sum = 0;
    for (const std::int32_t value : values) {
        sum += value;
    }
    return sum;
}

/// Neighbours mostly fall into one bucket, and adding to it again has to wait for the time before:
/// so they take turns.
class Buckets {
public:
    [[gnu::target("avx2")]] void count(__m256i buckets) {
        alignas(32) std::array<std::uint32_t, kGroupsPerStep> indices;
        _mm256_store_si256(reinterpret_cast<__m256i*>(indices.data()), buckets);
        for (std::size_t lane = 0; lane < indices.size(); ++lane) {
            ++counts_[lane % counts_.size()][indices[lane]];
        }
    }
    void count(const Color& color) { ++counts_[0][quantize_color(color.r, color.g, color.b)]; }

    std::array<std::int64_t, kHistogramBucketCount> total() const {
        std::array<std::int64_t, kHistogramBucketCount> sums{};
        for (const auto& counts : counts_) {
            std::transform(sums.begin(), sums.end(), counts.begin(), sums.begin(), std::plus());
        }
        return sums;
    }

private:
    std::array<std::array<std::int64_t, kHistogramBucketCount>, 4> counts_{};
};

class FrameSums {
public:
    explicit FrameSums(std::uint64_t byteCount) : shares_(byteCount) {}
    FrameSums(const FrameSums&) = delete;
    FrameSums& operator=(const FrameSums&) = delete;

    template <typename Video>
    [[gnu::target("avx2")]] void addBlock(const std::uint8_t* groups) {
        const __m256 redStep = _mm256_set1_ps(red_.unitsPerStep());
        const __m256 greenStep = _mm256_set1_ps(green_.unitsPerStep());
        const __m256 blueStep = _mm256_set1_ps(blue_.unitsPerStep());
        __m256i red = _mm256_setzero_si256();
        __m256i green = _mm256_setzero_si256();
        __m256i blue = _mm256_setzero_si256();
        for (std::uint64_t i = 0; i < kGroupsPerBlock; i += kGroupsPerStep) {
            const Colors colors =
                converted(Video::samples(groups + i * Video::kGroupSize), Video::kMatrix);
            buckets_.count(bucketsOf(colors));
            red = _mm256_add_epi32(red, unitsOf(colors.r, redStep));
            green = _mm256_add_epi32(green, unitsOf(colors.g, greenStep));
            blue = _mm256_add_epi32(blue, unitsOf(colors.b, blueStep));
        }
        addBlock<Video>(red_, sumOfLanes(red), groups, &Color::r);
        addBlock<Video>(green_, sumOfLanes(green), groups, &Color::g);
        addBlock<Video>(blue_, sumOfLanes(blue), groups, &Color::b);
    }

    void addGroup(const Color& color) {
        buckets_.count(color);
        red_.add(color.r);
        green_.add(color.g);
        blue_.add(color.b);
    }

    HistogramSums result() const {
        return {buckets_.total(), red_.value(), green_.value(), blue_.value()};
    }

private:
    template <typename Video>
    static void addBlock(OrderedSum& sum, std::int32_t units, const std::uint8_t* groups,
                         std::uint8_t Color::*component) {
        if (sum.addBlock(units)) {
            return;
        }
        for (std::uint64_t i = 0; i < kGroupsPerBlock; ++i) {
            sum.add(Video::color(groups + i * Video::kGroupSize).*component);
        }
        sum.findRange();
    }

    Shares shares_;
    OrderedSum red_{shares_};
    OrderedSum green_{shares_};
    OrderedSum blue_{shares_};
    Buckets buckets_;
};

template <typename Video>
HistogramSums sumVideo(const std::uint8_t* base, std::uint64_t byteCount) {
    constexpr std::uint64_t kBlockSize = kGroupsPerBlock * Video::kGroupSize;
    const std::uint64_t blocksEnd = byteCount / kBlockSize * kBlockSize;
    FrameSums sums(byteCount);
    for (std::uint64_t offset = 0; offset < blocksEnd; offset += kBlockSize) {
        sums.addBlock<Video>(base + offset);
    }
    for (std::uint64_t offset = blocksEnd; offset < byteCount; offset += Video::kGroupSize) {
        sums.addGroup(Video::color(base + offset));
    }
    return sums.result();
}

} // namespace

HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumVideo<Video8>(base, byteCount);
}

HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount) {
    return sumVideo<Video10>(base, byteCount);
}

} // namespace fw::avx2
