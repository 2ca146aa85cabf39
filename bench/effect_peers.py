#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the effects of the plugin pack with the same effects of ffmpeg and sox.

    bench/effect_peers.py [BENCH]   the benchmark program (build/release/bench/pluginpack_bench)

Prints a table of nanoseconds of processor time for a stereo frame: of the pack at the start of a
source, where an effect has no run-in, and in a mix, with its run-in; and of each peer, the median of
its runs less the median of the same runs without an effect. sox is left out where it is not
installed (apt-get install sox). Only ratios of one run have a meaning.
"""

import array
import json
import random
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

RATE = 48000
SECONDS = 20
LOOPS = 9
RUNS = 5
FRAMES = RATE * SECONDS * (LOOPS + 1)
BENCH = "build/release/bench/pluginpack_bench"

FFMPEG = {
    "equalizer": [("bass, equalizer, treble", "bass=g=3:f=100,equalizer=f=1000:t=q:w=1:g=-4,"
                                              "treble=g=2:f=8000")],
    "compressor": [("acompressor", "acompressor=threshold=0.0316:ratio=4:attack=20:release=250")],
    "gate": [("agate", "agate=threshold=1:attack=20:release=250")],
    "limiter": [("alimiter", "alimiter=limit=0.707:attack=5:release=50:level=0"),
                ("alimiter at 4 times the rate",
                 "aresample=192000,alimiter=limit=0.707:attack=5:release=50:level=0,"
                 "aresample=48000")],
    "duck": [("sidechaincompress", "asplit[a][b];[a][b]sidechaincompress=threshold=0.01:ratio=20:"
                                   "attack=100:release=400")],
}
SOX = {
    "equalizer": ("bass, equalizer, treble", "bass 3 100 equalizer 1000 1q -4 treble 2 8000"),
    "compressor": ("compand", "compand 0.02,0.25 6:-30,-30,0,-22"),
    "gate": ("compand as a gate", "compand 0.02,0.25 -inf,-20.1,-inf,-20,-20"),
}


def cpu_of(command):
    """Processor seconds of a command."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime


def frame_ns(with_effect, without):
    """Nanoseconds a frame of an effect: both commands alternately."""
    pairs = [(cpu_of(with_effect), cpu_of(without)) for _ in range(RUNS)]
    seconds = statistics.median(p[0] for p in pairs) - statistics.median(p[1] for p in pairs)
    return seconds / FRAMES * 1e9


def ffmpeg(sound, effect):
    return ["ffmpeg", "-v", "error", "-nostdin", "-threads", "1", "-filter_threads", "1",
            "-stream_loop", str(LOOPS), "-f", "f64le", "-ar", str(RATE), "-ac", "2", "-i", sound,
            "-af", effect, "-c:a", "pcm_f64le", "-f", "null", "-"]


def sox(sound, effect):
    return ["sox", "-t", "f64", "-r", str(RATE), "-c", "2", sound, "-n",
            "repeat", str(LOOPS)] + effect.split()


def peers_of(effect, sound):
    """The names of the peers of an effect with their times."""
    for name, chain in FFMPEG[effect]:
        yield f"ffmpeg {name}", frame_ns(ffmpeg(sound, chain), ffmpeg(sound, "anull"))
    if effect in SOX and shutil.which("sox"):
        name, chain = SOX[effect]
        yield f"sox {name}", frame_ns(sox(sound, chain), sox(sound, ""))


def own_times(bench):
    """Nanoseconds a frame by the name of the case."""
    result = subprocess.run(
        [bench, "--benchmark_filter=AtStart|WithRunIn", f"--benchmark_repetitions={RUNS}",
         "--benchmark_report_aggregates_only=true", "--benchmark_format=json"],
        check=True, stdout=subprocess.PIPE)
    return {case["run_name"]: case["frame"] * 1e9
            for case in json.loads(result.stdout)["benchmarks"]
            if case["aggregate_name"] == "median"}


def write_noise(path):
    source = random.Random(1)
    values = array.array("d", (source.uniform(-1, 1) for _ in range(2 * RATE * SECONDS)))
    path.write_bytes(values.tobytes())


def main():
    own = own_times(sys.argv[1] if len(sys.argv) > 1 else BENCH)
    print("| effect | ns a frame | with run-in | peer | ns a frame | ratio |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        sound = Path(folder) / "noise.f64"
        write_noise(sound)
        for effect in FFMPEG:
            start, mix = own[f"AtStart/{effect}"], own[f"WithRunIn/{effect}"]
            for name, theirs in peers_of(effect, str(sound)):
                print(f"| {effect} | {start:.1f} | {mix:.1f} | {name} | {theirs:.1f} "
                      f"| {start / theirs:.2f} |", flush=True)


if __name__ == "__main__":
    main()
