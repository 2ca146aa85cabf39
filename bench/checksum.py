#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the share of the checksums in whole runs of `sonrel conform`.

Usage: checksum.py PROGRAM LIBRARY FOLDER [--minutes N] [--rate HZ] [--runs N]

LIBRARY is the module other_checksum, which makes the same program compute another checksum, or none.
The methods run in random order. A line shows the minimum user and system time of a method over all
runs and its additional processor time compared with no checksum. A recording of 48000 Hz is copied
unchanged, any other rate is resampled. FOLDER must exist; a recording of 11.5 MB a minute is written
to it.
"""

import argparse
import os
import pathlib
import random
import shutil
import struct
import subprocess
import tempfile

METHODS = ("none", "library", "narrow", "crc32c")


def write_recording(path, minutes, rate):
    size = minutes * 60 * rate * 4
    noise = random.Random(1).randbytes(1 << 20)
    with open(path, "wb") as out:
        out.write(b"RIFF" + struct.pack("<I", 36 + size) + b"WAVEfmt " +
                  struct.pack("<IHHIIHH", 16, 1, 2, rate, 4 * rate, 4, 16) +
                  b"data" + struct.pack("<I", size))
        for start in range(0, size, len(noise)):
            out.write(noise[:size - start])


def conform(options, folder, method):
    """User and system seconds of a run with an empty cache."""
    shutil.rmtree(folder / "cache", ignore_errors=True)
    for database in folder.glob("media.db*"):
        database.unlink()
    environment = dict(os.environ, CHECKSUM=method, LD_PRELOAD=str(options.preload.resolve()))
    run = subprocess.Popen([options.program, "--cache", folder / "cache", "--db",
                            folder / "media.db", "conform", folder / "a.wav"],
                           env=environment, stdout=subprocess.DEVNULL)
    _, status, used = os.wait4(run.pid, 0)
    if status != 0:
        raise SystemExit("the conversion failed")
    return used.ru_utime, used.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("preload", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--minutes", type=int, default=10)
    parser.add_argument("--rate", type=int, default=48000)
    parser.add_argument("--runs", type=int, default=9)
    options = parser.parse_args()
    times = {method: [] for method in METHODS}
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        write_recording(folder / "a.wav", options.minutes, options.rate)
        for _ in range(options.runs):
            for method in random.sample(METHODS, len(METHODS)):
                times[method].append(conform(options, folder, method))
    base = min(map(sum, times["none"]))
    for method, used in times.items():
        user, system = (1e3 * min(column) for column in zip(*used))
        share = 100 * (min(map(sum, used)) / base - 1)
        print(f"{method:8} user {user:7.1f} ms, system {system:7.1f} ms, {share:+5.1f} %")


if __name__ == "__main__":
    main()
