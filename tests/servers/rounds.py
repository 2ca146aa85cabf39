# SPDX-License-Identifier: MIT
"""Programs on one cache with a database on a server.

In each round several programs conform the same new media files, each in another order, while one
more program removes files without a record. In every third round one of them is killed. Every
program must report the same file for a media file.
"""

import json
import os
import pathlib
import random
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "faults"))
from figures import Figure  # noqa: E402
from makemedia import write_wave  # noqa: E402

FRAMES = 2000


class Rounds:
    def __init__(self, program, folder, server, processes, files, seed):
        self.command = [program, "--cache", folder / "cache", "--db", server.address()]
        self.environment = os.environ | {"XDG_CACHE_HOME": str(folder / "home")}
        self.folder, self.server = folder, server
        self.processes, self.files = processes, files
        self.random = random.Random(seed)
        self.paths = {}  # the cache file of each media file, as it was reported
        self.started = time.time()

    def start(self, *arguments):
        return subprocess.Popen(
            [*map(str, self.command), *map(str, arguments)], env=self.environment, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def make_media(self, number):
        folder = self.folder / f"media{number}"
        folder.mkdir()
        media = [folder / f"{index}.wav" for index in range(self.files)]
        for path in media:
            write_wave(path, 44100, 2, self.random.randbytes(4 * FRAMES))
        return media

    def kill_one(self, programs):
        """At any moment of its run."""
        victim = self.random.choice(programs)
        time.sleep(self.random.uniform(0.0, 0.5))
        victim.kill()
        return victim

    def round(self, number):
        """The faults of a round."""
        media = self.make_media(number)
        programs = []
        for _ in range(self.processes):
            self.random.shuffle(media)
            programs.append(self.start("conform", "--json", "--rate", 48000, *media))
        cleaner = self.start("cache", "clean", "--orphans")
        victim = self.kill_one(programs) if number % 3 == 2 else None
        faults = []
        for program in (*programs, cleaner):
            output, error = program.communicate()
            if program.returncode != 0 and program is not victim:
                faults.append(f"exit {program.returncode}: {error.strip()}")
            elif program not in (victim, cleaner):
                faults += self.judge(media, json.loads(output)["files"])
        return [f"round {number}: {fault}" for fault in faults]

    def judge(self, media, files):
        if len(files) != len(media):
            return [f"{len(files)} files instead of {len(media)}"]
        faults = []
        for file in files:
            path = self.paths.setdefault(file["input"], file["path"])
            if path != file["path"]:
                faults.append(f"{file['input']} has two files: {path} and {file['path']}")
            if not os.path.exists(file["path"]):
                faults.append(f"{file['path']} is gone")
        return faults

    def at_the_end(self, rounds):
        """The faults of the cache: lost records, duplicates, and files without a record."""
        names = self.server.ask("SELECT convert_from(cache_filename, 'UTF8') "
                                "FROM sonrel.conformed_file")
        present = {path.name: path for path in (self.folder / "cache").glob("*.xwmc")}
        faults = [f"{len(names)} records instead of {rounds * self.files}"
                  ] if len(names) != rounds * self.files else []
        faults += [f"two records of {name}" for name in set(names) if names.count(name) > 1]
        faults += [f"a record without its file {name}" for name in set(names) - set(present)]
        faults += [f"older than the run and without a record: {name}"
                   for name in set(present) - set(names)
                   if present[name].stat().st_mtime < self.started]
        return faults

    def after_cleaning(self):
        """The files that no program uses are removed, with or without a record."""
        cleaner = self.start("cache", "clean", "--days", 0, "--orphans")
        _, error = cleaner.communicate()
        left = [path.name for path in (self.folder / "cache").glob("*.xwmc")]
        records = self.server.ask("SELECT count(*) FROM sonrel.conformed_file")
        faults = [f"left after cleaning: {name}" for name in left]
        faults += [f"{records[0]} records are left"] if records != ["0"] else []
        return faults + ([f"cleaning: {error}"] if cleaner.returncode != 0 else [])


def run(program, folder, server, options):
    rounds = Rounds(program, folder, server, options.processes, options.files, options.seed)
    title = f"{options.processes} programs on one server"
    each = Figure(f"{title}: rounds of {options.files} files")
    for number in range(options.rounds):
        each.add(rounds.round(number))
    end = Figure(f"{title}: records and files at the end")
    end.add(rounds.at_the_end(options.rounds))
    cleaned = Figure(f"{title}: cache after cleaning")
    cleaned.add(rounds.after_cleaning())
    return [each, end, cleaned]
