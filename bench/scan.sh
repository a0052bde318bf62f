#!/usr/bin/env bash
# scan.sh [-n RUNS] [-d 8|10] MOVIE...: sets a whole scan, with every check on, beside decoding
# alone with the same libraries and threads, and beside `ffmpeg -vf signalstats`. The programs take
# turns; of each the median, the least and the most of wall time, CPU time (children included) and
# peak memory (of the largest process) are printed, as one table (Markdown) for each movie.
#   -n RUNS   how often each program runs (5)
#   -d DEPTH  the bit depth of the scan (8)
set -euo pipefail
. "$(dirname "$0")/../scripts/setup.sh"

runs=5
depth=8
while getopts n:d: option; do
    case $option in
    n) runs=$OPTARG ;;
    d) depth=$OPTARG ;;
    *) exit 64 ;;
    esac
done
shift $((OPTIND - 1))
if [ $# -eq 0 ] || { [ "$depth" != 8 ] && [ "$depth" != 10 ]; }; then
    echo "usage: scan.sh [-n RUNS] [-d 8|10] MOVIE..." >&2
    exit 64
fi

mkdir -p "$root/build"
install_packages build bench
configure bench
build bench
exec python3 "$root/bench/compare_scans.py" --programs "$root/build/bench/bin" --runs "$runs" \
    --depth "$depth" "$@"
