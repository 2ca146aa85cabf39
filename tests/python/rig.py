# SPDX-License-Identifier: MIT
"""Media files and timelines for the tests of the Python module, in a temporary folder."""

import json
import math
import os
import random
import struct
import subprocess
import tempfile
import unittest
import wave

import numpy

import sonrel

PROGRAM = os.environ.get("SONREL_PROGRAM", "")
RATE = 48000


def tone(frames, hertz=440.0, level=8000):
    """A sine on the left and half of it on the right."""
    times = numpy.arange(frames) / RATE
    left = level * numpy.sin(2.0 * math.pi * hertz * times)
    return numpy.stack([left, left / 2], axis=1).astype(numpy.int16)


def noise(frames, seed):
    """Bursts of noise: no part of them repeats."""
    source = random.Random(seed)
    values = [source.randint(-12000, 12000) * (1 + source.randint(0, 1)) // 2
              for _ in range(frames)]
    return numpy.repeat(numpy.array(values, numpy.int16)[:, None], 2, axis=1)


def write_wav(path, samples, rate=RATE):
    with wave.open(path, "wb") as file:
        file.setnchannels(samples.shape[1])
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(numpy.ascontiguousarray(samples, "<i2").tobytes())


def read_wav(path):
    with wave.open(path, "rb") as file:
        return numpy.frombuffer(file.readframes(file.getnframes()), "<i2").reshape(-1, 2)


def write_sparse_wav(path, seconds):
    """Silence that takes no room on the disk and minutes to convert: its rate is 44100 Hz."""
    size = 4 * 44100 * seconds
    with open(path, "wb") as file:
        file.write(b"RIFF" + struct.pack("<I", 36 + size) + b"WAVEfmt " +
                   struct.pack("<IHHIIHH", 16, 1, 2, 44100, 4 * 44100, 4, 16) +
                   b"data" + struct.pack("<I", size))
        file.truncate(44 + size)


def time(value, rate=25):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": rate}


def clip(url, start, frames):
    return {"OTIO_SCHEMA": "Clip.1", "name": "clip", "metadata": {}, "effects": [],
            "source_range": {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(start),
                             "duration": time(frames)},
            "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": url}}


def track(name, clips):
    return {"OTIO_SCHEMA": "Track.1", "name": name, "kind": "Audio", "metadata": {},
            "children": clips}


def write_timeline(path, tracks, name="edit"):
    stack = {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "children": tracks}
    with open(path, "w", encoding="utf-8") as file:
        json.dump({"OTIO_SCHEMA": "Timeline.1", "name": name, "metadata": {}, "tracks": stack},
                  file)


class SonrelTest(unittest.TestCase):
    """A temporary folder with a recording, a timeline and a session."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="sonrel-python-test-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        write_wav(self.path("take.wav"), tone(2 * RATE))
        write_timeline(self.path("edit.otio"), [track("A1", [clip("take.wav", 0, 50)])])
        self.session = self.new_session()
        self.addCleanup(self.session.close)

    def path(self, name):
        return os.path.join(self.folder, name)

    def new_session(self):
        return sonrel.Session(self.path("cache"), self.path("media.db"))

    def open(self, name="edit.otio", **options):
        return self.session.open(self.path(name), **options)

    def program(self, *arguments):
        """Runs the program with the same cache. @return the completed process"""
        command = [PROGRAM, "--cache", self.path("cache"), "--db", self.path("media.db"),
                   *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)
