"""Makes one Markdown table of the results of the kernel benchmarks.

Usage: kernel_table.py RESULT.json...

Times are CPU time: every kernel runs on one thread, and other programs on the machine disturb it
less. The bytes of the rate are those that a kernel walks over, or that a step writes. What does not
depend on the size of the frame stands in the first of the two columns.
"""

import json
import statistics
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def repetitions(paths):
    """(kernel, layout) -> frame size -> list of (nanoseconds, bytes a second or None)."""
    found = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        # The repetitions come in random order.
        for run in sorted(runs, key=lambda run: run["family_index"]):
            if run["run_type"] == "iteration":
                kernel, layout, size = (run["run_name"].split("/") + ["", ""])[:3]
                time = run["cpu_time"] * NANOSECONDS[run["time_unit"]]
                found.setdefault((kernel, layout), {}).setdefault(size, []).append(
                    (time, run.get("bytes_per_second")))
    return found


def times_text(times):
    """Median, least and most, in nanoseconds or milliseconds."""
    unit, scale, decimals = ("ns", 1, 0) if max(times) < 1e4 else ("ms", 1e6, 2)
    median, least, most = (f"{time / scale:.{decimals}f}"
                           for time in (statistics.median(times), min(times), max(times)))
    return f"{median} {unit} ({least} to {most})"


def cells(runs):
    """Times and rate; empty without runs."""
    if not runs:
        return " | "
    rates = [rate for _, rate in runs if rate]
    rate = f"{statistics.median(rates) / 1e9:.1f}" if rates else ""
    return f"{times_text([time for time, _ in runs])} | {rate} "


def main():
    print("| kernel | layout | 1920x1080 | GB/s | 3840x2160 | GB/s |")
    print("|---|---|---|---|---|---|")
    for (kernel, layout), sizes in repetitions(sys.argv[1:]).items():
        smaller = sizes.get("1920x1080", sizes.get("", []))
        print(f"| {kernel} | {layout} | {cells(smaller)}| {cells(sizes.get('3840x2160', []))}|")


main()
