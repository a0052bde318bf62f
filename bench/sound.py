#!/usr/bin/python3
"""The waveform of long sound beside decoding alone, in turns, and the memory of short and long sound.

sound.py [-n RUNS] [-s SECONDS] [-f FOLDER]: makes stereo AAC and PCM of 48 kHz in FOLDER.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                       "../build/bench/bin/bench_sound")


def make_sound(path, codec, seconds):
    source = f"anoisesrc=color=pink:sample_rate=48000:seed=1:d={seconds}"
    other = f"sine=frequency=440:sample_rate=48000:d={seconds}"
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", source, "-f", "lavfi",
                    "-i", other, "-filter_complex", "amerge=inputs=2", "-c:a", codec, path],
                   check=True)


def run(what, movie):
    start = time.perf_counter()
    process = subprocess.Popen([PROGRAM, what, movie], stdout=subprocess.PIPE, text=True)
    counts = [int(text) for text in process.stdout.read().split()]
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{what} failed")
    return (time.perf_counter() - start, usage.ru_utime + usage.ru_stime, *counts)


parser = argparse.ArgumentParser()
parser.add_argument("-n", type=int, default=5, help="runs of each")
parser.add_argument("-s", type=int, default=3600, help="length of the sound")
parser.add_argument("-f", default=None, help="where the sound is made")
options = parser.parse_args()

with tempfile.TemporaryDirectory(dir=options.f) as folder:
    for name, codec in (("AAC", "aac"), ("PCM", "pcm_s16le")):
        for seconds in (60, options.s):
            movie = os.path.join(folder, f"{codec}{seconds}.mov")
            make_sound(movie, codec, seconds)
            results = {"waveform": [], "decode": []}
            for _ in range(options.n):
                for what, runs in results.items():
                    runs.append(run(what, movie))
            print(f"{name}, {seconds} s")
            for what, runs in results.items():
                walls = [one[0] for one in runs]
                print(f"  {what:9} {statistics.median(walls):6.2f} s "
                      f"({min(walls):.2f} to {max(walls):.2f}), "
                      f"CPU {statistics.median(one[1] for one in runs):.2f} s, "
                      f"{statistics.median(one[4] for one in runs):.0f} KiB, {runs[0][2]} "
                      f"{'points' if what == 'waveform' else 'samples'}")
            ratio = (statistics.median(one[0] for one in results["waveform"]) /
                     statistics.median(one[0] for one in results["decode"]))
            print(f"  ratio {ratio:.2f}")
            os.unlink(movie)
