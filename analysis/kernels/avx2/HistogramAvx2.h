#pragma once

#include "analysis/kernels/HistogramKernel.h"

/// For machines with AVX2 only; on others a call is an illegal instruction.
namespace fw::avx2 {

HistogramSums sumVideoColor8(const std::uint8_t* base, std::uint64_t byteCount);
HistogramSums sumVideoColor10(const std::uint8_t* base, std::uint64_t byteCount);

} // namespace fw::avx2
