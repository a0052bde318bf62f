#!/usr/bin/env bash
# memory.sh [FRAMES]: makes a movie of at least 100,000 small frames, some of them faulty, scans it
# with every check and shows whether the memory of the processes stays flat. Fails when it grows.
set -euo pipefail
. "$(dirname "$0")/../scripts/setup.sh"
frames=${1:-100000}
if ! [ "$frames" -ge 100000 ] 2>/dev/null; then
    echo "usage: memory.sh [FRAMES, 100000 or more]" >&2
    exit 64
fi

mkdir -p "$root/build"
install_packages build bench
configure bench
build bench
programs=$root/build/bench/bin

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
movie=$folder/long.mp4

# Levels below black on every 97th frame, a flash of white on every 500th.
say "making a movie of $frames frames"
ffmpeg -nostdin -v error -f lavfi -i "testsrc2=size=64x48:rate=25" -frames:v "$frames" \
    -vf "format=yuv420p,lutyuv=y=2:enable='eq(mod(n,97),3)',drawbox=color=white:t=fill:enable='eq(mod(n,500),250)'" \
    -c:v libx264 -preset ultrafast -g 50 "$movie"

say "scanning"
# A runtime folder of its own: the scan's socket is not left behind, whatever happens.
XDG_RUNTIME_DIR=$folder python3 "$root/bench/memory_over_time.py" \
    "$programs/oxbow" scan --aspect 1.78 "$movie"
