#pragma once

namespace fw {

/// Whether functions may be compiled for AVX2 at all. Calls of them stand in `if constexpr` on
/// this, so that other machines need none.
#if defined(__x86_64__)
inline constexpr bool kIsX86 = true;
#else
inline constexpr bool kIsX86 = false;
#endif

/// Whether this machine can run them.
inline bool hasAvx2() {
    if constexpr (kIsX86) {
        return __builtin_cpu_supports("avx2") != 0;
    }
    return false;
}

} // namespace fw
