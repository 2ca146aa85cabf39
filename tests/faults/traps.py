#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Media files and databases that try to lead the program elsewhere, judged by strace.

    traps.py SONREL [FOLDER] [--every N] [--only media|databases]

Each command runs on each media trap, and on each hostile database, in a new folder in FOLDER.
Wrong are connections; opens and changes of files that the run neither names nor owns; changes of
files beside the cache; crashes, runs of more than 10 seconds, and failures without one message.
--every takes each Nth case only. Prints a JSON object for each figure; returns 1 when one is wrong.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import sqlite3
import sys
import tempfile

from figures import Figure, merged
from hostiledatabases import Databases
from makemedia import timeline, write_noise
import mediatraps
import traced

JOBS = 2
EXAMPLES = 20  # faults that the details of a figure list


class Arena:
    """A folder of cases, a box in which the program runs, and files that nothing may touch."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.outside, self.media, self.box = folder / "outside", folder / "media", folder / "box"
        self.outside.mkdir(parents=True)
        self.make_victims()

    def make_victims(self):
        write_noise(self.outside / "secret.wav", 44100)
        for ending in (".xwmc", ".xwpk", ".bin", ".txt"):
            shutil.copy(self.outside / "secret.wav", self.outside / f"victim{ending}")
        connection = sqlite3.connect(self.outside / "other.db")
        connection.execute("CREATE TABLE t (x)")
        connection.close()

    def prepare(self, cache=None, database=None):
        """An empty box, or copies of a cache and of the folder of a database."""
        shutil.rmtree(self.box, ignore_errors=True)
        self.box.mkdir()
        for name in ("beside.xwmc", "beside.txt"):
            (self.box / name).write_text("stays")
        for name in ("out", "tmp"):
            (self.box / name).mkdir()
        if cache:
            shutil.copytree(cache, self.box / "cache")
            (self.box / "cache/notes.txt").write_text("stays")
        if database:
            copy_folder(database, self.box / "db")
            extra = self.box / "db/cache"
            if extra.exists():
                for path in extra.iterdir():
                    path.rename(self.box / "cache" / path.name)
                extra.rmdir()
        else:
            (self.box / "db").mkdir()

    def owns(self, path):
        """Whether the path is of the cache, the database or an output."""
        parent, name = os.path.split(path)
        if parent == str(self.box / "cache"):
            return name != "notes.txt"
        if parent == str(self.box / "db"):
            # "nowhere.db" is the database where "media.db" is a link to it.
            return name.startswith(("media.db", "nowhere.db")) or name == "CacheErrorLog.txt"
        folders = [str(self.box / name) for name in ("cache", "db", "out", "tmp")]
        return path.startswith((folders[2] + "/", folders[3] + "/")) or path in folders

    def linked_database(self):
        """What the user's own link to a database leads to; none for a device.

        It may be opened. Its bytes are compared before and after.
        """
        link = self.box / "db/media.db"
        return [os.path.realpath(link)] if link.is_symlink() and link.is_file() else []

    def untouched(self):
        """The state of the files that no run may touch."""
        state = {}
        kept = [self.box / "beside.xwmc", self.box / "beside.txt", self.box / "cache/notes.txt"]
        for path in [*kept, *self.outside.iterdir(), *self.media.glob("*")]:
            if os.path.lexists(path):
                at = os.lstat(path)
                state[str(path)] = (at.st_ino, at.st_size, at.st_mtime_ns, at.st_mode)
        return state

    def run(self, arguments, named):
        """@param named  the files that the run may read"""
        words = [self.program, "--cache", self.box / "cache", "--db", self.box / "db/media.db",
                 *arguments]
        places = traced.Places(self.program, self.owns, named, self.linked_database())
        return traced.Run(words, self.media, self.box / "trace", self.box / "tmp"), places


def copy_folder(source, target):
    """A copy in which pipes and links are what they were."""
    target.mkdir()
    for path in source.iterdir():
        copy = target / path.name
        if path.is_symlink():
            copy.symlink_to(os.readlink(path))
        elif path.is_dir():
            copy_folder(path, copy)
        elif path.is_fifo():
            os.mkfifo(copy)
        else:
            shutil.copy(path, copy)


class Figures:
    def __init__(self, kind, cases):
        self.connections = Figure(f"connections by {cases} {kind}")
        self.opens = Figure(f"opens and changes of other files by {cases} {kind}")
        self.outcomes = Figure(f"crashes, hangs and unclear messages by {cases} {kind}")

    def all(self):
        return [self.connections, self.opens, self.outcomes]

    def add(self, label, connections, opens, outcomes):
        for figure, faults in zip(self.all(), (connections, opens, outcomes)):
            figure.add([f"{label}: {fault}" for fault in faults])


def changes(before, after):
    return [f"changed {path}" for path in before.keys() | after.keys()
            if before.get(path) != after.get(path)]


def sync(trap, path, output):
    """The command with a trap at a path. Of a folder, it would read every file, as it should."""
    if not os.path.isdir(path):
        yield "sync", "good.wav", trap, "--otio", output


class MediaCases:
    """Every command on every media trap, and a few on every timeline that is something else."""

    def __init__(self, arena):
        self.arena = arena
        self.folder = mediatraps.Folder(arena.media, arena.outside)
        self.traps = self.folder.found
        self.timelines = mediatraps.timelines(arena.media / "timelines")
        self.edit = arena.media / "edit.otio"
        self.manifest = arena.media / "edit.json"
        self.write_manifest()

    def write_manifest(self):
        """A manifest of a mix of edit.otio, made from that of a harmless mix."""
        self.arena.prepare()
        run, _ = self.arena.run(("mix", "good.wav", "-o", self.arena.box / "out/m.wav",
                                 "--manifest", self.manifest), [])
        if run.code != 0:
            raise SystemExit(f"a mix exits {run.code}: {run.error}")
        manifest = json.loads(self.manifest.read_text())
        manifest["input"] |= {"path": "edit.otio", "relative": "edit.otio", "kind": "timeline"}
        self.manifest.write_text(json.dumps(manifest))

    def count(self):
        return len(self.traps) + len(self.timelines)

    def run(self, number, figures):
        if number < len(self.traps):
            self.run_trap(self.traps[number], figures)
        else:
            self.run_timeline(self.timelines[number - len(self.traps)], figures)

    def run_trap(self, trap, figures):
        out = self.arena.box / "out"
        self.edit.write_text(json.dumps(timeline([trap.url])))
        named = [os.path.join(os.fsencode(self.arena.media), trap.argument.split(b"\0")[0]),
                 self.edit, self.manifest, self.arena.media / "good.wav"]
        for arguments in (("info", trap.argument), ("conform", trap.argument),
                          ("peaks", trap.argument),
                          ("waveform", trap.argument, "-o", out / "w.png"),
                          ("align", "good.wav", trap.argument),
                          *sync(trap.argument, named[0], out / "s.otio"),
                          ("report", trap.argument, "-o", out / "a.html"),
                          ("report", self.edit, "-o", out / "m.html"),
                          ("verify", self.manifest), ("verify", "--cached", self.manifest),
                          ("mix", trap.argument, "-o", out / "a.wav"),
                          ("mix", self.edit, "-o", out / "m.wav"),
                          ("play", self.edit, "--output", out / "p.wav")):
            self.judge(trap.name, arguments, named, figures)

    def run_timeline(self, path, figures):
        named = [path, path / "content.otio", self.arena.media / "good.wav"]
        out = self.arena.box / "out"
        for arguments in (("info", path), ("conform", path), ("mix", path, "-o", out / "m.wav"),
                          ("report", path, "-o", out / "r.html"),
                          ("play", path, "--output", out / "p.wav")):
            self.judge(path.name, arguments, named, figures)

    def judge(self, name, arguments, named, figures):
        self.arena.prepare()
        before = self.arena.untouched()
        run, places = self.arena.run(arguments, named)
        connections, opens = run.touched(places)
        opens += changes(before, self.arena.untouched())
        opens += [f"leaves {path}" for path in (self.arena.box / "tmp").iterdir()]
        figures.add(f"{arguments[0]}, {name}", connections, opens, run.outcome_faults())


class DatabaseCases:
    """Every command that uses the cache on every hostile database."""

    SOUNDS = ("a.wav", "b.wav", "c.wav")

    def __init__(self, arena):
        self.arena = arena
        arena.media.mkdir()
        for number, name in enumerate(self.SOUNDS):
            write_noise(arena.media / name, 44100 + 100 * number)
        arena.prepare()
        for command in ("conform", "peaks"):
            run, _ = arena.run((command, *self.SOUNDS), [])
            if run.code != 0:
                raise SystemExit(f"{command} exits {run.code}: {run.error}")
        self.add_vfr_record()
        arena.box.rename(arena.folder / "good")
        self.good = arena.folder / "good"
        self.databases = Databases(self.good, arena.folder / "databases", arena.outside).found

    def add_vfr_record(self):
        (self.arena.box / "cache/frames.bin").write_text("times")
        connection = sqlite3.connect(self.arena.box / "db/media.db")
        connection.execute("PRAGMA journal_mode=DELETE")
        connection.execute("INSERT INTO vfr_cache_file SELECT media_path, media_fingerprint, 0, "
                           "'frames.bin', last_use FROM peak_file LIMIT 1")
        connection.commit()
        connection.close()

    def count(self):
        return len(self.databases)

    def run(self, number, figures):
        for arguments in (("conform", *self.SOUNDS, "--json"), ("peaks", *self.SOUNDS, "--json"),
                          ("mix", "a.wav", "-o", self.arena.box / "out/m.wav"),
                          ("report", "a.wav", "-o", self.arena.box / "out/r.html"),
                          ("sync", "a.wav", "b.wav", "--otio", self.arena.box / "out/s.otio"),
                          ("cache", "ls"), ("cache", "du"), ("cache", "check"),
                          ("cache", "check", "--deep"),
                          ("cache", "clean", "--days", "0", "--orphans")):
            self.judge(self.databases[number], arguments, figures)

    def judge(self, database, arguments, figures):
        self.arena.prepare(self.good / "cache", database)
        before = self.arena.untouched()
        run, places = self.arena.run(arguments, [self.arena.media / name for name in self.SOUNDS])
        connections, opens = run.touched(places)
        opens += changes(before, self.arena.untouched())
        faults = run.outcome_faults()
        if run.code == 0 and "--json" in arguments:
            faults += [fault for entry in json.loads(run.out)["files"]
                       for fault in self.result_faults(entry)]
        figures.add(f"{' '.join(map(str, arguments[:3]))}, {database.name}", connections, opens,
                    faults)

    def result_faults(self, entry):
        """What is wrong with a file that a command reports as found or made."""
        path = pathlib.Path(entry["path"])
        if path.parent != self.arena.box / "cache" or path.is_symlink() or not path.is_file():
            return [f"reports {path}"]
        head = path.read_bytes()[:8]
        whole = head[:4] == b"RIFF" if path.suffix == ".xwmc" else head == b"ORLOXWPK"
        return [] if whole else [f"reports {path}, which is not whole"]


KINDS = {"media": ("media traps", MediaCases), "databases": ("hostile databases", DatabaseCases)}


def check_judge(folder):
    """Sees that the judge notices what it is there for."""
    arena = Arena("/bin/cat", folder)
    arena.media.mkdir()
    arena.prepare()
    (arena.box / "db/media.db").symlink_to("/dev/zero")
    connect = ("import os, socket; socket.socket().connect_ex(('127.0.0.1', 9)); "
               f"os.unlink('{arena.outside}/victim.txt')")
    before = arena.untouched()
    secret = arena.outside / "secret.wav"
    for words, connects, opened in (((sys.executable, "-c", connect), True, "victim.txt"),
                                    (("/bin/cat", secret), False, "secret.wav"),
                                    (("/bin/cat", secret, arena.media), False, "secret.wav"),
                                    (("/bin/dd", "of=/dev/zero", "status=none"), False, "zero"),
                                    (("/bin/true",), False, None)):
        run = traced.Run(words, arena.media, arena.box / "trace")
        places = traced.Places(words[0], arena.owns, [], arena.linked_database())
        connections, opens = run.touched(places)
        is_seen = any(opened in fault for fault in opens) if opened else not opens
        if bool(connections) != connects or not is_seen:
            raise SystemExit(f"the judge does not see {words}: {connections} {opens}")
    if not changes(before, arena.untouched()):
        raise SystemExit("the judge does not see a file that is gone")


def work(kind, options, job):
    """The figures of the cases of one job."""
    text, cases_of = KINDS[kind]
    cases = cases_of(Arena(options.program, options.folder / f"{kind}-{job}"))
    numbers = range(0, cases.count(), options.every)
    figures = Figures(text, len(numbers))
    for number in numbers[job::JOBS]:
        cases.run(number, figures)
    return figures.all()


def run(options):
    check_judge(options.folder / "check")
    failed = False
    for kind in [options.only] if options.only else KINDS:
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            jobs = [pool.submit(work, kind, options, job) for job in range(JOBS)]
            parts = [job.result() for job in jobs]
        for figure in merged(sum(parts, [])):
            failed |= not figure.holds()
            print(json.dumps({"figure": figure.name, "count": figure.count, "wrong": figure.wrong,
                              "details": figure.details[:EXAMPLES]}), flush=True)
    return 1 if failed else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path, nargs="?", default=tempfile.gettempdir())
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--only", choices=KINDS)
    options = parser.parse_args()
    options.program = options.program.resolve()
    options.folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="hostile-", dir=options.folder.resolve()) as folder:
        options.folder = pathlib.Path(folder)
        return run(options)


if __name__ == "__main__":
    sys.exit(main())
