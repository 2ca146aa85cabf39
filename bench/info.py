#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures `sonrel info` on a timeline of 10,000 clips over 1,000 media files.

Usage: info.py PROGRAM MEDIA_OPENING [--clips N] [--files N] [--runs N]

MEDIA_OPENING is build/release/bench/media_opening, which opens media files and does nothing else.
Prints the processor seconds of both, the best of the runs, and their difference. The files are WAV,
MOV and MXF in equal parts, each of a second; ffmpeg makes one of each kind, the others are copies.
Every clip has an effect that is not imported, and each tenth clip asks for more than its file has.
"""

import argparse
import itertools
import json
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile

FPS = 25
KINDS = {"wav": [], "mov": ["-c:v", "mpeg4", "-timecode", "01:00:00:00"],
         "mxf": ["-c:v", "mpeg2video", "-timecode", "01:00:00:00"]}


def make_media(folder, count):
    """The paths of the media files."""
    models = []
    for kind, codec in KINDS.items():
        models.append(folder / f"model.{kind}")
        picture = ["-f", "lavfi", "-i", f"color=s=64x48:r={FPS}:d=1"] if codec else []
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", *picture, "-f", "lavfi", "-i",
                        "sine=440:r=48000:d=1", "-c:a", "pcm_s16le", *codec, models[-1]],
                       check=True)
    paths = []
    for number, model in zip(range(count), itertools.cycle(models)):
        paths.append(folder / f"take-{number}{model.suffix}")
        shutil.copyfile(model, paths[-1])
    return paths


def time_of(value):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": FPS}


def clip(path, number):
    length = 30 if number % 10 == 0 else 20
    span = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time_of(0), "duration": time_of(length)}
    return {"OTIO_SCHEMA": "Clip.1", "name": f"clip {number}", "source_range": span,
            "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": str(path)},
            "effects": [{"OTIO_SCHEMA": "Effect.1", "effect_name": f"Filter {number % 7}"}]}


def timeline(paths, count):
    """Eight tracks, whose clips follow one another."""
    tracks = [[] for _ in range(8)]
    for number, path in zip(range(count), itertools.cycle(paths)):
        tracks[number % 8].append(clip(path, number))
    children = [{"OTIO_SCHEMA": "Track.1", "name": f"A{n}", "kind": "Audio", "children": clips}
                for n, clips in enumerate(tracks, 1)]
    return {"OTIO_SCHEMA": "Timeline.1", "name": "edit",
            "tracks": {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "children": children}}


def seconds_of(command):
    """The processor seconds of a command."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("opening", type=pathlib.Path)
    parser.add_argument("--clips", type=int, default=10000)
    parser.add_argument("--files", type=int, default=1000)
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="sonrel-info-") as name:
        folder = pathlib.Path(name)
        paths = make_media(folder, options.files)
        edit = folder / "edit.otio"
        edit.write_text(json.dumps(timeline(paths, options.clips)))
        names = folder / "names.txt"
        names.write_text("".join(f"{path}\n" for path in paths))
        info = min(seconds_of([options.program, "info", edit]) for _ in range(options.runs))
        opening = min(seconds_of([options.opening, names]) for _ in range(options.runs))
    print(f"info {info:.2f} s, opening {opening:.2f} s, difference {info - opening:.2f} s")
    return 0 if info - opening <= 1.0 else 1


if __name__ == "__main__":
    sys.exit(main())
