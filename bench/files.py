#!/usr/bin/python3
"""Copies and checksums beside the machine's own tools, in turns, on a file that is cached.

files.py [-n RUNS] [-m MEBIBYTES] [-f FOLDER]: FOLDER should be a tmpfs; it needs room for the source
and two copies. Prints medians with the least and the most, ratios, and how much memory each adds to
a process that does nothing. Every copy and checksum is compared with the source's.
"""
import argparse
import filecmp
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                       "../build/bench/bin/bench_files")


class Run:
    """Wall and CPU seconds of one process, and what it printed."""

    def __init__(self, arguments):
        start = time.perf_counter()
        process = subprocess.Popen(arguments, stdout=subprocess.PIPE, text=True)
        self.output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.wall = time.perf_counter() - start
        self.cpu = usage.ru_utime + usage.ru_stime
        if process.returncode != 0:
            sys.exit(f"{' '.join(arguments)} failed")

    def kibibytes(self):
        """At the peak: all memory, and without what processes share."""
        return [int(text) for text in self.output.split()[-2:]]


def make_source(path, mebibytes):
    block = os.urandom(1 << 20)
    with open(path, "wb") as file:
        for number in range(mebibytes):
            file.write(number.to_bytes(8, "little") + block[8:])


def in_turns(commands, runs, check=lambda name, run: None, before=lambda: None):
    results = {name: [] for name in commands}
    for number in range(runs):
        # Each also comes first: what the machine does with memory just freed costs whoever follows.
        turns = list(commands.items())
        for name, arguments in turns if number % 2 == 0 else reversed(turns):
            before()
            run = Run(arguments)
            check(name, run)
            results[name].append(run)
    return results


def median(results, name, what="wall"):
    return statistics.median(getattr(run, what) for run in results[name])


def peak(results, name):
    return [statistics.median(numbers)
            for numbers in zip(*(run.kibibytes() for run in results[name]))]


def show(results):
    for name, runs in results.items():
        walls = [run.wall for run in runs]
        print(f"  {name:34} {statistics.median(walls):6.2f} s "
              f"({min(walls):.2f} to {max(walls):.2f}), "
              f"CPU {median(results, name, 'cpu'):.2f} s")


def show_copies(source, folder, runs):
    def copy(name):
        return os.path.join(folder, name)

    def spoil():
        """What stands there already must not pass for a copy."""
        for made in ("one", "two"):
            if os.path.exists(copy(made)):
                with open(copy(made), "r+b") as file:
                    for place in range(0, os.path.getsize(source), 1 << 20):
                        file.seek(place)
                        file.write(b"spoiled")

    def check_one(name, _):
        filecmp.clear_cache()
        if not filecmp.cmp(source, copy("one"), shallow=False):
            sys.exit(f"{name}: the copy differs")

    def check_both(name, _):
        filecmp.clear_cache()
        if name not in (digests, "1 digest") and not all(filecmp.cmp(source, copy(made), shallow=False)
                                       for made in ("one", "two")):
            sys.exit(f"{name}: a copy differs")

    io, digests = "reads, writes and read-backs alone", "3 digests"
    print("one copy without verification")
    results = in_turns({
        "copyFileWithProgress": [PROGRAM, "copy", source, copy("one")],
        "cp": ["cp", "--reflink=never", "--sparse=never", source, copy("one")],
    }, runs, check_one, spoil)
    show(results)
    print(f"  ratio {median(results, 'copyFileWithProgress') / median(results, 'cp'):.2f}")

    print("two copies with SHA-256 verification")
    both = [source, copy("one"), copy("two")]
    results = in_turns({
        "copyFileWithProgress": [PROGRAM, "verified", *both],
        io: [PROGRAM, "reads-and-writes", *both],
        digests: [PROGRAM, "digests", source, "3"],
        "1 digest": [PROGRAM, "digests", source, "1"],
    }, runs, check_both, spoil)
    show(results)
    cores = len(os.sched_getaffinity(0))
    for work in (digests, "1 digest"):
        together = (median(results, io, "cpu") + median(results, work, "cpu")) / cores
        most = max(median(results, io), median(results, work), together)
        print(f"  ratio to the most of: I/O, {work}, and {together:.2f} s, their CPU on {cores} "
              f"cores: {median(results, 'copyFileWithProgress') / most:.2f}")
    print("  (the copy makes one digest and compares what it read back)")


def show_checksums(source, runs):
    for digest in ("md5", "sha1", "sha512"):
        ours, theirs = f"{digest}HashForFile", f"openssl dgst -{digest}"
        seen = set()
        results = in_turns({
            ours: [PROGRAM, digest, source],
            theirs: ["openssl", "dgst", f"-{digest}", source],
        }, runs, lambda _, run: seen.update(re.findall("[0-9a-f]{32,}", run.output)))
        if len(seen) != 1:
            sys.exit(f"{digest}: the checksums differ")
        print(digest)
        show(results)
        print(f"  speed {median(results, theirs) / median(results, ours):.2f} of openssl's")


def show_memory(folder):
    print("memory beyond a process that does nothing")
    nothing = peak(in_turns({"nothing": [PROGRAM, "nothing"]}, 9), "nothing")
    for mebibytes in (10, 4096):
        source, made = os.path.join(folder, "source"), os.path.join(folder, "one")
        os.truncate(source, 0)
        os.truncate(source, mebibytes << 20)
        results = in_turns({
            "copy": [PROGRAM, "copy", source, made],
            "verified": [PROGRAM, "verified", source, made],
            "sha512": [PROGRAM, "sha512", source],
        }, 3)
        for name in results:
            whole, private = (one - other for one, other in zip(peak(results, name), nothing))
            print(f"  {name:10} {mebibytes:5} MiB: {whole:.0f} KiB, {private:.0f} KiB of them "
                  "its own, not pages of libraries")


parser = argparse.ArgumentParser()
parser.add_argument("-n", type=int, default=5, help="runs of each")
parser.add_argument("-m", type=int, default=2048, help="the file's size")
parser.add_argument("-f", default="/dev/shm", help="where the files are made")
options = parser.parse_args()

with tempfile.TemporaryDirectory(dir=options.f) as working_folder:
    os.environ["HOME"] = working_folder
    original = os.path.join(working_folder, "source")
    make_source(original, options.m)
    show_copies(original, working_folder, options.n)
    for name in ("one", "two"):
        os.unlink(os.path.join(working_folder, name))
    show_checksums(original, options.n)
    show_memory(working_folder)
