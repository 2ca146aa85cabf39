# SPDX-License-Identifier: MIT
"""The media files of the dialects, whose sound contains its file, its channel and its time."""

import pathlib
import struct
import subprocess
from dataclasses import dataclass
from fractions import Fraction

import soundcode

AUDIO_EXTENSIONS = (".wav", ".wave", ".bwf", ".rf64", ".w64", ".aif", ".aiff", ".caf")


@dataclass
class Media:
    name: str
    streams: list  # for each audio stream the numbers of its channels in the sound code
    rate: int = soundcode.RATE
    pictures: int = 0  # picture streams, which are before the streams of sound
    timecode: Fraction | None = None  # of the first frame, in seconds
    seconds: Fraction = Fraction(soundcode.SECONDS)


HOUR = 3600
FILES = [
    Media("a.wav", [[0]]),
    Media("b.wav", [[1, 2]]),
    Media("c44.wav", [[3]], rate=44100),
    Media("poly.wav", [[4, 5, 6, 7, 8, 9, 10, 11]]),
    Media("bwf.wav", [[12]], timecode=Fraction(HOUR)),
    Media("tc.mov", [[13], [14], [15], [16]], pictures=1, timecode=Fraction(HOUR)),
    Media("tc.mxf", [[number] for number in range(17, 25)], pictures=1,
          timecode=Fraction(10 * HOUR)),
    # One hour of drop-frame timecode has 107892 frames.
    Media("df.mov", [[25, 26]], pictures=1, timecode=Fraction(107892 * 1001, 30000)),
    Media("my take 100%.wav", [[27]]),
    Media("d.flac", [[28, 29]], rate=44100),
    Media("e.mkv", [[30, 31], [32]], pictures=1),
]
BY_NAME = {media.name: media for media in FILES}

# The picture and the timecode of each file with pictures.
PICTURES = {
    "tc.mov": ["-c:v", "mpeg4", "-timecode", "01:00:00:00"],
    "tc.mxf": ["-c:v", "mpeg2video", "-timecode", "10:00:00:00"],
    "df.mov": ["-c:v", "mpeg4", "-timecode", "01:00:00;00"],
    "e.mkv": ["-c:v", "mpeg4"],
}


def wave_bytes(channels, rate, samples, chunks=b""):
    form = struct.pack("<HHIIHH", 1, channels, rate, 2 * channels * rate, 2 * channels, 16)
    body = (b"WAVE" + b"fmt " + struct.pack("<I", 16) + form + chunks
            + b"data" + struct.pack("<I", len(samples)) + samples)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def broadcast_chunk(media):
    """The description of a Broadcast Wave file, with the time of its first sample."""
    if media.timecode is None:
        return b""
    time = int(media.timecode * media.rate)
    return b"bext" + struct.pack("<I", 602) + bytes(338) + struct.pack("<Q", time) + bytes(256)


def _write_wave(path, numbers, media):
    samples = soundcode.interleaved(numbers, media.rate)
    path.write_bytes(wave_bytes(len(numbers), media.rate, samples, broadcast_chunk(media)))


def _encode(path, media):
    """Writes a file with several streams or a picture with the ffmpeg program."""
    command = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-fflags", "+bitexact"]
    if media.pictures:
        rate = "30000/1001" if media.name == "df.mov" else "25"
        command += ["-f", "lavfi", "-i", f"color=s=64x48:r={rate}:d={soundcode.SECONDS}"]
    parts = []
    for place, numbers in enumerate(media.streams):
        parts.append(path.with_name(f"{path.stem}-{place}.part"))
        parts[-1].write_bytes(soundcode.interleaved(numbers, media.rate))
        command += ["-f", "s16le", "-ar", str(media.rate), "-ac", str(len(numbers)),
                    "-i", str(parts[-1])]
    for place in range(media.pictures + len(parts)):
        command += ["-map", str(place)]
    codec = "flac" if path.suffix == ".flac" else "pcm_s16le"
    command += ["-c:a", codec, *PICTURES.get(media.name, []), str(path)]
    subprocess.run(command, check=True)
    for part in parts:
        part.unlink()


def make(folder: pathlib.Path):
    """Writes all media files."""
    folder.mkdir(parents=True, exist_ok=True)
    for media in FILES:
        path = folder / media.name
        if path.suffix == ".wav":
            _write_wave(path, media.streams[0], media)
        else:
            _encode(path, media)
