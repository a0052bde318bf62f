#include "platform/libav/avx2/PackV210Avx2.h"

#include <immintrin.h>

namespace fw::libav::avx2 {
namespace {

/// Eight samples each of two groups, a group in each half.
[[gnu::target("avx2")]] inline __m256i lumaOfTwo(const std::uint16_t* y) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(y + 6),
                               reinterpret_cast<const __m128i*>(y));
}

/// Four samples each of two groups.
[[gnu::target("avx2")]] inline __m256i chromaOfTwo(const std::uint16_t* chroma) {
    return _mm256_set_m128i(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(chroma + 3)),
                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(chroma)));
}

/// Of the six samples of two words: the low and middle ones in pairs, then the high ones, each in
/// 32 bits.
[[gnu::target("avx2")]] inline __m256i sortedByPlace(__m256i samples) {
    constexpr char kNone = -1;
    const __m128i order =
        _mm_setr_epi8(0, 1, 2, 3, 6, 7, 8, 9, 4, 5, kNone, kNone, 10, 11, kNone, kNone);
    return _mm256_shuffle_epi8(samples, _mm256_broadcastsi128_si256(order));
}

/// A word is three samples of Cb, Y, Cr, Y, ..., the first in its low bits.
[[gnu::target("avx2")]] inline void packTwo(const std::uint16_t* y, const std::uint16_t* cb,
                                            const std::uint16_t* cr, std::uint8_t* out) {
    const __m256i code = _mm256_set1_epi16(0x3FF);
    const __m256i luma = _mm256_and_si256(lumaOfTwo(y), code);
    const __m256i chroma =
        _mm256_and_si256(_mm256_unpacklo_epi16(chromaOfTwo(cb), chromaOfTwo(cr)), code);
    const __m256i first = _mm256_unpacklo_epi16(chroma, luma); // Samples 0 to 7.
    const __m256i last = _mm256_unpackhi_epi16(chroma, luma);  // Samples 8 to 15.
    const __m256i firstWords = sortedByPlace(first);
    const __m256i lastWords = sortedByPlace(_mm256_alignr_epi8(last, first, 12)); // From 6 on.
    const __m256i lowAndMiddle = _mm256_unpacklo_epi64(firstWords, lastWords);
    const __m256i high = _mm256_unpackhi_epi64(firstWords, lastWords);
    const __m256i places = _mm256_set1_epi32(1024 << 16 | 1); // Middle times 1024 plus low.
    const __m256i words =
        _mm256_or_si256(_mm256_madd_epi16(lowAndMiddle, places), _mm256_slli_epi32(high, 20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), words);
}

} // namespace

[[gnu::target("avx2")]] int packGroups(const std::uint16_t* y, const std::uint16_t* cb,
                                       const std::uint16_t* cr, int groups, std::uint8_t* out) {
    int group = 0;
    for (; group + 2 < groups; group += 2) {
        packTwo(y + 6 * group, cb + 3 * group, cr + 3 * group, out + 16 * group);
    }
    return group;
}

} // namespace fw::libav::avx2
