#pragma once

#include "analysis/kernels/LumaKernel.h"

/// For machines with AVX2 only; on others a call is an illegal instruction.
namespace fw::avx2 {

LumaCounts scanLuma8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                     std::int64_t refWhite);
LumaCounts scanLuma10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                      std::int64_t refWhite);

} // namespace fw::avx2
