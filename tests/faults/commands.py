# SPDX-License-Identifier: MIT
"""The commands that are disturbed, and the box in which a command runs.

A workshop has the media files, the state of a filled cache and, for each command, the results of a
run that nothing disturbed. A box is one cache with its database and one folder of outputs.
"""

import dataclasses
import os
import pathlib
import shutil
import subprocess
import threading

from checkcache import Reference
import makemedia

SHORT = ("{media}/sound.wav", "{media}/sound.flac", "{media}/sound.mp3")
LONG = "{media}/sound-long.wav"
MAX_SECONDS = 60  # a command that takes longer hangs


@dataclasses.dataclass(frozen=True)
class Command:
    name: str
    arguments: tuple
    starts_filled: bool = False  # with a complete cache
    outputs: tuple = ()  # names in the folder of outputs
    records: int = 0  # files with a record after a run, at least
    empties: bool = False  # the cache
    empties_records: bool = False  # records of files that are gone too
    prints_results: bool = False  # the same text on each run


EDIT = "{media}/edit.otio"
ARCHIVE = "{media}/edit.otioz"
MANIFEST = "{media}/edit.json"
PARTS = ("{media}/part-2.wav", "{media}/part-1.wav")
COMMANDS = {command.name: command for command in (
    Command("conform, made", ("conform", *SHORT), records=3),
    Command("conform, found", ("conform", *SHORT), starts_filled=True, records=3),
    Command("conform, forced", ("conform", "--force", *SHORT[:2]), starts_filled=True, records=3),
    Command("peaks, made", ("peaks", *SHORT[1:], LONG), records=3),
    Command("peaks, found", ("peaks", *SHORT, LONG), starts_filled=True, records=4),
    Command("peaks, forced", ("peaks", "--force", SHORT[1], LONG), starts_filled=True, records=4),
    Command("peaks, exported",
            ("peaks", SHORT[0], "-o", "{out}/p.xwpk", "--export", "{out}/p.json"),
            outputs=("p.xwpk", "p.json")),
    Command("waveform, made", ("waveform", SHORT[1], "-o", "{out}/w.png"), outputs=("w.png",),
            records=1),
    Command("waveform, found", ("waveform", LONG, "-o", "{out}/w.png"), starts_filled=True,
            outputs=("w.png",), records=4),
    Command("mix, made", ("mix", EDIT, "-o", "{out}/m.wav", "--manifest", "{out}/m.json"),
            outputs=("m.wav", "m.json"), records=3),
    Command("mix, found",
            ("mix", EDIT, "-o", "{out}/m.wav", "--stems", "{out}", "--meters", "{out}/m.json"),
            starts_filled=True, outputs=("m.wav", "m.json", "01-A1.wav"), records=3),
    Command("mix, archive", ("mix", ARCHIVE, "-o", "{out}/m.wav"), outputs=("m.wav",)),
    Command("mix, a part", ("mix", EDIT, "-o", "{out}/p.wav", "--part", "1/2"),
            starts_filled=True, outputs=("p.wav",), records=3),
    Command("join", ("join", *PARTS, "-o", "{out}/j.wav", "--meters", "{out}/j.json"),
            outputs=("j.wav", "j.json")),
    Command("verify, mixed again", ("verify", MANIFEST), prints_results=True),
    Command("verify, cached", ("verify", "--cached", MANIFEST), starts_filled=True,
            prints_results=True, records=3),
    Command("play, WAV", ("play", EDIT, "--output", "{out}/p.wav"), starts_filled=True,
            outputs=("p.wav",), records=3),
    Command("play, bare samples", ("play", SHORT[1], "--output", "{out}/p.raw"),
            outputs=("p.raw",), records=1),
    Command("align, made", ("align", *SHORT[1:], "--plot", "{out}/a.svg", "--otio", "{out}/a.otio"),
            outputs=("a.svg", "a.otio"), prints_results=True, records=4),
    Command("align, found",
            ("align", *SHORT[1:], "--plot", "{out}/a.svg", "--otio", "{out}/a.otio"),
            starts_filled=True, outputs=("a.svg", "a.otio"), prints_results=True, records=4),
    Command("sync, made", ("sync", *SHORT[1:], "--otio", "{out}/s.otio"), outputs=("s.otio",),
            prints_results=True, records=4),
    Command("sync, found",
            ("sync", *SHORT[1:], "--plot", "{out}/s.svg", "--otio", "{out}/s.otio"),
            starts_filled=True, outputs=("s.svg", "s.otio"), prints_results=True, records=4),
    Command("report, made", ("report", EDIT, "-o", "{out}/r.html"), outputs=("r.html",),
            records=6),
    Command("report, found", ("report", EDIT, "-o", "{out}/r.html"), starts_filled=True,
            outputs=("r.html",), records=6),
    Command("report, media file", ("report", LONG, "-o", "{out}/r.html"), outputs=("r.html",),
            records=1),
    Command("loudness, made", ("loudness", EDIT, SHORT[1]), prints_results=True, records=3),
    Command("loudness, found", ("loudness", EDIT, SHORT[1]), prints_results=True,
            starts_filled=True, records=3),
    Command("cache clean", ("cache", "clean", "--days", "0"), starts_filled=True, empties=True,
            empties_records=True),
    Command("cache clean, to a size", ("cache", "clean", "--max-size", "0"), starts_filled=True,
            empties=True),
)}
OLD = b"an older file"


