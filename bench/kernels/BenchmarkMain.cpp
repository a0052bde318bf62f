#include "bench/kernels/Correctness.h"
#include "bench/kernels/RegisterBenchmarks.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    fw::bench::registerBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return fw::bench::wasEverWrong() ? 1 : 0;
}
