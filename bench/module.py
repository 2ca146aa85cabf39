#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Compares a mix by the Python module with the same mix by the program.

Usage: module.py PROGRAM MODULE_FOLDER TIMELINE [--runs N]

MODULE_FOLDER contains the package sonrel, of the same build as PROGRAM. The commands run alternately: the program, the
interpreter that imports the module and mixes, and the interpreter that imports NumPy only. The media are conformed
before. A line shows the medians of wall time and of processor time in milliseconds, and their ratios to the program.
The mixes are compared byte by byte; exits 1 when they differ.
"""

import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time
import wave

MIX = """
import sonrel, sys
with sonrel.open(sys.argv[1], cache=sys.argv[2], db=sys.argv[3]) as project:
    samples = project.mix(dither="none")
"""
SAVE = MIX + 'open(sys.argv[4], "wb").write(samples.tobytes())\n'


def milliseconds(command, environment):
    """Wall time, and user plus system time, of one run."""
    start = time.monotonic()
    with subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL) as run:
        _, status, used = os.wait4(run.pid, 0)
        run.returncode = status
    if status != 0:
        sys.exit(f"module.py: {' '.join(command)} failed")
    return 1000 * (time.monotonic() - start), 1000 * (used.ru_utime + used.ru_stime)


def samples_of(path):
    with wave.open(path) as file:
        return file.readframes(file.getnframes())


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("module_folder")
    parser.add_argument("timeline")
    parser.add_argument("--runs", type=int, default=15)
    options = parser.parse_args()
    environment = {**os.environ, "PYTHONPATH": options.module_folder, "PYTHONDONTWRITEBYTECODE": "1"}
    with tempfile.TemporaryDirectory() as folder:
        cache, database, mix = (os.path.join(folder, name) for name in ("cache", "media.db", "mix.wav"))
        places = [options.timeline, cache, database]
        python = [sys.executable, "-c"]
        commands = {
            "sonrel mix": [options.program, "--cache", cache, "--db", database, "mix", options.timeline,
                           "-o", mix, "--dither", "none"],
            "import sonrel; mix": [*python, MIX, *places],
            "import numpy": [*python, "import numpy"]}
        milliseconds(commands["sonrel mix"], environment)
        saved = os.path.join(folder, "saved")
        milliseconds([*python, SAVE, *places, saved], environment)
        with open(saved, "rb") as file:
            same = file.read() == samples_of(mix)
        times = {name: [] for name in commands}
        for _ in range(options.runs):
            for name, command in commands.items():
                times[name].append(milliseconds(command, environment))
    report(times)
    print("the same samples" if same else "module.py: the samples differ")
    return 0 if same else 1


def report(times):
    medians = {name: [statistics.median(column) for column in zip(*runs)] for name, runs in times.items()}
    base = medians["sonrel mix"]
    for name, (wall, used) in medians.items():
        print(f"{wall:8.0f} ms wall ({wall / base[0]:.2f}) {used:8.0f} ms processor ({used / base[1]:.2f})  {name}")


if __name__ == "__main__":
    sys.exit(main())
