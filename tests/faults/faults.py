#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks results and cache after failing calls, kills, power cuts and crowds of programs.

    faults.py SONREL FAULTFS [--depth sample|quick|full] [--jobs N] [--seconds N] [--kills N]
              [--limit N] [--rounds N] [--every N] [--only WORD] [--details FILE]

SONREL is the program, FAULTFS the library of this folder. Prints a table with a line for each figure
and returns 1 when something is wrong, or when something was not counted at all. On two cores sample
takes about ten seconds, quick a minute, full half an hour; the other options replace the numbers of the
depth.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import queue
import shutil
import subprocess
import sys
import tempfile
import time

from commands import COMMANDS, Workshop
from disturb import Counts, disturb
from figures import Figure
from judge import KINDS
import crowd
import figures
import killloop
import parts
import planted
import powercut

HERE = pathlib.Path(__file__).resolve().parent
FAILING, KILLED, FOLLOWING = "disturbed file calls", "kills at file calls", "undisturbed runs"
# limit: points of one kind of fault; rounds: faults of one command, 0 for all; every: of the commands
# whose calls are disturbed; step, variants: of power cuts; check_every: power cuts with an undisturbed
# run.
DEPTHS = {
    "sample": {"seconds": 1, "kills": 8, "limit": 2, "rounds": 4, "every": 4, "step": 40,
               "variants": 1, "check_every": 30, "crowds": 1},
    "quick": {"seconds": 8, "kills": 36, "limit": 3, "rounds": 12, "every": 1, "step": 9,
              "variants": 1, "check_every": 30, "crowds": 2},
    "full": {"seconds": 600, "kills": 1000, "limit": 5, "rounds": 0, "every": 1, "step": 1,
             "variants": 20, "check_every": 40, "crowds": 200},
}
CUT_SHORT = ("conform, made", "conform, forced", "peaks, made", "mix, found", "cache clean",
             "cache clean, to a size")


class Driver:
    def __init__(self, shop, options):
        self.shop, self.options = shop, options
        self.boxes = queue.SimpleQueue()
        for number in range(options.jobs):
            self.boxes.put(shop.box(f"box{number}"))
        self.details = open(options.details, "w") if options.details else None

    def in_a_box(self, function, *arguments):
        box = self.boxes.get()
        try:
            return function(box, *arguments)
        finally:
            self.boxes.put(box)

    def disturb(self, fault):
        """The figures of one fault."""
        outcome = self.in_a_box(disturb, fault)
        if not outcome.was_reached:
            return []
        if self.details:
            self.details.write(json.dumps({"fault": str(fault), "code": outcome.code,
                                           "text": outcome.text, "wrong": outcome.wrong,
                                           "next": outcome.wrong_next}) + "\n")
        following = Figure(FOLLOWING)
        following.add([f"{fault}: {text}" for _, text in outcome.wrong_next])
        if fault.mode in ("kill", "killafter", "torn"):
            killed = Figure(KILLED)
            killed.add([f"{fault}: {kind}: {text}" for kind, text in outcome.wrong])
            return [killed, following]
        return [*failing(fault, outcome.wrong), following]

    def faults_of(self, name):
        """The faults of a command, a sample of them in a quick run."""
        counts = self.in_a_box(Counts, COMMANDS[name])
        limit = self.options.limit
        faults = [*parts.failures(counts, name, limit), *parts.deaths(counts, name, limit)]
        if self.options.rounds:
            faults = spread(faults, self.options.rounds, list(COMMANDS).index(name) / len(COMMANDS))
        return faults

    def tasks(self):
        """(name, function, arguments) of all parts, the longest first."""
        options = self.options
        yield "storm", self.script, "storm.py", self.shop.folder / "storm", "--seconds", \
            str(options.seconds)
        for script in ("traps.py", "outputs.py"):
            if options.depth == "full" and (HERE / script).exists():
                yield script, self.script, script, self.shop.folder
        share = -(-options.kills // options.jobs)
        for number in range(options.jobs):
            yield "random kills", self.in_a_box, killloop.run, share, number
        for name in CUT_SHORT:
            for model in powercut.MODELS:
                yield "power cuts", self.in_a_box, powercut.run, name, model, options.step, \
                    options.variants, options.check_every
        yield "crowds", self.in_a_box, crowd.run, options.crowds
        yield "planted faults", self.in_a_box, planted.run
        for name in self.disturbed():
            for fault in self.faults_of(name):
                yield name, self.disturb, fault

    def disturbed(self):
        """The names of the commands whose calls are disturbed, in a sample some of them."""
        names = [name for name in COMMANDS if self.options.only in name]
        return names[::self.options.every]

    def script(self, name, *arguments):
        """The figures that another program prints."""
        result = subprocess.run([HERE / name, self.shop.program, *arguments], text=True,
                                stdout=subprocess.PIPE, env=self.shop.environment)
        found = figures.read(result.stdout)
        if not found or (result.returncode != 0 and all(figure.holds() for figure in found)):
            found.append(Figure(f"{name}: runs that failed", 1, 1, [result.stdout[-500:]]))
        return found

    def run(self):
        """All figures."""
        only = self.options.only
        with concurrent.futures.ThreadPoolExecutor(self.options.jobs) as pool:
            futures = {pool.submit(task[1], *task[2:]): task[0] for task in self.tasks()
                       if only in task[0]}
            for future in concurrent.futures.as_completed(futures):
                for figure in future.result():
                    report(figure)
        reached = dict.fromkeys(futures.values(), False)
        for future, name in futures.items():
            reached[name] |= bool(future.result())
        missed = [name for name, was_reached in reached.items() if not was_reached]
        found = [figure for future in futures for figure in future.result()]
        return figures.merged([*found, Figure("parts that were reached", len(reached), len(missed),
                                              missed)])


def spread(faults, rounds, shift):
    """A number of the faults, spread evenly. The shift, from 0 to 1, chooses other faults for each
    command."""
    step = max(1, len(faults) / rounds)
    return [faults[int((number + shift) * step)] for number in range(min(rounds, len(faults)))]


def failing(fault, wrong):
    """A figure for each kind of wrong outcome."""
    for kind in KINDS[:-1]:
        figure = Figure(f"{FAILING}: {kind}")
        figure.add([f"{fault}: {kind}: {text}" for known, text in wrong if known == kind])
        yield figure


def report(figure):
    for text in figure.details:
        print(f"{figure.name}: {text}", flush=True)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("shim", type=pathlib.Path)
    parser.add_argument("--depth", choices=DEPTHS, default="full")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="", help="parts with this word in their name")
    parser.add_argument("--details", help="a JSON line for each disturbed call")
    for name in DEPTHS["full"]:
        parser.add_argument(f"--{name.replace('_', '-')}", type=int)
    options = parser.parse_args()
    for name, value in DEPTHS[options.depth].items():
        if getattr(options, name) is None:
            setattr(options, name, value)
    return options


def main():
    options = arguments()
    begin = time.monotonic()
    memory = "/dev/shm" if os.path.isdir("/dev/shm") else None
    folder = pathlib.Path(tempfile.mkdtemp(prefix="sonrel-faults-",
                                           dir=os.environ.get("TMPDIR", memory))).resolve()
    try:
        shop = Workshop(options.program.resolve(), options.shim.resolve(), folder)
        found = Driver(shop, options).run()
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print(figures.table(found))
    print(f"{options.depth}, {options.jobs} jobs, {time.monotonic() - begin:.0f} s")
    return 0 if all(figure.holds() for figure in found) else 1


if __name__ == "__main__":
    sys.exit(main())
