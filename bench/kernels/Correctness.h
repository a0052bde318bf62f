#pragma once

#include <benchmark/benchmark.h>

namespace fw::bench {

/// To be asked before timing. False when a result differs from the plain reference: the benchmark
/// then reports an error instead of a time, and the program ends with a failure.
bool isRight(benchmark::State& state, bool equalsReference);

/// Whether isRight() ever gave false.
bool wasEverWrong();

} // namespace fw::bench
