# SPDX-License-Identifier: MIT
"""The outputs of all commands, and the files that they read or that the program owns."""

import dataclasses
import json
import os
import shutil
import sqlite3
import subprocess

from makemedia import write_noise

OLD = b"an older file"


def time(value):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": 24}


def reference(url):
    return {"OTIO_SCHEMA": "ExternalReference.1", "target_url": url}


def clip(url, **more):
    """Half a second of a media file."""
    span = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(0), "duration": time(12)}
    return {"OTIO_SCHEMA": "Clip.1", "name": url, "source_range": span,
            "media_reference": reference(url), **more}


def track(name, children, kind="Audio"):
    return {"OTIO_SCHEMA": "Track.1", "name": name, "kind": kind, "children": children}


def timeline(tracks):
    return json.dumps({"OTIO_SCHEMA": "Timeline.1", "name": "edit",
                       "tracks": {"OTIO_SCHEMA": "Stack.1", "children": tracks}})


def edit(first):
    """A timeline that names media in every way. Its first clip is of the media file `first`."""
    spare = clip("a.wav")
    del spare["media_reference"]
    spare |= {"active_media_reference_key": "DEFAULT_MEDIA",
              "media_references": {"DEFAULT_MEDIA": reference("a.wav"),
                                   "spare": reference("spare.wav")}}
    inner = {"OTIO_SCHEMA": "Stack.1", "name": "inner", "children": [track("I1", [clip("b.wav")])]}
    images = {"OTIO_SCHEMA": "ImageSequenceReference.1", "target_url_base": "images",
              "name_prefix": "i.", "name_suffix": ".png", "start_frame": 1, "frame_step": 1,
              "rate": 24, "frame_zero_padding": 4}
    picture = clip("v.wav", media_reference=images)
    return timeline([track("A1", [clip(first), spare, inner, clip("off.wav", enabled=False),
                                  clip("/old/r.wav")]),
                     track("A2", [clip("b.wav")]),
                     track("V1", [clip("v.wav"), picture], "Video")])


@dataclasses.dataclass(frozen=True)
class Output:
    """An option that names an output.

    {name} in the arguments is the output, {media} a media file that the command reads.
    """
    name: str
    arguments: tuple
    reads: str  # one of READS
    given: str  # a name for the output in the folder of outputs
    written: str = ""  # the file that is then written, where it is another
    takes_any_name: bool = True

    def file(self):
        return self.written or self.given


