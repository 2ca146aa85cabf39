# SPDX-License-Identifier: MIT
"""Parts of OpenTimelineIO documents. Times count values of their rate."""

import itertools

_names = itertools.count(1)


def time(value, rate=25):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": rate}


def span(start, duration, rate=25):
    return {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(start, rate),
            "duration": time(duration, rate)}


def file(url, available=None):
    reference = {"OTIO_SCHEMA": "ExternalReference.1", "target_url": url}
    if available:
        reference["available_range"] = available
    return reference


def clip(url, start, duration, rate=25, available=None, metadata=None, effects=(), **more):
    """A clip with a unique name."""
    return {"OTIO_SCHEMA": "Clip.1", "name": f"c{next(_names)}",
            "source_range": span(start, duration, rate),
            "media_reference": file(url, available), "metadata": metadata or {},
            "effects": list(effects), **more}


def gap(duration, rate=25):
    return {"OTIO_SCHEMA": "Gap.1", "source_range": span(0, duration, rate)}


def track(*children, kind="Audio", name="A", metadata=None, **more):
    return {"OTIO_SCHEMA": "Track.1", "name": name, "kind": kind, "metadata": metadata or {},
            "children": list(children), **more}


def stack(*children, **more):
    return {"OTIO_SCHEMA": "Stack.1", "name": "stack", "children": list(children), **more}


def timeline(*tracks, start=None, metadata=None, **more):
    document = {"OTIO_SCHEMA": "Timeline.1", "name": "edit", "metadata": metadata or {},
                "tracks": stack(*tracks, **more)}
    if start:
        document["global_start_time"] = start
    return document


def dissolve(before, after, rate=25):
    return {"OTIO_SCHEMA": "Transition.1", "transition_type": "SMPTE_Dissolve",
            "in_offset": time(before, rate), "out_offset": time(after, rate)}


def warp(speed, **more):
    return {"OTIO_SCHEMA": "LinearTimeWarp.1", "time_scalar": speed, **more}
