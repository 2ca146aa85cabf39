# SPDX-License-Identifier: MIT
"""The media files and the timeline of the fault tests."""

import json
import math
import random
import struct
import subprocess
import wave
import zipfile


def write_wave(path, rate, channels, samples):
    with wave.open(str(path), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(samples)


def write_noise(path, rate):
    """A second of stereo noise, different for each rate."""
    write_wave(path, rate, 2, random.Random(rate).randbytes(4 * rate))


def write_tone(path, rate, seconds):
    """A tone whose pitch changes, so that no two places are alike."""
    values = (round(9000 * math.sin(2 * math.pi * 300 * t / rate + 40 * math.sin(t / rate)))
              for t in range(rate * seconds))
    write_wave(path, rate, 1, b"".join(struct.pack("<h", value) for value in values))


def timeline(names, frames=12):
    """A timeline of one track with the first frames of each file, at 24 frames a second."""
    def time(value):
        return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": 24}

    def clip(name):
        span = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(0), "duration": time(frames)}
        return {"OTIO_SCHEMA": "Clip.1", "name": name, "source_range": span,
                "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": name}}
    return {"OTIO_SCHEMA": "Track.1", "name": "A1", "kind": "Audio",
            "children": [clip(name) for name in names]}


def write_archive(path, edit, media):
    """A timeline with its media files, of which the media files are in the folder media."""
    urls = [f"media/{name}" for name in media]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("version.txt", "1.0.0\n")
        archive.writestr("content.otio", json.dumps(edit(urls)))
        for name in media:
            archive.write(path.parent / name, f"media/{name}")


def make(folder):
    """sound.wav, sound.flac, sound.mp3: a second each. sound-long.wav: 31 seconds, of which a peak file
    is made by four readers and in several writes. edit.otio: a timeline of the short ones.
    edit.otioz: the same timeline in an archive."""
    folder.mkdir(parents=True)
    write_noise(folder / "sound.wav", 48000)
    write_noise(folder / "source.wav", 44100)
    for name in ("sound.flac", "sound.mp3"):
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", folder / "source.wav",
                        "-fflags", "+bitexact", folder / name], check=True)
    (folder / "source.wav").unlink()
    write_tone(folder / "sound-long.wav", 8000, 31)
    short = ["sound.wav", "sound.flac", "sound.mp3"]
    (folder / "edit.otio").write_text(json.dumps(timeline(short)))
    write_archive(folder / "edit.otioz", timeline, short)