EDIT = ("edit.otio", "--media-root", "/old=roots")
OUTPUTS = (
    Output("mix -o", ("mix", *EDIT, "-o", "{name}"), "timeline", "m.wav"),
    Output("mix --composition -o", ("mix", *EDIT, "--composition", "inner", "-o", "{name}"),
           "timeline", "m.wav"),
    Output("mix --audio-from video -o", ("mix", *EDIT, "--audio-from", "video", "-o", "{name}"),
           "timeline", "m.wav"),
    Output("mix --meters", ("mix", *EDIT, "-o", "out/x.wav", "--meters", "{name}"), "timeline",
           "m.json"),
    Output("mix --stems", ("mix", *EDIT, "-o", "out/x.wav", "--stems", "{name}"), "timeline",
           "stems", "stems/01-A1.wav", takes_any_name=False),
    Output("mix -o FLAC", ("mix", *EDIT, "-o", "{name}"), "timeline", "m.flac",
           takes_any_name=False),
    Output("mix --part -o", ("mix", *EDIT, "--part", "1/2", "-o", "{name}"), "timeline", "m.wav",
           takes_any_name=False),
    Output("mix --manifest", ("mix", *EDIT, "-o", "out/x.wav", "--manifest", "{name}"),
           "timeline", "m.json"),
    Output("join -o", ("join", "part-1.wav", "part-2.wav", "-o", "{name}"), "parts", "j.wav"),
    Output("join --meters", ("join", "part-1.wav", "part-2.wav", "-o", "out/x.wav", "--meters",
                             "{name}"), "parts", "j.json"),
    Output("report -o", ("report", *EDIT, "-o", "{name}"), "timeline", "r.html",
           takes_any_name=False),
    Output("report --composition -o", ("report", *EDIT, "--composition", "inner", "-o", "{name}"),
           "timeline", "r.html", takes_any_name=False),
    Output("report of an otiod -o", ("report", "edit.otiod", "-o", "{name}"), "folder", "r.html",
           takes_any_name=False),
    Output("report of a media file -o", ("report", "{media}", "-o", "{name}"), "media", "r.htm",
           takes_any_name=False),
    Output("mix of an otiod -o", ("mix", "edit.otiod", "-o", "{name}"), "folder", "m.wav"),
    Output("mix of an otiod --meters", ("mix", "edit.otiod", "-o", "out/x.wav", "--meters",
                                        "{name}"), "folder", "m.json"),
    Output("mix of a media file -o", ("mix", "{media}", "-o", "{name}"), "media", "m.wav"),
    Output("play --output WAV", ("play", *EDIT, "--output", "{name}"), "timeline", "p.wav"),
    Output("play --output bare", ("play", "{media}", "--output", "{name}"), "media", "p.raw"),
    Output("waveform -o PNG", ("waveform", "{media}", "-o", "{name}"), "media", "w.png"),
    Output("waveform -o SVG", ("waveform", "{media}", "-o", "{name}"), "media", "w.svg",
           takes_any_name=False),
    Output("waveform --font -o", ("waveform", "{media}", "--font", "font.ttf", "--ruler", "-o",
                                  "{name}"), "drawn", "w.png", takes_any_name=False),
    Output("peaks -o", ("peaks", "{media}", "-o", "{name}"), "media", "p.xwpk"),
    Output("peaks --no-cache-db -o", ("--no-cache-db", "peaks", "{media}", "-o", "{name}"),
           "media", "p.xwpk"),
    Output("peaks --export JSON", ("peaks", "{media}", "--export", "{name}"), "media", "p.json",
           takes_any_name=False),
    Output("peaks --export binary", ("peaks", "{media}", "--export", "{name}"), "media", "p.dat",
           takes_any_name=False),
    Output("align --plot", ("align", "{media}", "b.wav", "--plot", "{name}"), "recordings",
           "a.svg"),
    Output("align --plot, numbered",
           ("align", "{media}", "b.wav", "other.wav", "--plot", "{name}"), "recordings", "a.svg",
           "a-2.svg", takes_any_name=False),
    Output("align --otio", ("align", "{media}", "b.wav", "--otio", "{name}"), "recordings",
           "a.otio"),
    Output("sync --otio", ("sync", "{media}", "b.wav", "--otio", "{name}"), "recordings",
           "a.otio"),
    Output("sync of a folder --otio", ("sync", "roots", "{media}", "--reference", "b.wav", "--otio",
                                       "{name}"), "day", "a.otio"),
    Output("sync --plot", ("sync", "{media}", "b.wav", "--otio", "out/x.otio", "--plot", "{name}"),
           "recordings", "a.svg"),
    Output("sync --plot, numbered",
           ("sync", "{media}", "b.wav", "other.wav", "--otio", "out/x.otio", "--plot", "{name}"),
           "recordings", "a.svg", "a-2.svg", takes_any_name=False),
)

# Outputs of one command: the arguments, and the files of the two outputs. {name} is the second.
PAIRS = (
    Output("mix -o and --meters", ("mix", *EDIT, "-o", "out/1.wav", "--meters", "{name}"), "", "s"),
    Output("mix -o and --stems", ("mix", *EDIT, "-o", "out/1.wav", "--stems", "{name}"), "",
           "stems", "stems/01-A1.wav", takes_any_name=False),
    Output("mix --meters and --stems", ("mix", *EDIT, "-o", "out/x.wav", "--meters", "out/1.wav",
                                        "--stems", "{name}"), "", "stems", "stems/02-A2.wav",
           takes_any_name=False),
    Output("mix -o and --manifest", ("mix", *EDIT, "-o", "out/1.wav", "--manifest", "{name}"), "",
           "s"),
    Output("mix --manifest and --stems",
           ("mix", *EDIT, "-o", "out/x.wav", "--manifest", "out/1.wav", "--stems", "{name}"), "",
           "stems", "stems/02-A2.wav", takes_any_name=False),
    Output("join -o and --meters", ("join", "part-1.wav", "part-2.wav", "-o", "out/1.wav",
                                    "--meters", "{name}"), "", "s"),
    Output("sync --plot and --otio", ("sync", "{media}", "b.wav", "--plot", "out/1.wav", "--otio",
                                      "{name}"), "", "s.otio"),
    Output("peaks -o and --export", ("peaks", "{media}", "-o", "out/1.wav", "--export", "{name}"),
           "", "s.json", takes_any_name=False),
    Output("align --plot and --otio", ("align", "{media}", "b.wav", "--plot", "out/1.wav", "--otio",
                                       "{name}"), "", "s.otio"),
    Output("align --otio and numbered --plot",
           ("align", "{media}", "b.wav", "other.wav", "--otio", "out/1.wav", "--plot", "{name}"),
           "", "s.svg", "s-2.svg", takes_any_name=False),
)

