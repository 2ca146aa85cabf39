#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Programs that convert, convert again, clean, mix and make peaks, all on one cache at once.

    storm.py SONREL FOLDER [--seconds N] [--crowd N] [--seed N]

For N seconds, a crowd of processes of each kind runs on media files in FOLDER, which must not exist.
Counted are results that are wrong although the command reports success, messages with words of the
database library, commands that crash or hang, and, at the end, files without a record and records
of a wrong file. Prints one JSON object; returns 1 when something is wrong.
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

HERE = pathlib.Path(__file__).resolve().parent
MEDIA = 14
SQL_WORDS = re.compile(r"UNIQUE|constraint|SQLITE|SQL |SELECT|INSERT|malformed|no such table", re.I)
MAX_SECONDS_OF_A_COMMAND = 120


def timeline(names):
    """A timeline of one track: half a second of each file, more files than a mixer keeps open."""
    def span(frames):
        return {"OTIO_SCHEMA": "TimeRange.1",
                "start_time": {"OTIO_SCHEMA": "RationalTime.1", "value": 0, "rate": 24},
                "duration": {"OTIO_SCHEMA": "RationalTime.1", "value": frames, "rate": 24}}
    clips = [{"OTIO_SCHEMA": "Clip.1", "name": name, "source_range": span(12),
              "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": name}}
             for name in names]
    return {"OTIO_SCHEMA": "Track.1", "name": "A1", "kind": "Audio", "children": clips}


class Storm:
    def __init__(self, program, folder, seed):
        self.program = program
        self.folder = folder
        self.random = random.Random(seed)
        self.lock = threading.Lock()  # guards the counts
        self.runs = collections.Counter()
        self.wrong = []
        self.failures = collections.Counter()
        self.names = [f"m{number}.wav" for number in range(MEDIA)]

    def prepare(self):
        (self.folder / "media").mkdir(parents=True)
        for number, name in enumerate(self.names):  # each rate has its own noise
            rate = str(44100 + 300 * number)
            subprocess.run([HERE / "makemedia.py", self.media(name), rate], check=True)
        self.media("edit.otio").write_text(json.dumps(timeline(self.names)))
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
        """A few media files, drawn anew each time."""
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
            return self.random.choice([["--days", "0"], ["--orphans"], ["--days", "0", "--orphans"]])

    def judge(self, kind, result, is_right):
        text = result.stdout + result.stderr
        reason = re.sub(r"process \d+ \([^)]*\)|process \d+", "process N",
                        re.sub(r"'[^']*'|\"[^\"]*\"", "FILE", result.stderr.strip()))
        with self.lock:
            self.runs[kind] += 1
            if not is_right:
                self.wrong.append(f"{kind}: exit 0 and wrong bytes")
            if SQL_WORDS.search(text):
                self.wrong.append(f"{kind}: words of the database library: {text[:300]}")
            if result.returncode not in (0, 1):
                self.wrong.append(f"{kind}: exit {result.returncode}: {text[:300]}")
            if result.returncode == 1:
                self.failures[f"{kind}: {re.sub('[0-9]+ of [0-9]+', 'N of N', reason)}"] += 1

    def work(self, kind, label, deadline):
        while time.monotonic() < deadline:
            try:
                self.judge(kind, *self.step(kind, label))
            except subprocess.TimeoutExpired:
                with self.lock:
                    self.wrong.append(f"{kind}: hangs")

    def check_end(self):
        check = subprocess.run(
            [HERE / "checkcache.py", self.folder / "shared/media.db", self.folder / "shared/cache",
             "--reference", self.folder / "reference/media.db", self.folder / "reference/cache",
             "--no-orphans"], stdout=subprocess.PIPE, text=True)
        if check.returncode != 0:
            self.wrong.append(f"at the end: {check.stdout.strip()}")


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
    deadline = time.monotonic() + options.seconds
    workers = [threading.Thread(target=storm.work, args=(kind, f"{kind}{number}", deadline))
               for kind in ("conform", "force", "clean", "mix", "peaks")
               for number in range(options.crowd)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    storm.check_end()
    print(json.dumps({"runs": storm.runs, "seed": options.seed, "wrong": len(storm.wrong),
                      "what is wrong": storm.wrong[:20], "failures": storm.failures}))
    return 1 if storm.wrong or len(storm.runs) < 5 else 0


if __name__ == "__main__":
    sys.exit(main())
