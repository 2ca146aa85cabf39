# SPDX-License-Identifier: MIT
"""Timelines with media files, for pages of reports."""

import array
import json
import math
import os
import random
import sys
import wave

FPS = 25
RATE = 16000


def write_wave(path, values):
    samples = array.array("h", (int(max(-1.0, min(1.0, value)) * 32767) for value in values))
    if sys.byteorder == "big":
        samples.byteswap()
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(samples.tobytes())


def voice(seconds, seed):
    """Syllables of filtered noise with pauses between the words."""
    chance = random.Random(seed)
    values, last = [], 0.0
    while len(values) < seconds * RATE:
        length = int(RATE * chance.uniform(0.08, 0.3))
        height = chance.choice((0.0, 0.25, 0.5, 0.8)) * chance.uniform(0.6, 1.0)
        for i in range(length):
            last += 0.3 * (chance.uniform(-1.0, 1.0) - last)
            values.append(1.6 * last * height * math.sin(math.pi * i / length))
    return values[:int(seconds * RATE)]


def music(seconds, seed):
    """Three tones with a beat that decays."""
    chance = random.Random(seed)
    pitches = [chance.choice((110, 131, 165, 196, 220)) * factor for factor in (1, 2, 3)]
    beat = 0.5
    values = []
    for i in range(int(seconds * RATE)):
        time = i / RATE
        level = 0.25 + 0.55 * math.exp(-5.0 * (time % beat) / beat)
        values.append(level * sum(math.sin(2 * math.pi * pitch * time) for pitch in pitches) / 3)
    return values


def time_of(frames):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": frames, "rate": FPS}


def span(start, length):
    return {"OTIO_SCHEMA": "TimeRange.1", "start_time": time_of(start), "duration": time_of(length)}


def clip(name, media, start, length, **ours):
    """A clip of frames of a media file, with settings of Sonrel."""
    return {"OTIO_SCHEMA": "Clip.1", "name": name, "source_range": span(start, length),
            "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": media},
            "metadata": {"sonrel": ours} if ours else {}, "effects": []}


def gap(length):
    return {"OTIO_SCHEMA": "Gap.1", "name": "", "source_range": span(0, length)}


def dissolve(before, after):
    return {"OTIO_SCHEMA": "Transition.1", "name": "", "transition_type": "SMPTE_Dissolve",
            "in_offset": time_of(before), "out_offset": time_of(after), "metadata": {}}


def track(name, children, kind="Audio", **ours):
    return {"OTIO_SCHEMA": "Track.1", "name": name, "kind": kind, "children": children,
            "metadata": {"sonrel": ours} if ours else {}}


def stack(name, tracks):
    return {"OTIO_SCHEMA": "Stack.1", "name": name, "children": tracks, "metadata": {}}


def write_timeline(path, name, tracks, **ours):
    document = {"OTIO_SCHEMA": "Timeline.1", "name": name, "tracks": stack("tracks", tracks),
                "global_start_time": time_of(3600 * FPS),
                "metadata": {"sonrel": ours} if ours else {}}
    with open(path, "w") as out:
        json.dump(document, out)
    return path


def write_media(folder):
    for name, values in (("voice.wav", voice(40, 1)), ("answer.wav", voice(40, 2)),
                         ("music.wav", music(60, 3)), ("door.wav", voice(4, 4))):
        write_wave(os.path.join(folder, name), values)


def two_clips(folder):
    """Two clips with a cross-fade."""
    children = [clip("question", "voice.wav", 25, 150), dissolve(15, 15),
                clip("answer", "answer.wav", 50, 150)]
    return write_timeline(os.path.join(folder, "two.otio"), "Two clips", [track("Voice", children)])


def scene(folder):
    """A short film with everything that a page marks."""
    speech = [clip("opening", "voice.wav", 0, 200, fadeIn=40), gap(50),
              clip("question", "voice.wav", 300, 180), dissolve(20, 20),
              clip("answer", "answer.wav", 100, 220), gap(60),
              clip("outtake", "answer.wav", 400, 120, muted=True),
              clip("closing", "answer.wav", 560, 260, fadeOut=60, audioLevel=2.0)]
    underscore = [clip("theme", "music.wav", 0, 700, fadeIn=50, audioLevel=-2.0),
                  clip("finale", "music.wav", 200, 410, fadeOut=100, audioLevel=3.0)]
    steps = [track("Steps", [clip("steps", "door.wav", 0, 100), clip("steps", "door.wav", 20, 75)]),
             track("Door", [gap(60), clip("slam", "door.wav", 30, 60, audioLevel=6.0)])]
    effects = [gap(80), {**stack("hall", steps), "source_range": span(0, 175)}, gap(45),
               clip("rain", "rain.wav", 0, 200), gap(100), clip("door", "door.wav", 50, 120),
               gap(60), clip("door", "door.wav", 0, 90, fadeOut=30)]
    tracks = [track("Picture", [clip("scene 1", "picture.mov", 0, 1110)], kind="Video"),
              track("Voice", speech),
              track("Music", underscore, duck={"by": "Voice", "parameters": {"depthDb": -9}}),
              track("Effects", effects),
              track("Guide", [gap(100), clip("guide", "voice.wav", 0, 600)], muted=True)]
    return write_timeline(os.path.join(folder, "film.otio"), "The long way home", tracks,
                          masterLevel=-1.0)


def many_clips(folder, clips=2000, tracks=20):
    """Clips of 2 to 4 seconds, each of another place in one of four files."""
    chance = random.Random(5)
    media = ("voice.wav", "answer.wav", "music.wav", "music.wav")
    lists = []
    for number in range(tracks):
        children = []
        for i in range(clips // tracks):
            length = chance.randrange(50, 100)
            children.append(clip(f"take {number + 1}.{i + 1}", chance.choice(media),
                                 chance.randrange(0, 900), length, audioLevel=-20.0))
        lists.append(track(f"Track {number + 1}", children))
    return write_timeline(os.path.join(folder, f"clips-{clips}.otio"), f"{clips} clips", lists)


def many_tracks(folder, tracks=500):
    lists = [track(f"Track {i + 1}", [gap(i % 50), clip("voice", "voice.wav", i, 200)])
             for i in range(tracks)]
    return write_timeline(os.path.join(folder, "tracks.otio"), f"{tracks} tracks", lists)


def minutes(folder):
    """Twelve clips of 59 s."""
    children = [clip(f"minute {i + 1}", "music.wav", 0, 59 * FPS) for i in range(12)]
    return write_timeline(os.path.join(folder, "minutes.otio"), "Minutes", [track("A", children)])


def nothing(folder):
    return write_timeline(os.path.join(folder, "nothing.otio"), "Nothing", [])