class Box:
    """One cache, its database and a folder of outputs."""

    def __init__(self, shop, folder):
        self.shop, self.folder = shop, pathlib.Path(folder)
        self.cache, self.out = self.folder / "cache", self.folder / "out"
        self.temporary = self.folder / "tmp"
        self.database = self.folder / "db" / "media.db"
        self.environment = {**shop.environment, "TMPDIR": str(self.temporary)}

    def clear(self):
        shutil.rmtree(self.folder, ignore_errors=True)
        self.database.parent.mkdir(parents=True)
        self.out.mkdir()
        self.temporary.mkdir()

    def prepare(self, command, has_old_outputs=False):
        self.clear()
        if command.starts_filled:
            shutil.rmtree(self.database.parent)
            shutil.copytree(self.shop.filled.cache, self.cache)
            shutil.copytree(self.shop.filled.database.parent, self.database.parent)
        if has_old_outputs:
            for name in command.outputs:
                (self.out / name).write_bytes(OLD)

    def words(self, command):
        """The program and its arguments."""
        places = {"media": self.shop.media, "out": self.out}
        return [self.shop.program, "--cache", self.cache, "--db", self.database, "--keep-days",
                "10000", *(word.format(**places) for word in command.arguments)]

    def start(self, command, environment=None):
        return subprocess.Popen(self.words(command), env=environment or self.environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, errors="replace")

    def run(self, command, environment=None):
        """(code, stdout, stderr): the code is -N after signal N, and None after the time limit."""
        process = self.start(command, environment)
        try:
            text = process.communicate(timeout=MAX_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            return None, *process.communicate()
        return process.returncode, *text

    def outputs(self):
        """{name: bytes} of everything in the folder of outputs."""
        return {path.name: path.read_bytes() for path in self.out.iterdir()}


class Workshop:
    def __init__(self, program, shim, folder):
        self.program, self.shim, self.folder = program, shim, folder
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith("FAULTFS_") and name != "LD_PRELOAD"}
        self.media = folder / "media"
        makemedia.make(self.media)
        self.filled = self.box("filled")
        self.make_mixes()
        self.fill()
        self.reference = Reference(self.filled.database, self.filled.cache)
        self.results, self.lock = {}, threading.Lock()

    def box(self, name):
        return Box(self, self.folder / name)

    def make_mixes(self):
        """Mixes edit.otio to parts, and writes the manifest of a mix."""
        self.filled.clear()
        mix = ("mix", EDIT, "-o")
        for number in ("1", "2"):
            self.must_run(self.filled, Command("part", (
                *mix, f"{{media}}/part-{number}.wav", "--part", f"{number}/2")))
        self.must_run(self.filled, Command("manifest", (
            *mix, "{out}/m.wav", "--manifest", MANIFEST)))

    def fill(self):
        self.filled.clear()
        for name in ("conform", "peaks"):
            self.must_run(self.filled, Command(name, (name, *SHORT, LONG)))

    def must_run(self, box, command):
        """The output of the command."""
        code, text, error = box.run(command)
        if code != 0:
            raise SystemExit(f"an undisturbed run of '{command.name}' exits {code}: {error}")
        return text

    def expected(self, command):
        """The result of `undisturbed`, which runs once for each command."""
        with self.lock:
            if command.name not in self.results:
                self.results[command.name] = self.undisturbed(command)
            return self.results[command.name]

    def undisturbed(self, command):
        """(its output, {name: bytes} of the output files) of an undisturbed run."""
        box = self.box("undisturbed")
        box.prepare(command)
        text, outputs = self.must_run(box, command), box.outputs()
        if set(outputs) != set(command.outputs):
            raise SystemExit(f"'{command.name}' made {sorted(outputs)}")
        return text, outputs
