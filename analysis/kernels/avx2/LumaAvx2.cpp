#include "analysis/kernels/avx2/LumaAvx2.h"

#include "analysis/kernels/LumaWalk.h"

namespace fw::avx2 {

// The walk needs no code of its own: all of it is compiled here once more, for wider vectors.

[[gnu::target("avx2"), gnu::flatten]] LumaCounts scanLuma8(const std::uint8_t* base,
                                                           std::uint64_t byteCount,
                                                           std::int64_t refBlack,
                                                           std::int64_t refWhite) {
    return luma::scan8(base, byteCount, refBlack, refWhite);
}

[[gnu::target("avx2"), gnu::flatten]] LumaCounts scanLuma10(const std::uint8_t* base,
                                                            std::uint64_t byteCount,
                                                            std::int64_t refBlack,
                                                            std::int64_t refWhite) {
    return luma::scan10(base, byteCount, refBlack, refWhite);
}

} // namespace fw::avx2
