#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Counts how often `sonrel align` calls unrelated recordings aligned, and finds related ones.

    bench/alignment_chance.py [PROGRAM] [GROUPS]    default build/release/host/sonrel and 10

Prints a Markdown table with a line for each kind of sound and each length. The sounds are generated,
mono at 8 kHz, from fixed seeds; every recording has its own seed.

- unrelated: a recording of 10 s and an unrelated recording of the length
- contained: a recording of 10 s and a part of it of the length, 20 dB above added noise
- overlap: two recordings of 10 s; the end of one is the beginning of the other, with noise

A group is a recording with five pairs of each of the first two cases and two pairs of the third.

Exits 1 when more than one in a thousand unrelated pairs is aligned, or a related pair is aligned
at a wrong offset.
"""

import array
import json
import math
import pathlib
import random
import subprocess
import sys
import tempfile
import wave

RATE = 8000
SECONDS = 10
GROUP = 5
LENGTHS = (0.1, 0.2, 0.3, 0.5, 1, 2, 5, 10)


def noise(rng, count):
    """Noise of a random bandwidth."""
    softness = rng.choice((1.0, 0.5, 0.2))
    state = 0.0
    sound = []
    for _ in range(count):
        state += softness * (rng.uniform(-1, 1) - state)
        sound.append(state)
    return sound


def resonance(frequency, bandwidth):
    radius = math.exp(-math.pi * bandwidth / RATE)
    return 2 * radius * math.cos(2 * math.pi * frequency / RATE), -radius * radius


def syllable(rng, count):
    """A vowel of pulses through two formants, or the noise of a consonant."""
    voiced = rng.random() < 0.75
    a1, a2 = resonance(rng.uniform(300, 900), 90)
    b1, b2 = resonance(rng.uniform(900, 2600), 140)
    pitch = rng.uniform(90, 240)
    glide = rng.uniform(-0.3, 0.3) / count
    phase = x1 = x2 = y1 = y2 = 0.0
    sound = []
    for i in range(count):
        phase += pitch * (1 + glide * i) / RATE
        source = 0.05 * rng.uniform(-1, 1) if voiced else rng.uniform(-1, 1)
        if voiced and phase >= 1:
            phase -= 1
            source += 8.0
        x1, x2 = source + a1 * x1 + a2 * x2, x1
        y1, y2 = x1 + b1 * y1 + b2 * y2, y1
        sound.append(y1 * math.sin(math.pi * i / count))
    loudest = max(max(sound), -min(sound), 1e-9)
    gain = rng.uniform(0.2, 1.0) * (1.0 if voiced else 0.3) / loudest
    return [gain * value for value in sound]


def speech(rng, count):
    sound = []
    while len(sound) < count:
        sound += syllable(rng, int(rng.uniform(0.08, 0.35) * RATE))
        sound += [0.0] * int(rng.choice((0, 0, 0, 0.05, 0.3)) * RATE)
    return [value + 0.002 * rng.uniform(-1, 1) for value in sound[:count]]


def strike(sound, at, frequency, decay, partials):
    """Adds a tone that dies away. Partials have a level and a phase each."""
    for number, (level, phase) in enumerate(partials, 1):
        step = 2 * math.pi * frequency * number / RATE
        if step >= math.pi:
            break
        for i in range(min(len(sound) - at, int(6 * decay * RATE))):
            sound[at + i] += level * math.exp(-i / (decay * RATE)) * math.sin(step * i + phase)


def partials_of(rng, count, gain):
    return [(gain * rng.uniform(0.2, 1) / n, rng.uniform(0, 2 * math.pi))
            for n in range(1, count + 1)]


def music(rng, count):
    """Notes of one scale, a drum and a cymbal, with the tuning and the instrument of a recording."""
    sound = [0.0] * count
    beat = int(RATE * rng.uniform(0.2, 0.3))
    tuning = 220 * 2 ** rng.uniform(-1 / 24, 1 / 24)
    instrument = partials_of(rng, 5, 0.5)
    drum = rng.uniform(50, 80)
    for at in range(rng.randrange(beat), count, beat):
        if rng.random() < 0.8:
            tone = rng.choice((0, 2, 4, 7, 9, 12, 14, 16))
            strike(sound, at, tuning * 2 ** (tone / 12), rng.uniform(0.1, 0.4), instrument)
        if rng.random() < 0.4:
            strike(sound, at, drum, rng.uniform(0.03, 0.08), partials_of(rng, 2, 0.9))
        if rng.random() < 0.4:
            for i in range(min(count - at, RATE // 20)):
                sound[at + i] += 0.3 * math.exp(-i / 80) * rng.uniform(-1, 1)
    return [value + 0.001 * rng.uniform(-1, 1) for value in sound]


def clicks(rng, count):
    """A quiet room and a few short sounds, as of a door or a switch."""
    sound = [0.001 * rng.uniform(-1, 1) for _ in range(count)]
    for _ in range(max(1, round(count / RATE / 2))):
        strike(sound, rng.randrange(count), rng.uniform(200, 2500), rng.uniform(0.002, 0.03),
               partials_of(rng, 3, 0.8))
    return sound


KINDS = {"noise": noise, "speech": speech, "music": music, "clicks": clicks}


def write(path, sound):
    loudest = max(max(sound), -min(sound), 1e-9)
    samples = array.array("h", (int(20000 * value / loudest) for value in sound))
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(samples.tobytes())
    return path


def with_noise(rng, sound, decibels=20):
    level = math.sqrt(sum(value * value for value in sound) / len(sound))
    amplitude = level * math.sqrt(3) * 10 ** (-decibels / 20)
    return [value + amplitude * rng.uniform(-1, 1) for value in sound]


class Tally:
    """Pairs, and how many of them are aligned at the right and at a wrong offset."""

    def __init__(self):
        self.pairs = self.right = self.wrong = 0

    def add(self, result, offset):
        self.pairs += 1
        if result["verdict"] == "aligned":
            near = offset is not None and abs(result["offset"] - offset) <= 1
            self.right += near
            self.wrong += not near


def align(program, first, others):
    """The results of the first recording with each other one."""
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        names = [str(write(work / f"{i}.wav", sound)) for i, sound in enumerate([first] + others)]
        run = subprocess.run([program, "--cache", str(work / "cache"), "--db",
                              str(work / "media.db"), "--no-log", "--json", "align", "--rate",
                              str(RATE)] + names, capture_output=True, text=True)
        return json.loads(run.stdout)["results"]


def cases(rng, make, count):
    """A recording, and others of each case with their offsets."""
    first = make(rng, SECONDS * RATE)
    whole = len(first)
    rest = make(rng, whole)[count:]
    others = [("unrelated", make(rng, count), None) for _ in range(GROUP)]
    for _ in range(GROUP):
        at = rng.randrange(whole - count + 1)
        others.append(("contained", with_noise(rng, first[at:at + count]), at))
    others.append(("overlap", with_noise(rng, first[whole - count:] + rest), whole - count))
    others.append(("overlap", with_noise(rng, rest + first[:count]), -len(rest)))
    return first, others


def measure(program, kind, length, groups):
    tallies = {case: Tally() for case in ("unrelated", "contained", "overlap")}
    for group in range(groups):
        rng = random.Random(f"{kind} {length} {group}")
        first, others = cases(rng, KINDS[kind], int(length * RATE))
        results = align(program, first, [sound for _, sound, _ in others])
        for (case, _, offset), result in zip(others, results):
            tallies[case].add(result, offset)
    return tallies


def main():
    program = sys.argv[1] if len(sys.argv) > 1 else "build/release/host/sonrel"
    groups = int(sys.argv[2]) if len(sys.argv) > 2 else 10
    unrelated = by_chance = misplaced = 0
    print("| sound | length | unrelated: aligned | contained: found | wrong | overlap: found | wrong |")
    print("|---|---|---|---|---|---|---|")
    for kind in KINDS:
        for length in LENGTHS:
            tally = measure(program, kind, length, groups)
            chance, part, edge = tally["unrelated"], tally["contained"], tally["overlap"]
            print(f"| {kind} | {length:g} s | {chance.wrong} of {chance.pairs} "
                  f"| {part.right} of {part.pairs} | {part.wrong} | {edge.right} of {edge.pairs} "
                  f"| {edge.wrong} |", flush=True)
            unrelated += chance.pairs
            by_chance += chance.wrong
            misplaced += part.wrong + edge.wrong
    print(f"\n{by_chance} of {unrelated} unrelated pairs are aligned.")
    sys.exit(1 if 1000 * by_chance > unrelated or misplaced > 0 else 0)


if __name__ == "__main__":
    main()
