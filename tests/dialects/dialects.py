#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Timelines after the dialects of the programs that write them, with media files whose sound
contains its file, its channel and its time.

    dialects.py SONREL [FOLDER] [--places N] [--every N] [--only WORD]

Makes the media files and the timelines in a new folder in FOLDER, mixes each timeline, and compares
what is heard at 20 places of each with a reference reader. Without FOLDER the files are temporary. A
clip that is silent because its media file has no sound must have an entry in notTakenOver, and info
must have the entries of the mix. The timelines in examples must have no entry. Prints a JSON object;
returns 1 when something is wrong.
--every takes each Nth timeline only, --only those whose name contains a word.
"""

import argparse
import concurrent.futures
import json
import pathlib
import subprocess
import sys
import tempfile
import zipfile

import channels
import judge
import media
import reader
import structures
import times

JOBS = 2
EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
MIX_ONLY = {"--retime", "--audio-from"}  # options that info does not have


class Shop:
    """A folder with the media files, a cache and a program."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = pathlib.Path(folder).resolve()
        media.make(self.folder)

    def run(self, arguments):
        command = [self.program, "--cache", self.folder / "cache", "--db", self.folder / "media.db",
                   *arguments, "--json"]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def write(self, case, number):
        """Writes the timeline of a case and returns its path."""
        path = self.folder / f"{number}{case.extension}"
        if case.extension == ".otiod":
            path.mkdir()
            (path / "content.otio").write_text(json.dumps(case.document))
        elif case.extension == ".otioz":
            with zipfile.ZipFile(path, "w") as archive:
                archive.writestr("content.otio", json.dumps(case.document))
                for name in ("a.wav", "b.wav"):
                    archive.write(self.folder / name, f"media/{name}")
        else:
            path.write_text(json.dumps(case.document))
        return path


def entries_of_info(shop, case, path):
    """The entries that info lists."""
    result = shop.run(["info", path, *case.options])
    return json.loads(result.stdout)["notTakenOver"]


def faults_of(shop, case, number, count):
    """The number of judged places, and the faults of a case."""
    output = shop.folder / f"{number}.wav"
    path = shop.write(case, number)
    result = shop.run(["mix", path, "-o", output, "--dither", "none", *case.options])
    if result.returncode != 0:
        return 0, [f"exit code {result.returncode}: {result.stderr.strip()}"]
    entries = json.loads(result.stdout)["notTakenOver"]
    reading = dict(case.reading)
    if "--media-root" in case.options:
        reading["roots"] = [case.options[-1].split("=")]
    plays = reader.Reader(case.document, media.BY_NAME, **reading).plays()
    judged, faults = judge.wrong_places(judge.Mix(output), plays, count, seed=number)
    faults += [f"clip {name} is silent and has no entry"
               for name in judge.silent_without_entry(plays, entries)]
    text = json.dumps(entries)
    faults += [f"no entry has '{word}'" for word in case.listed if word not in text]
    if not MIX_ONLY & set(case.options) and entries_of_info(shop, case, path) != entries:
        faults.append("info and mix have different entries")
    if judged < count:
        faults.append(f"only {judged} places")
    return judged, faults


def faults_of_examples(shop):
    """The examples that info refuses with --strict."""
    for path in sorted(EXAMPLES.glob("*.otio")):
        result = shop.run(["info", path, "--strict"])
        if result.returncode != 0:
            yield f"{path.name}: {result.stderr.strip()}"


def all_cases(folder):
    yield from times.cases()
    yield from channels.cases()
    yield from structures.cases(folder)


def options_of():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path, nargs="?", default=tempfile.gettempdir())
    parser.add_argument("--places", type=int, default=20)
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--only", default="")
    return parser.parse_args()


def main():
    options = options_of()
    with tempfile.TemporaryDirectory(dir=options.folder, prefix="dialects-") as folder:
        shop = Shop(options.program.resolve(), folder)
        cases = [case for case in all_cases(shop.folder) if options.only in case.name]
        cases = cases[::options.every]
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            results = list(pool.map(
                lambda at: faults_of(shop, cases[at], at, options.places), range(len(cases))))
        examples = list(faults_of_examples(shop))
    wrong = 0
    for case, (_, faults) in zip(cases, results):
        wrong += bool(faults)
        for fault in faults:
            print(f"{case.name}: {fault}", file=sys.stderr)
    for fault in examples:
        print(fault, file=sys.stderr)
    print(json.dumps({"timelines": len(cases), "places": sum(judged for judged, _ in results),
                      "wrongTimelines": wrong, "wrongExamples": len(examples)}))
    return 1 if wrong or examples or not cases else 0


if __name__ == "__main__":
    sys.exit(main())
