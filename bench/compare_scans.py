"""Runs a scan, decoding alone and signalstats in turns and prints what each takes. See scan.sh."""

import argparse
import dataclasses
import os
import pathlib
import statistics
import subprocess
import sys
import time


@dataclasses.dataclass
class Program:
    name: str
    command: list
    accepted: tuple = (0,)  # Exit statuses of a run that did its work.


@dataclasses.dataclass
class Run:
    wall: float    # Seconds.
    cpu: float     # Seconds, user and system, of the process and all that it waited for.
    memory: float  # Megabytes (10^6) at the peak of the largest process.


def scanner_arguments(movie, depth):
    """Of the scanner itself: what oxbow hands it for the whole movie with all checks on."""
    black, white = (64, 940) if depth == 10 else (16, 235)
    return [movie, 0, 2147483647, 0, 1, black, white, depth, 1, 4, 5, 1, 1.78]


def programs(folder, movie, depth):
    scan = [folder / "oxbow", "scan", "--depth", depth, "--aspect", "1.78", movie]
    return [
        Program("decode only", [folder / "bench_decode_only", movie]),
        Program("oxbow scan", scan, accepted=(0, 1)),
        Program("scanner without a parent",
                [folder / "OxbowGlint", *scanner_arguments(movie, depth)]),
        Program("ffmpeg signalstats", [
            "ffmpeg", "-nostdin", "-v", "error", "-i", movie, "-an", "-vf", "signalstats",
            "-f", "null", "-"]),
    ]


def run_once(program):
    command = [str(part) for part in program.command]
    started = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.monotonic() - started
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in program.accepted:
        sys.exit(f"{program.name} ended with {process.returncode}: {' '.join(command)}")
    return Run(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024 / 1e6)


def runs_in_turns(all_programs, count):
    """The first round only fills the file cache."""
    results = {program.name: [] for program in all_programs}
    for turn in range(count + 1):
        for program in all_programs:
            run = run_once(program)
            if turn > 0:
                results[program.name].append(run)
    return results


def frame_count(folder, movie):
    decoded = subprocess.run([folder / "bench_decode_only", movie], check=True,
                             capture_output=True, text=True)
    return int(decoded.stdout)


def column(runs, field, decimals):
    values = [getattr(run, field) for run in runs]
    median, least, most = statistics.median(values), min(values), max(values)
    return f"{median:.{decimals}f} ({least:.{decimals}f} to {most:.{decimals}f})"


def ratio(runs, base, field):
    def median(group):
        return statistics.median(getattr(run, field) for run in group)
    return f"{median(runs) / median(base):.2f}"


def print_table(title, frames, results):
    base = results["decode only"]
    print(f"\n**{title}**, {frames} frames, {len(base)} runs each\n")
    print("| | wall s | CPU s | peak MB | frames/s | wall | CPU | memory |")
    print("|---|---|---|---|---|---|---|---|")
    for name, runs in results.items():
        rate = frames / statistics.median(run.wall for run in runs)
        print(f"| {name} | {column(runs, 'wall', 2)} | {column(runs, 'cpu', 2)} "
              f"| {column(runs, 'memory', 0)} | {rate:.0f} | {ratio(runs, base, 'wall')} "
              f"| {ratio(runs, base, 'cpu')} | {ratio(runs, base, 'memory')} |", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--programs", type=pathlib.Path, required=True)
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--depth", type=int, choices=(8, 10), default=8)
    parser.add_argument("movies", nargs="+")
    arguments = parser.parse_args()
    if arguments.runs < 1:
        parser.error("at least one run is needed")
    for movie in arguments.movies:
        results = runs_in_turns(programs(arguments.programs, movie, arguments.depth),
                                arguments.runs)
        print_table(f"{os.path.basename(movie)}, scanned with {arguments.depth} bits",
                    frame_count(arguments.programs, movie), results)


main()
