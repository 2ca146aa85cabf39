#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lets real schedulers run the plans of twenty timelines, kills a part of them in the middle of its
work, resumes, and compares the bytes with mixes in one piece.

    farm.py PROGRAM slurm|parallel [--keep FOLDER]

slurm: a controller and two nodes on the loopback device, in a temporary folder. One node is killed with
its task while it writes a part. Then tasks that fail are repeated. Needs munge and slurm-wlm.
parallel: GNU parallel. One job is killed while it writes a part.

--keep leaves timelines, mixes and logs in FOLDER. Returns 1 when something is wrong.
"""

import argparse
import pathlib
import signal
import sys
import tempfile

import gnuparallel
import slurm
from running import Overdue
from workshop import Workshop

SCHEDULERS = {"slurm": slurm.run, "parallel": gnuparallel.run}


def run(program, scheduler, folder):
    shop = Workshop(program, folder)
    try:
        SCHEDULERS[scheduler](shop)
    except Overdue as overdue:
        shop.expect(False, str(overdue))
    shop.say(f"{scheduler}: {shop.faults} faults")
    return 1 if shop.faults else 0


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # ends the daemons too
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("scheduler", choices=SCHEDULERS)
    parser.add_argument("--keep", type=pathlib.Path)
    options = parser.parse_args()
    if options.keep:
        options.keep.mkdir(parents=True)
        return run(options.program, options.scheduler, options.keep.resolve())
    with tempfile.TemporaryDirectory(prefix="sonrel-farm-") as folder:
        return run(options.program, options.scheduler, pathlib.Path(folder))


if __name__ == "__main__":
    sys.exit(main())
