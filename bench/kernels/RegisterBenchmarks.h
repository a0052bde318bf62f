#pragma once

namespace fw::bench {

/// Each program defines it: registers its benchmarks. Called once, by main.
void registerBenchmarks();

} // namespace fw::bench
