# SPDX-License-Identifier: MIT
"""Twenty timelines with nested items, effects, retimed clips and cross-fades, and their media files."""

import pathlib
import random
import sys
import wave

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "report"))
from scenes import FPS, clip, dissolve, gap, span, stack, track, write_timeline  # noqa: E402

COUNT = 20
SECONDS = 60
MEDIA = {"voice.wav": 48000, "music.wav": 44100, "room.wav": 32000}


def write_noise(path, rate, seed):
    """A minute of stereo noise."""
    with wave.open(str(path), "wb") as out:
        out.setnchannels(2)
        out.setsampwidth(2)
        out.setframerate(rate)
        out.writeframes(random.Random(seed).randbytes(4 * rate * SECONDS))


def retimed(item, factor):
    item["effects"] = [{"OTIO_SCHEMA": "LinearTimeWarp.1", "name": "", "effect_name": "LinearTimeWarp",
                        "time_scalar": factor, "metadata": {}}]
    return item


def tracks_of(chance, names):
    """Three tracks of less than a minute; the mix draws noise on several levels."""
    def place(length, level, **ours):
        start = chance.randrange(SECONDS * FPS - length)
        return clip("take", chance.choice(names), start, length, audioLevel=level, **ours)

    filtered = place(500, -14, fadeIn=40, effects=[
        {"plugin": "high-pass", "parameters": {"frequencyHz": chance.randrange(80, 400)}}])
    inner = stack("inner", [track("", [place(200, -18)]), track("", [place(300, -20)])])
    scene = stack("scene", [track("", [inner, place(250, -16, fadeOut=50)])])
    fast = retimed(clip("fast", names[0], 30, 400, audioLevel=-16), chance.uniform(1.1, 1.9))
    return [track("Voice", [filtered, dissolve(20, 20), place(600, -15)], stereoBalance=0.3),
            track("Scene", [gap(30), {**scene, "source_range": span(0, 500)}, gap(10), fast]),
            track("Music", [place(1200, -22)])]


def write_reel(path, seed, names):
    write_timeline(str(path), path.stem, tracks_of(random.Random(seed), names))
    return path


def write_reels(folder):
    """The paths of the timelines. The name of one of them needs quotation marks in a shell."""
    folder.mkdir(parents=True)
    for seed, (name, rate) in enumerate(MEDIA.items()):
        write_noise(folder / name, rate, seed)
    names = [f"reel-{number:02}" for number in range(1, COUNT)] + ["the director's cut"]
    return [write_reel(folder / f"{name}.otio", seed, list(MEDIA)) for seed, name in enumerate(names)]
