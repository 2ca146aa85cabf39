# SPDX-License-Identifier: MIT
"""Dialects of times: rates, time scales, timecodes and the place of a clip in its media file."""

from documents import clip, gap, span, time, timeline, track
from case import Case

NTSC_24 = 24000 / 1001
NTSC_30 = 30000 / 1001
NTSC_60 = 60000 / 1001
HOUR = 3600


def edit(rate, scale=1.0):
    """Four clips and a gap. A frame of 25 a second has @p scale values of the rate."""
    def frames(count):
        value = count * scale
        return value if value != int(value) else int(value)
    return track(clip("a.wav", frames(10), frames(33), rate), gap(frames(7), rate),
                 clip("b.wav", frames(61), frames(25), rate),
                 clip("c44.wav", frames(90), frames(41), rate),
                 clip("a.wav", frames(150), frames(19), rate))


def pictures(rate):
    return track(clip("tc.mov", 0, 100, rate), kind="Video", name="V")


def whole_rates():
    for rate in (24, 25, 30, 48, 50, 60, 120):
        yield Case(f"{rate} frames a second", timeline(edit(rate, rate / 25)))
    for name, rate in (("23.976", NTSC_24), ("23.98", 23.98), ("29.97", 29.97),
                       ("29.970", NTSC_30), ("59.94", NTSC_60)):
        yield Case(f"{name} frames a second", timeline(edit(rate, round(rate) / 25)))


def time_scales():
    yield Case("seconds at rate 1", timeline(edit(1.0, 0.0404)))
    yield Case("seconds at rate 1 with a picture track", timeline(pictures(24), edit(1.0, 0.0404)))
    yield Case("audio ranges at 48000", timeline(pictures(24), edit(48000, 1931)))
    yield Case("audio ranges at 44100", timeline(pictures(NTSC_30), edit(44100, 1771)))
    yield Case("audio ranges at 24000", timeline(pictures(NTSC_24), edit(24000, 977)))
    yield Case("milliseconds", timeline(edit(1000, 41)))
    yield Case("a video clock of 90000", timeline(pictures(25), edit(90000, 3611)))
    yield Case("fractions of frames", timeline(edit(25, 1.0137)))
    yield Case("fractions of frames at 23.976", timeline(edit(NTSC_24, 0.973)))


def mixed_rates():
    yield Case("a rate for each clip", timeline(track(
        clip("a.wav", 12, 31, 24), clip("b.wav", 40, 27, 25), clip("c44.wav", 55, 44, 30),
        clip("a.wav", 100, 25, NTSC_24), clip("b.wav", 2.5, 1.25, 1.0))))
    yield Case("a rate for each track", timeline(
        track(clip("a.wav", 12, 31, 24), gap(100, 24)),
        track(gap(40, 25), clip("b.wav", 61, 33, 25)),
        track(gap(5, 1.0), clip("c44.wav", 44100, 66150, 44100))))
    sick = clip("b.wav", 50, 25, 25)
    sick["source_range"] = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(50, 0),
                            "duration": time(25, None)}
    yield Case("a rate of 0 and a missing rate", timeline(track(
        clip("a.wav", 0, 25), sick, clip("c44.wav", 30, 25))), listed=("rate of the",))
    void = clip("b.wav", 0, 25)
    void["source_range"]["start_time"]["value"] = float("nan")
    yield Case("a start that is not a number",
               timeline(track(clip("a.wav", 20, 25), void, clip("c44.wav", 30, 25))),
               listed=("not finite",))


def starts():
    yield Case("global_start_time", timeline(edit(25), start=time(10 * HOUR * 25)))
    yield Case("drop-frame", timeline(
        track(clip("df.mov", 107892 + 30, 60, NTSC_30), clip("df.mov", 107892 + 150, 45, NTSC_30)),
        start=time(107892, NTSC_30)), listed=("guess",))
    yield Case("available_range with the timecode of the file", timeline(track(
        clip("a.wav", HOUR * 25 + 40, 50, 25, span(HOUR * 25, 200)),
        clip("b.wav", HOUR * 24 + 24, 48, 24, span(HOUR * 48000, 384000, 48000)))))
    yield Case("in-points at the timecode of a QuickTime file", timeline(track(
        clip("tc.mov", HOUR * 25 + 30, 40), clip("tc.mov", HOUR * 25 + 110, 40))),
        listed=("guess",))
    yield Case("in-points at the timecode of an MXF file", timeline(track(
        clip("tc.mxf", 10 * HOUR * 25 + 30, 40), clip("tc.mxf", 10 * HOUR * 25 + 110, 40))),
        listed=("guess",))
    yield Case("in-points at the time reference of a WAV file", timeline(track(
        clip("bwf.wav", HOUR * 48000 + 48000, 96000, 48000),
        clip("bwf.wav", 96000, 48000, 48000))), listed=("guess",))


def contradictions():
    yield Case("available_ranges that the timecode decides", timeline(track(
        clip("tc.mov", HOUR * 25 + 30, 40, 25, span(HOUR * 25, 200)),
        clip("tc.mov", HOUR * 25 + 110, 40, 25, span(0, 200)))), listed=("contradicts",))
    yield Case("available_ranges that nothing decides", timeline(track(
        clip("a.wav", 30, 40, 25, span(0, 200)),
        clip("a.wav", 1100, 40, 25, span(1000, 200)))), listed=("no timecode that decides",))
    yield Case("clips longer than their files", timeline(track(
        clip("a.wav", 170, 60), clip("b.wav", 150, 100), clip("c44.wav", 180, 40))),
        listed=("it asks for frames",))
    yield Case("in-points outside their files", timeline(track(
        clip("a.wav", 30, 40), clip("b.wav", 107992, 50), clip("c44.wav", 80, 40))),
        listed=("it asks for frames",))
    yield Case("in-points before their files", timeline(track(
        clip("a.wav", 20, 50, 25, span(40, 200)), clip("b.wav", 30, 40))),
        listed=("it asks for frames -20 to 30",))


def cases():
    for group in (whole_rates, time_scales, mixed_rates, starts, contradictions):
        yield from group()
