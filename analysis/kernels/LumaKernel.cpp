#include "analysis/kernels/LumaKernel.h"

#include "analysis/kernels/LumaWalk.h"
#include "analysis/kernels/avx2/LumaAvx2.h"
#include "base/Avx2.h"

namespace fw {

LumaCounts scalar::scanLuma8(const std::uint8_t* base, std::uint64_t byteCount,
                             std::int64_t refBlack, std::int64_t refWhite) {
    return luma::scan8(base, byteCount, refBlack, refWhite);
}

LumaCounts scalar::scanLuma10(const std::uint8_t* base, std::uint64_t byteCount,
                              std::int64_t refBlack, std::int64_t refWhite) {
    return luma::scan10(base, byteCount, refBlack, refWhite);
}

LumaCounts scanLuma8(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                     std::int64_t refWhite) {
    if constexpr (kIsX86) {
        if (hasAvx2()) {
            return avx2::scanLuma8(base, byteCount, refBlack, refWhite);
        }
    }
    return scalar::scanLuma8(base, byteCount, refBlack, refWhite);
}

LumaCounts scanLuma10(const std::uint8_t* base, std::uint64_t byteCount, std::int64_t refBlack,
                      std::int64_t refWhite) {
    if constexpr (kIsX86) {
        if (hasAvx2()) {
            return avx2::scanLuma10(base, byteCount, refBlack, refWhite);
        }
    }
    return scalar::scanLuma10(base, byteCount, refBlack, refWhite);
}

} // namespace fw
