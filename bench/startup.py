#!/usr/bin/python3
"""What log and crash reporter add to the scanner's start-up, up to its first frame.

startup.py [-n RUNS] MOVIE: the whole time of a process with and one without them, in turns.
"""
import argparse
import os
import statistics
import subprocess
import tempfile
import time

parser = argparse.ArgumentParser()
parser.add_argument("-n", type=int, default=41, help="runs of each")
parser.add_argument("movie")
options = parser.parse_args()
program = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                       "../build/bench/bin/bench_startup")


def milliseconds(kind):
    arguments = [options.movie, "0", "100", "0", "1", "16", "235", "8", "1", "4", "5", "0", "1.78"]
    start = time.perf_counter()
    subprocess.run([program, kind, *arguments], check=True)
    return (time.perf_counter() - start) * 1000


with tempfile.TemporaryDirectory() as home:
    os.environ["HOME"] = home
    os.environ["XDG_RUNTIME_DIR"] = home
    times = {"with": [], "without": []}
    for _ in range(options.n):
        for kind, list_of_kind in times.items():
            list_of_kind.append(milliseconds(kind))

for kind, list_of_kind in times.items():
    print(f"{kind:8} {statistics.median(list_of_kind):6.1f} ms "
          f"({min(list_of_kind):.1f} to {max(list_of_kind):.1f})")
difference = statistics.median(times["with"]) - statistics.median(times["without"])
print(f"log and crash reporter add {difference:.1f} ms")
