# SPDX-License-Identifier: MIT
"""A reference reader of OpenTimelineIO documents: which sound is played at which time. It is
written after the documentation and shares nothing with the program."""

import urllib.parse
from collections import Counter
from dataclasses import dataclass, replace
from fractions import Fraction

import sources

TOLERANCE = Fraction(1, 2000)  # seconds that a time may be off


@dataclass
class Play:
    """A part of a timeline on which a clip sounds, or would sound if its media file had sound."""
    name: str
    begin: Fraction  # seconds of the timeline
    end: Fraction
    start: Fraction  # seconds of the media file at the beginning
    speed: Fraction
    left: int | None  # numbers of the sound code; None is silence
    right: int | None
    media: object  # None where it is missing
    muted: bool
    blends: tuple = ()  # (begin, end) of transitions and fades

    def time_at(self, seconds):
        return self.start + (seconds - self.begin) * self.speed

    def is_silent(self):
        """Whether its media file has no sound for a part of it."""
        if self.media is None or (self.left is None and self.right is None):
            return True
        return (self.start < -TOLERANCE
                or self.time_at(self.end) > self.media.seconds + TOLERANCE * self.speed)


def schema(document):
    name = document["OTIO_SCHEMA"].split(".")[0]
    return {"Sequence": "Track", "Filler": "Gap"}.get(name, name)


def exact_rate(rate):
    for nominal in (24, 30, 48, 60, 120):
        exact = Fraction(nominal * 1000, 1001)
        if abs(Fraction(rate) - exact) < Fraction(5, 1000):
            return exact
    return Fraction(rate)


def extent(item):
    return item.get("source_range") or sources.active_reference(item).get("available_range")


