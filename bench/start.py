#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the processor time of the start of the program, next to the start of other programs.

Usage: start.py PROGRAM [--runs N] [--limit MS]

The commands run alternately. A line shows the median and the minimum of user plus system time in
milliseconds. Exits 1 when the median of PROGRAM exceeds the limit. Programs that are not installed are
left out.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys

PEERS = (["ffmpeg", "-version"], ["sox", "--version"], ["gst-launch-1.0", "--version"],
         ["melt", "-version"], ["ecasound", "--version"])


def milliseconds(command):
    """User plus system time of one run."""
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as run:
        _, _, used = os.wait4(run.pid, 0)
        run.returncode = 0
    return 1000 * (used.ru_utime + used.ru_stime)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("--runs", type=int, default=51)
    parser.add_argument("--limit", type=float, default=20.0)
    options = parser.parse_args()
    commands = [[options.program, "--version"],
                *(command for command in PEERS if shutil.which(command[0]))]
    times = [[milliseconds(command) for command in commands] for _ in range(options.runs)]
    medians = []
    for command, column in zip(commands, zip(*times)):
        medians.append(statistics.median(column))
        print(f"{medians[-1]:8.1f} {min(column):8.1f}  {' '.join(command)}")
    if medians[0] > options.limit:
        print(f"start.py: the start takes more than {options.limit} ms")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
