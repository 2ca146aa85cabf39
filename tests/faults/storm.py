#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Programs that conform, conform again, clean, mix and make peaks, all on one cache at once.

    storm.py SONREL FOLDER [--seconds N] [--crowd N] [--seed N]

For N seconds, a crowd of processes of each kind runs on media files in FOLDER, which must not exist.
Counted are results that are wrong although the command reports success, messages with words of the
database library, commands that crash or hang, and, at the end, files without a record and records
of a wrong file. Prints one figure on each line; returns 1 when something is wrong.
"""

import argparse
import collections
import json
import pathlib
import random
import re
import subprocess
import sys
import threading
import time

from checkcache import Reference, look
from figures import Figure
from judge import FOREIGN
import makemedia

MEDIA = 14  # more than a mixer has open
KINDS = ("conform", "force", "clean", "mix", "peaks")
MAX_SECONDS_OF_A_COMMAND = 120


class Storm:
    def __init__(self, program, folder, seed):
        self.program = program
        self.folder = folder
        self.random = random.Random(seed)
        self.lock = threading.Lock()  # guards the counts
        self.runs = collections.Counter()
        self.faults = {kind: [] for kind in ("wrong bytes", "hangs", "foreign words", "crashes")}
        self.failures = collections.Counter()
        self.names = [f"m{number}.wav" for number in range(MEDIA)]

    def prepare(self):
        (self.folder / "media").mkdir(parents=True)
        for number, name in enumerate(self.names):
            makemedia.write_noise(self.media(name), 44100 + 300 * number)
        self.media("edit.otio").write_text(json.dumps(makemedia.timeline(self.names)))
        self.expected = {"mix": self.mix("reference", "expected")[1],
                         "peaks": {name: self.peaks("reference", "expected", name)[1]
                                   for name in self.names}}
        self.run("reference", "conform", *map(self.media, self.names))

    def media(self, name):
        return self.folder / "media" / name

    def run(self, cache, *arguments):
        command = [self.program, "--cache", self.folder / cache / "cache",
                   "--db", self.folder / cache / "media.db", *arguments]
        (self.folder / cache).mkdir(exist_ok=True)
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              errors="replace", timeout=MAX_SECONDS_OF_A_COMMAND)

    def with_output(self, cache, output, *arguments):
        """The run, and the bytes that it wrote; None for a run that failed."""
        path = self.folder / output
        path.unlink(missing_ok=True)
        result = self.run(cache, *arguments, path)
        if result.returncode != 0:
            return result, None
        return result, path.read_bytes()

    def mix(self, cache, label):
        return self.with_output(cache, label + ".wav", "mix", self.media("edit.otio"), "-o")

    def peaks(self, cache, label, name):
        return self.with_output(cache, label + ".json", "peaks", self.media(name), "--export")

    def some(self):
        """A few media files, chosen anew for each command."""
        with self.lock:
            return self.random.sample(self.names, 4)

    def step(self, kind, label):
        if kind == "mix":
            result, data = self.mix("shared", label)
            return result, data is None or data == self.expected["mix"]
        if kind == "peaks":
            name = self.some()[0]
            result, data = self.peaks("shared", label, name)
            return result, data is None or data == self.expected["peaks"][name]
        media = [self.media(name) for name in self.some()]
        commands = {"conform": ["conform", *media], "force": ["conform", "--force", *media[:2]],
                    "clean": ["cache", "clean", *self.cleaning()]}
        return self.run("shared", *commands[kind]), True

    def cleaning(self):
        with self.lock:
            return self.random.choice([["--days", "0"], ["--orphans"], ["--days", "0", "--orphans"],
                                       ["--max-size", "0"]])

    def judge(self, kind, result, is_right):
        text = result.stdout + result.stderr
        with self.lock:
            self.runs[kind] += 1
            if not is_right:
                self.faults["wrong bytes"].append(f"{kind}: exit 0 and wrong bytes")
            if FOREIGN.search(text):
                self.faults["foreign words"].append(f"{kind}: {text[:300]}")
            if result.returncode not in (0, 1):
                self.faults["crashes"].append(f"{kind}: exit {result.returncode}: {text[:300]}")
            if result.returncode == 1:
                self.failures[f"{kind}: {general(result.stderr)}"] += 1

    def work(self, kind, label, deadline):
        """At least one command, however busy the machine is."""
        while True:
            try:
                self.judge(kind, *self.step(kind, label))
            except subprocess.TimeoutExpired:
                with self.lock:
                    self.faults["hangs"].append(kind)
            if time.monotonic() >= deadline:
                return

    def blow(self, seconds, crowd):
        deadline = time.monotonic() + seconds
        workers = [threading.Thread(target=self.work, args=(kind, f"{kind}{number}", deadline))
                   for kind in KINDS for number in range(crowd)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()

    def at_the_end(self):
        """The faults of the cache: (texts about files, files without a record)."""
        def places(name):
            return self.folder / name / "media.db", self.folder / name / "cache"
        state = look(*places("shared"), Reference(*places("reference")))
        return state.wrong, state.orphans

    def figures(self, title):
        runs = self.runs.total()
        found = [Figure(f"{title}: {kind}", runs, len(faults), faults)
                 for kind, faults in self.faults.items()]
        for name, faults in zip(("not whole", "without a record"), self.at_the_end()):
            found.append(Figure(f"{title}: files {name} at the end", runs, len(faults), faults))
        idle = [kind for kind in KINDS if not self.runs[kind]]
        if idle:
            found.append(Figure(f"{title}: commands that never ran", runs, len(idle), idle))
        return found


def general(message):
    """A message without the parts that differ from run to run."""
    message = re.sub(r"'[^']*'|\"[^\"]*\"", "FILE", message.strip())
    message = re.sub(r"process \d+( \([^)]*\))?", "process N", message)
    return re.sub("[0-9]+ of [0-9]+", "N of N", message)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--crowd", type=int, default=4)
    parser.add_argument("--seed", type=int, default=random.randrange(2**32))
    options = parser.parse_args()
    storm = Storm(options.program.resolve(), options.folder.resolve(), options.seed)
    storm.prepare()
    storm.blow(options.seconds, options.crowd)
    figures = storm.figures(f"{len(KINDS) * options.crowd} programs on one cache, "
                            f"{options.seconds:.0f} s")
    for figure in figures:
        print(json.dumps({"figure": figure.name, "count": figure.count, "wrong": figure.wrong,
                          "details": figure.details[:20]}))
    print(json.dumps({"runs": storm.runs, "seed": options.seed, "failures": storm.failures}))
    return 0 if all(figure.holds() for figure in figures) else 1


if __name__ == "__main__":
    sys.exit(main())