class Reader:
    """Reads one document."""

    def __init__(self, document, media, *, kind="Audio", retime="otio", roots=()):
        self.media = media
        self.kind = kind
        self.retime = retime
        self.roots = roots
        self.fallback = Fraction(25)
        self.stack, self.document = self._stack_of(document)
        self.starts = self._range_starts(self.stack)

    # ---- the document

    @staticmethod
    def _stack_of(document):
        kind = schema(document)
        if kind == "SerializableCollection":
            document = next((c for c in document["children"] if schema(c) == "Timeline"),
                            {"OTIO_SCHEMA": "Stack.1", "children": document["children"]})
            return Reader._stack_of(document)
        if kind == "Timeline":
            return document["tracks"], document
        if kind == "Stack":
            return document, document
        return {"OTIO_SCHEMA": "Stack.1", "children": [document]}, document

    def _tracks(self, stack):
        """The children of a stack as tracks; None for a track of another kind."""
        for child in stack.get("children", []):
            if schema(child) != "Track":
                yield {"OTIO_SCHEMA": "Track.1", "kind": self.kind, "children": [child]}
            elif (child.get("kind") or "Video").lower() == self.kind.lower():
                yield child
            else:
                yield None

    # ---- times

    def seconds(self, time, rate=None):
        value = time.get("value") or 0
        if value != value:  # not a number
            value = 0
        own = time.get("rate") or 0
        return Fraction(value) / (exact_rate(own) if own > 0 else rate or self.fallback)

    def _rate_of(self, track):
        rates = Counter()
        for item in track.get("children", []):
            span = extent(item)
            if schema(item) != "Transition" and span and 0 < (span["duration"]["rate"] or 0) <= 240:
                rates[span["duration"]["rate"]] += 1
        return exact_rate(rates.most_common(1)[0][0]) if rates else self.fallback

    # ---- media

    def _file(self, clip):
        reference = sources.active_reference(clip)
        if schema(reference or {"OTIO_SCHEMA": ""}) != "ExternalReference":
            return None
        url = reference["target_url"]
        for old, new in self.roots:
            url = url.replace(old, new)
        name = urllib.parse.unquote(url).replace("\\", "/").rsplit("/", 1)[-1]
        return self.media.get(name)

    def _clips(self, stack):
        for track in self._tracks(stack):
            for item in (track or {}).get("children", []):
                if schema(item) == "Clip":
                    yield item
                elif schema(item) in ("Stack", "Track"):
                    yield from self._clips(self._as_stack(item))

    def _as_stack(self, item):
        if schema(item) == "Stack":
            return item
        return {"children": [{**item, "kind": item.get("kind") or self.kind}]}

    def _range_starts(self, stack):
        """For each file the starts of the available_ranges of its clips."""
        starts = {}
        for clip in self._clips(stack):
            span = sources.active_reference(clip).get("available_range")
            media = self._file(clip)
            if span and media is not None:
                starts.setdefault(media.name, []).append(self.seconds(span["start_time"]))
        return starts

    def _media_start(self, clip, media, in_point):
        """The time of the first frame of the media file, as the clip counts."""
        span = sources.active_reference(clip).get("available_range")
        clock = media.timecode if media is not None else None
        if span is None:
            outside = media is not None and not 0 <= in_point < media.seconds
            inside = clock is not None and clock <= in_point < clock + media.seconds
            return clock if outside and inside else Fraction(0)
        own = self.seconds(span["start_time"])
        known = self.starts.get(media.name, [own]) if media is not None else [own]
        contradicts = max(known) - min(known) > Fraction(42, 1000)
        if contradicts and clock is not None and clock <= in_point < clock + media.seconds:
            return clock
        return own

    # ---- what sounds

    def plays(self):
        tracks = list(self._tracks(self.stack))
        solo = any(self._is(t, "solo") or self._is(t, "SoloOn", "Resolve_OTIO")
                   for t in tracks if t)
        found = []
        for track in tracks:
            if track is None:
                continue
            silent = solo and not (self._is(track, "solo")
                                   or self._is(track, "SoloOn", "Resolve_OTIO"))
            plays = self._track(track, [t for t in tracks if t])
            plays = self._trimmed(plays, track.get("source_range"))
            plays = self._trimmed(plays, self.stack.get("source_range"))
            found += [replace(p, muted=p.muted or silent) for p in plays]
        return found

    @staticmethod
    def _is(document, key, owner="sonrel"):
        return bool(((document.get("metadata") or {}).get(owner) or {}).get(key))

    def _trimmed(self, plays, span):
        if not span or self.seconds(span["duration"]) <= 0:
            return plays
        begin = self.seconds(span["start_time"])
        return self._window(plays, begin, begin + self.seconds(span["duration"]), -begin, 1)

    @staticmethod
    def _window(plays, begin, end, offset, speed):
        """The parts between two times, which are moved and then played at a speed."""
        def move(time):
            return begin + offset + (time - begin) / speed

        kept = []
        for play in plays:
            cut = replace(play, begin=max(play.begin, begin), end=min(play.end, end))
            if cut.begin >= cut.end:
                continue
            cut.start = play.time_at(cut.begin)
            cut.blends = tuple((move(a), move(b)) for a, b in cut.blends)
            cut.begin, cut.end, cut.speed = move(cut.begin), move(cut.end), play.speed * speed
            kept.append(cut)
        return kept

    def _speed(self, item):
        speed = Fraction(1)
        for effect in item.get("effects") or []:
            if schema(effect) == "LinearTimeWarp" and effect.get("enabled", True):
                speed *= Fraction(effect["time_scalar"])
            elif schema(effect) == "FreezeFrame":
                return Fraction(0)
        return speed

    def _is_muted(self, item):
        return (self._is(item, "muted") or item.get("enabled") is False or self._speed(item) <= 0)

    def _track(self, track, tracks, is_inner=False):
        rate = self._rate_of(track)
        muted = self._is(track, "muted") or track.get("enabled") is False
        position, plays, last, pending = Fraction(0), [], None, None
        for item in track.get("children", []):
            if schema(item) == "Transition":
                pending = None if is_inner else (
                    self.seconds(item["in_offset"], rate),
                    self.seconds(item["out_offset"], rate), last)
                continue
            length, play = self._item(item, position, rate, track, tracks)
            if pending:
                self._blend(pending, play, position)
            plays += play
            last, pending = play, None
            position += length
        if pending:
            self._blend(pending, [], position)
        return [replace(p, muted=p.muted or muted) for p in plays]

    @staticmethod
    def _blend(transition, after, join):
        before_join, after_join, before = transition
        before_join = before_join if before else 0
        after_join = after_join if after else 0
        span = (join - before_join, join + after_join)
        for play in before or []:
            play.end += after_join
            play.blends += (span,)
        for play in after:
            play.start -= before_join * play.speed
            play.begin -= before_join
            play.blends += (span,)

    def _item(self, item, position, rate, track, tracks):
        """The length of an item, and what sounds."""
        kind = schema(item)
        inner = self._inner(item) if kind in ("Stack", "Track") else None
        span = extent(item) if kind != "Gap" else item.get("source_range")
        length = self.seconds(span["duration"], rate) if span else inner[0] if inner else 0
        start = self.seconds(span["start_time"], rate) if item.get("source_range") else Fraction(0)
        speed = self._speed(item)
        if self.retime == "media" and speed > 0:
            length /= speed
        if kind == "Clip" and span:
            return length, [self._clip(item, position, length, start, speed, track, tracks)]
        if inner:
            plays = self._window(inner[1], start, start + length * speed, position - start, speed)
            return length, [replace(p, muted=p.muted or self._is_muted(item)) for p in plays]
        return length, []

    def _inner(self, item):
        """The length of the longest track of a nested item, and what sounds in it."""
        longest, plays = Fraction(0), []
        stack = self._as_stack(item)
        for child, track in zip(stack["children"], self._tracks(stack)):
            rate = self._rate_of(child)
            total = sum((self._item(each, Fraction(0), rate, child, [child])[0]
                         for each in child.get("children", [])
                         if schema(each) != "Transition"), Fraction(0))
            longest = max(longest, total)
            if track is not None:
                plays += self._track(track, [track], is_inner=True)
        return longest, plays

    def _clip(self, clip, position, length, start, speed, track, tracks):
        media = self._file(clip)
        if clip.get("source_range"):
            start -= self._media_start(clip, media, start)
        try:
            left, right = sources.sound(clip, track, tracks, media) if media else (None, None)
        except sources.NoSuchChannel:
            left = right = None
        return Play(clip.get("name") or "", position, position + length, start,
                    speed if speed > 0 else Fraction(1), left, right, media,
                    self._is_muted(clip))
