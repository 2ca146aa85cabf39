# SPDX-License-Identifier: MIT
"""Compares a mix with the plays of the reference reader."""

import random
import wave
from fractions import Fraction

import soundcode

EDGE = 0.013  # seconds around an edge that are not judged
SILENCE = 20  # level of a silent side, of 32767
MAX_ERROR = 0.001  # seconds of the media file
# The engine reads each frame of a retimed clip from a whole sample. A jump of half a sample inside
# the 20 ms changes the measured sweep by 7 Hz, which are 15 ms.
MAX_ERROR_RETIMED = 0.020
MIN_SHARE = 0.05  # of the level that a sound may have in a cross-fade
MAX_REST = 0.1  # share of the power that is not explained


class Mix:
    """The two sides of a mix."""

    def __init__(self, path):
        with wave.open(str(path), "rb") as file:
            samples = file.readframes(file.getnframes())
            assert (file.getnchannels(), file.getframerate()) == (2, soundcode.RATE)
        values = memoryview(samples).cast("h")
        self.sides = (values[0::2], values[1::2])
        self.seconds = len(values) / 2 / soundcode.RATE

    def around(self, side, seconds):
        """20 ms of a side; the middle is at a time."""
        half = round(soundcode.WINDOW * soundcode.RATE / 2)
        middle = round(seconds * soundcode.RATE)
        return self.sides[side][middle - half:middle + half].tolist()


def edges(play):
    """The times at which the sound of a play changes."""
    yield from (play.begin, play.end)
    for blend in play.blends:
        yield from blend
    if play.media is not None:
        for moment in (Fraction(0), play.media.seconds):
            yield play.begin + (moment - play.start) / play.speed


def is_near_an_edge(plays, seconds):
    return any(abs(seconds - edge) < EDGE for play in plays for edge in edges(play))


def is_weak(play, seconds):
    """Whether a transition has almost removed the play."""
    for begin, end in play.blends:
        if begin <= seconds <= end:
            place = (seconds - float(begin)) / float(end - begin)
            return not 0.2 < place < 0.8
    return False


def places(plays, total, count, seed):
    """Times at which the mix is judged: most of them inside plays, the others anywhere."""
    chance = random.Random(seed)
    chosen = []
    for attempt in range(100 * count):
        if len(chosen) == count:
            break
        begin, end = 0.0, total
        if plays and len(chosen) % 4:
            play = plays[attempt % len(plays)]
            begin, end = float(play.begin), min(float(play.end), total)
        time = chance.uniform(begin, end)
        inside = EDGE < time < total - EDGE
        if inside and not is_near_an_edge(plays, time) and not any(
                is_weak(play, time) for play in plays):
            chosen.append(time)
    return chosen


def expected(plays, seconds, side):
    """The plays that sound on a side: channel, time of the file, speed."""
    found = []
    for play in plays:
        number = (play.left, play.right)[side]
        if play.muted or play.media is None or number is None:
            continue
        time = float(play.time_at(Fraction(seconds)))
        if play.begin <= seconds < play.end and 0 <= time < play.media.seconds:
            found.append((number, time, float(play.speed)))
    return found


def fault(samples, sounds):
    """What is wrong with 20 ms of a side; empty when it is right. Tones of sounds that overlap must
    be at least 200 Hz apart."""
    level = soundcode.level(samples)
    if not sounds:
        return "" if level < SILENCE else f"silence expected, {soundcode.heard(samples)} heard"
    power = 0.0
    for number, time, speed in sounds:
        wanted = f"channel {number} at {time:.4f} s expected"
        if level < SILENCE:
            return f"{wanted}, silence heard"
        levels = [soundcode.level_at(samples, f)
                  for f in soundcode.frequencies(number, time, speed)]
        if min(levels) < MIN_SHARE * soundcode.PEAK:
            return f"{wanted}, {soundcode.heard(samples)} heard"
        power += sum(each * each / 2 for each in levels)
        others = [s * t for n, t, s in sounds if n != number]
        if all(abs(time * speed - other) > 0.5 for other in others):
            error = soundcode.time_of(samples, time, speed) - time
            if abs(error) > (MAX_ERROR if speed == 1 else MAX_ERROR_RETIMED):
                return f"{wanted}, {error * 1000:+.2f} ms heard"
    rest = abs(level * level - power) / (level * level)
    return "" if rest < MAX_REST else f"{rest:.0%} more or less sound than expected"


def wrong_places(mix, plays, count, seed):
    """The number of places that were judged, and what is wrong."""
    chosen = places(plays, mix.seconds, count, seed)
    faults = []
    for seconds in chosen:
        for side in (0, 1):
            text = fault(mix.around(side, seconds), expected(plays, seconds, side))
            if text:
                faults.append(f"{seconds:.4f} s, {('left', 'right')[side]}: {text}")
    return len(chosen), faults


def is_named(name, entries):
    """Whether an entry names a clip. An entry of many clips names the first of them."""
    return any(f"'{name}'" in entry["where"] or entry["where"].endswith("and more")
               for entry in entries)


def silent_without_entry(plays, entries):
    """The clips that are silent, or silent in part, and that no entry names."""
    return [play.name for play in plays
            if not play.muted and play.is_silent() and not is_named(play.name, entries)]
