#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Every output of every command over every file that the command reads or that the program owns.

    outputs.py SONREL [FOLDER] [--every N]

Each output is given the name of each such file, in other spellings and through links of each kind,
in a new folder in FOLDER; and the name of another output of the same command. Each time the command
must refuse with one message, and no byte of any file may change. --every takes each Nth case only.
Prints a JSON object for each figure; returns 1 when one is wrong.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import sys
import tempfile

from figures import Figure, merged
from outputcases import DATABASE, OLD, OUTPUTS, PAIRS, Shop, edit

JOBS = 2
EXAMPLES = 20  # faults that the details of a figure list

# How a name can be spelled, in the folder of the run.
SPELLINGS = {
    "its path": lambda folder, file: f"{folder}/{file}",
    "a relative path": lambda folder, file: file,
    "a detour": lambda folder, file: f"./roots/../{file}",
    "double slashes": lambda folder, file: f"{folder}//.//{file.replace('/', '//')}",
    "the working folder of the process": lambda folder, file: f"/proc/self/cwd/{file}",
    "a link to its folder": lambda folder, file: "out/folder-link/" + os.path.basename(file),
    "a link above its folder": lambda folder, file: f"out/root-link/{file}",
}


def link(path, target):
    path.symlink_to(target)


def chain(path, target):
    between = path.with_name("between")
    between.symlink_to(target)
    path.symlink_to(between.name)


# How the file of an output can lead to another file.
LINKS = {
    "a symbolic link": link,
    "a relative link": lambda path, target: link(path, os.path.relpath(target, path.parent)),
    "a chain of links": chain,
    "a hard link": lambda path, target: os.link(target, path),
}
# Names that nothing has yet, and that the program will use.
TO_COME = (DATABASE + "-journal",)


class Case:
    """One attempt: an output over a victim, in one way."""

    def __init__(self, output, victim, way, media="a.wav"):
        self.output, self.victim, self.way, self.media = output, victim, way, media
        self.label = f"{output.name} over {victim}, by {way}"

    def prepare(self, shop):
        """Makes the folder of outputs. @return the name for the output"""
        out = shop.folder / "out"
        shutil.rmtree(out, ignore_errors=True)
        (out / os.path.dirname(self.output.file())).mkdir(parents=True)
        victim = shop.path(self.victim)
        if self.victim == "out/1.wav" and self.way != "a link to no file":
            victim.write_bytes(OLD)
        if self.way in SPELLINGS:
            (out / "folder-link").symlink_to(victim.parent)
            (out / "root-link").symlink_to(shop.folder)
            return SPELLINGS[self.way](shop.folder, str(victim.relative_to(shop.folder)))
        if self.way == "the name of a media file":
            self.move_media(shop)
        else:
            LINKS.get(self.way, link)(out / self.output.file(), victim)
        return f"out/{self.output.given}"

    def move_media(self, shop):
        """Gives the file that the output would write to a media file of the command."""
        file = f"out/{self.output.file()}"
        shutil.copy(shop.folder / "a.wav", shop.folder / file)
        self.media, self.victim = file, file
        if self.output.reads == "timeline":
            (shop.folder / "edit.otio").write_text(edit(file))

    def clean(self, shop):
        if self.way == "the name of a media file" and self.output.reads == "timeline":
            (shop.folder / "edit.otio").write_text(edit("a.wav"))

    def run(self, shop):
        """(texts about files that are destroyed, texts about a missing or unclear refusal)"""
        name = self.prepare(shop)
        before, victim = shop.state(), content(shop.path(self.victim))
        arguments = [word.format(name=name, media=self.media) for word in self.output.arguments]
        code, error = shop.run([*arguments, *self.overwrite()])
        after = shop.state()
        changed = [path for path in before.keys() | after.keys()
                   if before.get(path) != after.get(path)]
        destroyed = [f"{self.label}: {path} is not what it was" for path in changed]
        if victim is not None and content(shop.path(self.victim)) != victim:
            destroyed.append(f"{self.label}: the bytes have changed")
        if victim is None and content(shop.path(self.victim)) is not None:
            destroyed.append(f"{self.label}: it exists now")
        self.clean(shop)
        return destroyed, [] if refuses(code, error) else [f"{self.label}: exit {code}: {error!r}"]

    def overwrite(self):
        return [] if self.way == "a link to no file" else ["--overwrite"]


def content(path):
    """The bytes of a file that may be missing. The state tells of the files of the database: this
    process would lose its locks on them by opening them."""
    if not path.exists():
        return None
    return b"" if path.name.startswith("media.db") else path.read_bytes()


def refuses(code, error):
    lines = error.splitlines()
    if code not in (1, 2) or len(lines) != 1 or not lines[0].startswith("sonrel: "):
        return False
    return "choose another" in error or "does not exist" in error


def all_cases(shop):
    for output in OUTPUTS:
        for victim in shop.victims(output):
            for way in [*(SPELLINGS if output.takes_any_name else ()), *LINKS]:
                yield Case(output, victim, way)
        for victim in TO_COME:
            for way in [*(SPELLINGS if output.takes_any_name else ()), "a link to no file"]:
                yield Case(output, victim, way)
        if not output.takes_any_name and output.reads != "folder":
            yield Case(output, "", "the name of a media file")
    for pair in PAIRS:
        for way in [*(SPELLINGS if pair.takes_any_name else ()), *LINKS, "a link to no file"]:
            yield Case(pair, "out/1.wav", way)


def work(options, job):
    shop = Shop(options.program, options.folder / str(job))
    destroyed = Figure("outputs that destroyed an input, by output, input and kind of link")
    refused = Figure("outputs over an input that were not refused with one message")
    for case in list(all_cases(shop))[::options.every][job::JOBS]:
        lost, unclear = case.run(shop)
        destroyed.add(lost)
        refused.add(unclear)
        if lost:
            shop.build()
    return [destroyed, refused]


def check_judge(options):
    """Sees that the judge notices a program that replaces what it reads."""
    shop = Shop(options.program, options.folder / "check")
    shop.program = shop.folder / "careless"
    shop.program.write_text("#!/bin/sh\necho lost >a.wav\n")
    shop.program.chmod(0o755)
    lost, unclear = Case(OUTPUTS[0], "a.wav", "a symbolic link").run(shop)
    if not lost or not unclear:
        raise SystemExit("the judge does not see that an input is lost")


def run(options):
    check_judge(options)
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        jobs = [pool.submit(work, options, job) for job in range(JOBS)]
        figures = merged([figure for job in jobs for figure in job.result()])
    for figure in figures:
        print(json.dumps({"figure": figure.name, "count": figure.count, "wrong": figure.wrong,
                          "details": figure.details[:EXAMPLES]}))
    return 0 if all(figure.holds() for figure in figures) else 1


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path, nargs="?", default=tempfile.gettempdir())
    parser.add_argument("--every", type=int, default=1)
    options = parser.parse_args()
    options.program = options.program.resolve()
    options.folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="hostile-", dir=options.folder.resolve()) as folder:
        options.folder = pathlib.Path(folder)
        return run(options)


if __name__ == "__main__":
    sys.exit(main())
