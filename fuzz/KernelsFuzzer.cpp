#include "analysis/kernels/HistogramKernel.h"
#include "analysis/kernels/LumaKernel.h"
#include "fuzz/check.h"
#include "pixels/PixelBuffer.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <utility>
#include <vector>

namespace {

using namespace fw;
using fuzz::check;

/// `byteCount` bytes of the repeated pattern and the zeros behind them. Several blocks of the
/// faster ways fit in, and not a byte more than a kernel may read.
std::vector<std::uint8_t> repeated(const std::vector<std::uint8_t>& pattern,
                                   std::size_t byteCount) {
    std::vector<std::uint8_t> bytes(byteCount + kReadableBytesPastEnd, 0);
    for (std::size_t i = 0; i < byteCount && !pattern.empty(); ++i) {
        bytes[i] = pattern[i % pattern.size()];
    }
    return bytes;
}

} // namespace

/// The kernels as this machine runs them give bit for bit what the plain ones give.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto byteCount = input.ConsumeIntegralInRange<std::size_t>(0, std::size_t{16} * 1024);
    const auto black = input.ConsumeIntegral<std::int64_t>();
    const auto white = input.ConsumeIntegral<std::int64_t>();
    const auto near = input.ConsumeIntegralInRange<std::int64_t>(-1, 1024);
    const auto bytes = repeated(input.ConsumeRemainingBytes<std::uint8_t>(), byteCount);
    const std::uint8_t* base = bytes.data();
    check(sumVideoColor8(base, byteCount) == scalar::sumVideoColor8(base, byteCount),
          "sumVideoColor8 is the plain one");
    check(sumVideoColor10(base, byteCount) == scalar::sumVideoColor10(base, byteCount),
          "sumVideoColor10 is the plain one");
    for (const auto& [low, high] :
         {std::pair(black, white), std::pair(near, near), std::pair(near, white)}) {
        check(scanLuma8(base, byteCount, low, high) ==
                  scalar::scanLuma8(base, byteCount, low, high),
              "scanLuma8 is the plain one");
        check(scanLuma10(base, byteCount, low, high) ==
                  scalar::scanLuma10(base, byteCount, low, high),
              "scanLuma10 is the plain one");
    }
    return 0;
}
