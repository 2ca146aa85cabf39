# SPDX-License-Identifier: MIT
"""Sound that contains its file, its channel and its time, and a decoder that needs 20 ms of it.

A channel is the sum of two sines of the same level:

    tone   a multiple of 50 Hz from 1000 Hz on, whose number is that of the channel of the file
    sweep  4000 Hz at the beginning of the file, 500 Hz higher each second

At speed v both frequencies are v times as high. The sweep gives the time: 0.5 Hz are a millisecond.
"""

import array
import cmath
import itertools
import math
import operator

RATE = 48000
SECONDS = 8
WINDOW = 0.020

TONE_STEP = 50
FIRST_TONE = 1000
SWEEP_START = 4000
SWEEP_PER_SECOND = 500
PEAK = 6000

_sweeps = {}
_tables = {}


def tone(number):
    """The frequency of a channel."""
    return FIRST_TONE + TONE_STEP * number


def _sweep(rate):
    if rate not in _sweeps:
        half = SWEEP_PER_SECOND / 2
        times = (i / rate for i in range(SECONDS * rate))
        _sweeps[rate] = [round(PEAK * math.sin(2 * math.pi * (SWEEP_START + half * t) * t))
                         for t in times]
    return _sweeps[rate]


def channel(number, rate=RATE):
    """The samples of a channel, 8 seconds."""
    # A tone repeats after a fiftieth of a second.
    period = [round(PEAK * math.sin(2 * math.pi * tone(number) * i / rate))
              for i in range(rate // TONE_STEP)]
    return array.array("h", map(operator.add, _sweep(rate), itertools.cycle(period)))


def interleaved(numbers, rate=RATE):
    """The bytes of a stream with these channels."""
    samples = array.array("h", bytes(2 * len(numbers) * SECONDS * rate))
    for place, number in enumerate(numbers):
        samples[place::len(numbers)] = channel(number, rate)
    return samples.tobytes()


# ---- the decoder

def _window(count):
    return [1 - math.cos(2 * math.pi * (i + 0.5) / count) for i in range(count)]


def _line(samples, frequency):
    """The complex level of a whole frequency in samples that are windowed already."""
    key = (len(samples), round(frequency))
    if key not in _tables:
        step = 2 * math.pi * key[1] / RATE
        _tables[key] = ([math.cos(step * i) for i in range(key[0])],
                        [math.sin(step * i) for i in range(key[0])])
    cosine, sine = _tables[key]
    return complex(sum(map(operator.mul, samples, cosine)),
                   -sum(map(operator.mul, samples, sine)))


def _windowed(samples):
    if ("window", len(samples)) not in _tables:
        _tables["window", len(samples)] = _window(len(samples))
    return list(map(operator.mul, samples, _tables["window", len(samples)]))


def level(samples):
    """The root mean square."""
    return math.sqrt(sum(map(operator.mul, samples, samples)) / len(samples))


def level_at(samples, frequency):
    """The peak level of a sine of about this frequency."""
    return abs(_line(_windowed(samples), frequency)) / len(samples) * 2


def measured(samples, frequency):
    """The frequency at the middle of the samples of a sine within 40 Hz of an expected frequency,
    from the phases of the first and the second half."""
    half = len(samples) // 2
    near = 10 * round(frequency / 10)
    first = _line(_windowed(samples[:half]), near)
    second = _line(_windowed(samples[half:2 * half]), near)
    if abs(first) == 0 or abs(second) == 0:
        return 0.0
    # Both tables begin with phase 0.
    turn = cmath.phase(second / first) - 2 * math.pi * near * half / RATE
    turn -= 2 * math.pi * round(turn / (2 * math.pi))
    return near + turn * RATE / (2 * math.pi * half)


def frequencies(number, time, speed=1.0):
    """The frequencies of a channel at a time of the file, played at a speed."""
    return (speed * tone(number), speed * (SWEEP_START + SWEEP_PER_SECOND * time))


def time_of(samples, expected, speed=1.0):
    """The time of the file at the middle of the samples, near an expected time."""
    sweep = measured(samples, frequencies(0, expected, speed)[1])
    return (sweep / speed - SWEEP_START) / SWEEP_PER_SECOND


def heard(samples):
    """What is heard at normal speed, for messages: the number of the channel and the time of the
    strongest tone and sweep."""
    if level(samples) < 30:
        return "silence"
    number = max(range(60), key=lambda n: level_at(samples, tone(n)))
    last = SWEEP_START + SWEEP_PER_SECOND * SECONDS
    sweep = max(range(SWEEP_START, last, 25), key=lambda f: level_at(samples, f))
    time = (measured(samples, sweep) - SWEEP_START) / SWEEP_PER_SECOND
    return f"channel {number} at {time:.4f} s"
