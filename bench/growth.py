#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures how the cost of the commands grows with the size of a project.

Usage: growth.py PROGRAM [CASE ...]

Every case runs at half and at full size in a new folder. A line shows processor seconds and peak
memory of both runs and their ratios. A ratio of the times well above 2 means that the cost is not
linear. The media are sparse files or generated, so that only Python is needed; up to 15 GB of disk
are used temporarily.
"""

import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile

RATE = 48000
FPS = 25
FRAME = RATE // FPS


def wave(path, frames, rate=RATE, channels=2):
    """A 16-bit WAVE file of zeros that takes no room on the disk."""
    size = 2 * channels * frames
    form = struct.pack("<HHIIHH", 1, channels, rate, 2 * channels * rate, 2 * channels, 16)
    riff = min(36 + size, 0xFFFFFFFF)
    data = min(size, 0xFFFFFFFF)
    with open(path, "wb") as out:
        out.write(b"RIFF" + struct.pack("<I", riff) + b"WAVEfmt " + struct.pack("<I", 16) + form)
        out.write(b"data" + struct.pack("<I", data))
        out.truncate(44 + size)


def layer3(path, seconds):
    """MPEG layer 3 in mono: one packet of silence, 24 ms long, again and again."""
    packet = b"\xff\xfb\x94\xc4" + bytes(380)
    with open(path, "wb") as out:
        for _ in range(seconds // 3):
            out.write(packet * 125)


def time_of(value):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": FPS}


def clip(path, start, length):
    span = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time_of(start), "duration": time_of(length)}
    media = {"OTIO_SCHEMA": "ExternalReference.1", "target_url": path}
    return {"OTIO_SCHEMA": "Clip.1", "name": "", "source_range": span, "media_reference": media,
            "metadata": {}, "effects": []}


def timeline(path, tracks):
    children = [{"OTIO_SCHEMA": "Track.1", "name": f"A{n}", "kind": "Audio", "metadata": {},
                 "children": clips} for n, clips in enumerate(tracks, 1)]
    stack = {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "children": children}
    with open(path, "w") as out:
        json.dump({"OTIO_SCHEMA": "Timeline.1", "name": "edit", "metadata": {}, "tracks": stack},
                  out)


class Run:
    """The program in one folder, with its own cache and database."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = folder

    def path(self, name):
        return os.path.join(self.folder, name)

    def __call__(self, *arguments):
        """Runs a command. Returns its processor seconds and its peak memory in MB."""
        command = [self.program, "--cache", self.path("cache"), "--db", self.path("media.db"),
                   *arguments]
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        errors = child.stderr.read().decode()
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode != 0:
            sys.exit(f"{' '.join(arguments[:2])}: {errors}")
        return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def files_made(run, count):
    for i in range(count):
        wave(run.path(f"{i}.wav"), FRAME)
    timeline(run.path("edit.otio"), [[clip(run.path(f"{i}.wav"), 0, 1) for i in range(count)]])
    return run("conform", run.path("edit.otio"))


def files_found(run, count):
    files_made(run, count)
    return run("conform", run.path("edit.otio"))


def files_forced(run, count):
    files_made(run, count)
    return run("conform", "--force", run.path("edit.otio"))


def file_peaks(run, count):
    files_made(run, count)
    return run("peaks", run.path("edit.otio"))


def file_checks(run, count):
    files_made(run, count)
    return run("cache", "check")


def clips(run, count):
    wave(run.path("a.wav"), 10 * RATE)
    timeline(run.path("edit.otio"), [[clip(run.path("a.wav"), i % 200, 4) for i in range(count)]])
    return run("mix", run.path("edit.otio"), "-o", "/dev/null")


def tracks(run, count):
    wave(run.path("a.wav"), 10 * RATE)
    timeline(run.path("edit.otio"), [[clip(run.path("a.wav"), 0, 100)] for _ in range(count)])
    return run("mix", run.path("edit.otio"), "-o", "/dev/null")


def hours_of_timeline(run, hours):
    wave(run.path("a.wav"), 3600 * RATE)
    timeline(run.path("edit.otio"), [[clip(run.path("a.wav"), 0, 3600 * FPS)] * hours])
    run("conform", run.path("edit.otio"))
    return run("mix", run.path("edit.otio"), "-o", "/dev/null")


def hours_conformed(run, hours):
    wave(run.path("a.wav"), hours * 3600 * RATE)
    return run("conform", run.path("a.wav"))


def hours_of_peaks(run, hours):
    wave(run.path("a.wav"), hours * 3600 * RATE)
    return run("peaks", run.path("a.wav"))


def hours_of_packets(run, hours):
    layer3(run.path("a.mp3"), hours * 3600)
    return run("conform", run.path("a.mp3"))


def packets_described(run, hours):
    layer3(run.path("a.mp3"), hours * 3600)
    return run("info", run.path("a.mp3"))


CASES = {
    "files-made": (files_made, 10000, "conform 10,000 files, made"),
    "files-found": (files_found, 10000, "conform 10,000 files, found"),
    "files-forced": (files_forced, 10000, "conform --force 10,000 files"),
    "file-peaks": (file_peaks, 10000, "peaks of 10,000 files"),
    "file-checks": (file_checks, 10000, "cache check of 10,000 files"),
    "clips": (clips, 20000, "mix 20,000 clips"),
    "tracks": (tracks, 2000, "mix 2,000 tracks of 4 s"),
    "timeline": (hours_of_timeline, 24, "mix 24 hours"),
    "conform": (hours_conformed, 6, "conform 6 hours, WAVE"),
    "peaks": (hours_of_peaks, 6, "peaks of 6 hours, WAVE"),
    "packets": (hours_of_packets, 6, "conform 6 hours, MPEG layer 3"),
    "info": (packets_described, 6, "info on 6 hours, MPEG layer 3"),
}


def measure(program, case, count):
    folder = tempfile.mkdtemp(prefix="growth-")
    try:
        return case(Run(program, folder), count)
    finally:
        shutil.rmtree(folder)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    program = os.path.abspath(sys.argv[1])
    print("| case | half: s | whole: s | times | half: MB | whole: MB |")
    print("|---|---|---|---|---|---|")
    for name in sys.argv[2:] or CASES:
        case, count, title = CASES[name]
        half = measure(program, case, count // 2)
        whole = measure(program, case, count)
        print(f"| {title} | {half[0]:.2f} | {whole[0]:.2f} | {whole[0] / half[0]:.1f} | "
              f"{half[1]:.0f} | {whole[1]:.0f} |", flush=True)


if __name__ == "__main__":
    main()
