#!/usr/bin/env bash
# kernels.sh [REPETITIONS]: times every kernel and prints one table (Markdown). The repetitions of
# all benchmarks of a program are taken in random order, so that a slow minute of the machine does
# not fall on one of them alone.
set -euo pipefail
. "$(dirname "$0")/../scripts/setup.sh"
repetitions=${1:-9}

mkdir -p "$root/build"
install_packages build bench
configure bench
build bench

results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
for program in luma histogram matte frame_road times; do
    say "bench_$program, $repetitions repetitions"
    if ! "$root/build/bench/bin/bench_$program" \
        --benchmark_min_time=0.05 \
        --benchmark_repetitions="$repetitions" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_out_format=json --benchmark_out="$results/$program.json" \
        >"$results/log" 2>&1; then
        cat "$results/log" >&2
        die "bench_$program found a wrong result"
    fi
done
python3 "$root/bench/kernel_table.py" "$results"/{luma,histogram,matte,frame_road,times}.json
