"""Runs a command, samples the memory of it and of its children, and tells whether it grows.

Usage: memory_over_time.py COMMAND [ARGUMENT...]

Prints for each process the resident memory of the first and the last tenth of its life (medians)
and the most. Ends with 1 when a process grew by more than ALLOWED_GROWTH, or when it lived too
short to tell, with 2 when the command failed.
"""

import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

INTERVAL = 0.02            # Seconds between two samples.
FEWEST_SAMPLES = 50
ALLOWED_GROWTH = 1024      # kB from the first to the last tenth.
FINDINGS = (0, 1)          # Exit statuses of a scan that came to its end.


def status_of(pid):
    """Name and resident kB of a process; None when it has ended."""
    try:
        lines = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="utf-8").splitlines()
    except OSError:
        return None
    fields = dict(line.split(":", 1) for line in lines)
    if "VmRSS" not in fields:
        return None
    return fields["Name"].strip(), int(fields["VmRSS"].split()[0])


def children_of(pid):
    found = []
    for path in pathlib.Path(f"/proc/{pid}/task").glob("*/children"):
        try:
            found += [int(child) for child in path.read_text(encoding="utf-8").split()]
        except OSError:
            pass
    return found


def sample(pid, samples):
    status = status_of(pid)
    if status:
        name, kilobytes = status
        samples.setdefault((pid, name), []).append(kilobytes)
    for child in children_of(pid):
        sample(child, samples)


def run(command, output):
    """The exit status, and (process id, name) -> resident kB over time."""
    samples = {}
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                               stderr=subprocess.DEVNULL)
    while process.poll() is None:
        sample(process.pid, samples)
        time.sleep(INTERVAL)
    return process.returncode, samples


def longest_lives(samples):
    """Of each process what it was longest."""
    lives = {}
    for (pid, name), values in samples.items():
        if len(values) > len(lives.get(pid, ("", []))[1]):
            lives[pid] = (name, values)
    return lives.values()


def median_of(values):
    return statistics.median(values) / 1000


def is_flat(name, values):
    if len(values) < FEWEST_SAMPLES:
        print(f"{name}: {len(values)} samples are too few to tell")
        return False
    tenth = len(values) // 10
    first, last = values[:tenth], values[-tenth:]
    grown = statistics.median(last) - statistics.median(first)
    verdict = "flat" if grown <= ALLOWED_GROWTH else "grows"
    print(f"{name}: {len(values)} samples, first tenth {median_of(first):.1f} MB, "
          f"last tenth {median_of(last):.1f} MB, most {max(values) / 1000:.1f} MB: {verdict}")
    return verdict == "flat"


def main():
    with tempfile.TemporaryFile("w+", encoding="utf-8", errors="replace") as output:
        status, samples = run(sys.argv[1:], output)
        output.seek(0)
        lines = sum(1 for _ in output)
    if status not in FINDINGS:
        print(f"the command ended with {status}")
        sys.exit(2)
    print(f"{lines} lines of output")
    # A child bears its parent's name until it has become its own program.
    flat = [is_flat(name, values) for name, values in longest_lives(samples)]
    sys.exit(0 if flat and all(flat) else 1)


main()
