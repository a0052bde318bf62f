#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace fw {

inline constexpr std::size_t kHistogramBucketCount = 64;

/// What a walk over the groups of a frame gives: how often each bucket was met, and each channel's
/// sum of component / bytes of the frame, added up in single precision in the order of the groups.
struct HistogramSums {
    std::array<std::int64_t, kHistogramBucketCount> buckets{};
    float red = 0;
    float green = 0;
    float blue = 0;

    bool operator==(const HistogramSums&) const = default;
};

// Each kernel walks `byteCount` bytes, row padding included, one group a step. 16 bytes behind the
// end must be readable and zero: a group that reaches past the end takes them as samples. No bytes
// give no sums.

/// Bytes 1 to 3 of every `groupSize` (4 or 8) bytes are red, green and blue as they stand.
HistogramSums sumRawColor(const std::uint8_t* base, std::uint64_t byteCount,
                          std::uint64_t groupSize);

/// Bytes 1 to 3 of every 4 bytes are taken as Y, Cb and Cr, whatever the layout puts there:
/// callers' thresholds depend on it.
HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount);

/// Of every 8 bytes bits 10-19 of the first word are Y, bits 0-9 and 20-29 of the second Cb and Cr.
/// The samples are centred on 128 and not scaled to 8 bits: callers' thresholds depend on it.
HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount);

/// Byte 1 of every 4 bytes is a grey; only red is summed.
HistogramSums sumGrey(const std::uint8_t* base, std::uint64_t byteCount);

/// The two that every scan needs, one group after the other: what runs on machines without a faster
/// way, and what the faster ways must equal bit for bit.
namespace scalar {

HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount);
HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount);

} // namespace scalar

} // namespace fw
