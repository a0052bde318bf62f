#include "bench/kernels/Correctness.h"

namespace fw::bench {
namespace {

bool anyWrong = false;

} // namespace

bool isRight(benchmark::State& state, bool equalsReference) {
    if (!equalsReference) {
        anyWrong = true;
        state.SkipWithError("the result differs from the plain reference");
    }
    return equalsReference;
}

bool wasEverWrong() {
    return anyWrong;
}

} // namespace fw::bench