READS = {
    "timeline": ("edit.otio", "a.wav", "b.wav", "v.wav", "spare.wav", "off.wav", "roots/r.wav",
                 "images/i.0001.png", "images/i.0002.png"),
    "folder": ("edit.otiod/content.otio", "a.wav"),
    "media": ("a.wav",),
    "recordings": ("a.wav", "b.wav"),
    "day": ("a.wav", "b.wav", "roots/r.wav"),
    "parts": ("part-1.wav", "part-2.wav"),
    "drawn": ("a.wav", "font.ttf"),
}
# What the program owns, in every command.
HOME = "home/sonrel"  # of the default cache, which every run uses
DATABASE, CACHE = f"{HOME}/media.db", f"{HOME}/media"
OWNED = (DATABASE, f"{DATABASE}-wal", f"{DATABASE}-shm", f"{HOME}/CacheErrorLog.txt",
         f"{CACHE}/.sonrel-in-use", f"{CACHE}/frames.bin", f"{CACHE}/orphan.xwmc",
         f"{CACHE}/orphan.xwpk")


class Shop:
    """A folder with media files, timelines, a filled cache and its open database."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.connection = None
        self.home = {**os.environ, "XDG_CACHE_HOME": str(folder / "home")}
        self.build()

    def build(self):
        if self.connection:
            self.connection.close()
        shutil.rmtree(self.folder, ignore_errors=True)
        for name in ("roots", "images", "edit.otiod", HOME):
            (self.folder / name).mkdir(parents=True)
        names = ("a.wav", "b.wav", "v.wav", "spare.wav", "off.wav", "other.wav", "roots/r.wav")
        for number, name in enumerate(names):
            write_noise(self.folder / name, 44100 + 100 * number)
        for number in (1, 2):
            (self.folder / f"images/i.000{number}.png").write_bytes(b"picture %d" % number)
        (self.folder / "edit.otio").write_text(edit("a.wav"))
        (self.folder / "edit.otiod/content.otio").write_text(
            timeline([track("A1", [clip("../a.wav")])]))
        # A name that the program does not look into before it refuses an output.
        (self.folder / "font.ttf").write_bytes(b"font")
        self.fill_cache()
        self.mix_parts()

    def mix_parts(self):
        for number in ("1", "2"):
            code, error = self.run(("mix", *EDIT, "-o", f"part-{number}.wav", "--part",
                                    f"{number}/2"))
            if code != 0:
                raise SystemExit(f"an undisturbed mix exits {code}: {error}")

    def fill_cache(self):
        for command in ("conform", "peaks"):
            code, error = self.run((command, "other.wav", "a.wav", "b.wav", "v.wav", "roots/r.wav"))
            if code != 0:
                raise SystemExit(f"an undisturbed {command} exits {code}: {error}")
        for name in ("orphan.xwmc", "orphan.xwpk", "frames.bin"):
            (self.folder / CACHE / name).write_bytes(b"bytes of " + name.encode())
        (self.folder / HOME / "CacheErrorLog.txt").write_text("an older line\n")
        # While it is open, the companions of the database stay.
        self.connection = sqlite3.connect(self.folder / DATABASE, isolation_level=None)
        self.connection.execute("INSERT INTO vfr_cache_file SELECT media_path, media_fingerprint, "
                                "0, 'frames.bin', last_use FROM peak_file LIMIT 1")

    def path(self, victim):
        """The path of a victim; "TABLE of MEDIA" is the recorded file of a media file."""
        table, _, media = victim.partition(" of ")
        if not media:
            return self.folder / victim
        (name,), *_ = self.connection.execute(
            f"SELECT cache_filename FROM {table} WHERE media_path = ?",
            (str(self.folder / media),)).fetchall()
        return self.folder / CACHE / name

    def victims(self, output):
        """The files that an output must not replace, relative to the folder."""
        recorded = [f"{table} of {media}" for table in ("conformed_file", "peak_file")
                    for media in ("a.wav", "other.wav")]
        return [*READS[output.reads], *OWNED, *recorded]

    def run(self, arguments):
        """(code, stderr); the code is None after the time limit."""
        try:
            result = subprocess.run([self.program, *arguments], cwd=self.folder, env=self.home,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                    stderr=subprocess.PIPE, text=True, errors="replace",
                                    timeout=60)
        except subprocess.TimeoutExpired:
            return None, "hangs"
        return result.returncode, result.stderr

    def state(self):
        """{path: what tells it from another file} of everything that no output may replace."""
        state = {}
        for path in self.folder.rglob("*"):
            name = str(path.relative_to(self.folder))
            if name.startswith("out/") or path.is_dir():
                continue
            inode = path.stat().st_ino
            # A run changes the contents of the database; the rows below show whether it is whole.
            is_database = name.startswith(DATABASE)
            state[name] = inode if is_database else (inode, path.read_bytes())
        for table in ("conformed_file", "peak_file", "vfr_cache_file"):
            state[table] = self.connection.execute(
                f"SELECT media_path, cache_filename FROM {table} ORDER BY 1, 2").fetchall()
        return state
