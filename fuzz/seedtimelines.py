# SPDX-License-Identifier: MIT
"""Timelines with all parts that the reader imports, refuses or skips."""

import json

# The last bytes of an input choose options; these take none.
CHOICE_BYTES = 16
NO_OPTIONS = b"\x0f" * (CHOICE_BYTES - 3) + b"\x00\x0f\x0f"

NUMBERS = ("0", "-1", "2147483647", "2147483648", "9223372036854775808", "1e30", "0.5", "5e-324",
           "1e308", "1e400", "NaN", "-Infinity", "null", "true", '"24"', "[]", "{}")


def time(value, rate=25):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": rate}


def span(start, duration, rate=25):
    return {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(start, rate),
            "duration": time(duration, rate)}


def clip(start=0, duration=10, url="a.wav", **more):
    reference = {"OTIO_SCHEMA": "ExternalReference.1", "target_url": url,
                 "available_range": span(0, 1000)}
    return {"OTIO_SCHEMA": "Clip.1", "name": "take", "source_range": span(start, duration),
            "media_reference": reference, "metadata": {}, "effects": [], **more}


def ours(values, **more):
    return clip(metadata={"sonrel": values}, **more)


def gap(duration):
    return {"OTIO_SCHEMA": "Gap.1", "name": "", "source_range": span(0, duration)}


def dissolve(before, after, **more):
    return {"OTIO_SCHEMA": "Transition.1", "name": "x", "transition_type": "SMPTE_Dissolve",
            "in_offset": time(before), "out_offset": time(after), **more}


def warp(speed):
    return {"OTIO_SCHEMA": "LinearTimeWarp.1", "effect_name": "warp", "time_scalar": speed}


def track(*children, kind="Audio", **more):
    return {"OTIO_SCHEMA": "Track.1", "name": "A1", "kind": kind, "children": list(children),
            **more}


def stack(*children, **more):
    return {"OTIO_SCHEMA": "Stack.1", "name": "nest", "children": list(children), **more}


def timeline(*tracks, metadata=None, **more):
    return {"OTIO_SCHEMA": "Timeline.1", "name": "edit", "global_start_time": None,
            "metadata": metadata or {}, "tracks": stack(*tracks, **more)}


def effects():
    parameters = (("gain", {"gainDb": -6}), ("delay", {"delayMs": 80, "taps": 3, "levelDb": -9}),
                  ("low-pass", {"frequencyHz": 400, "q": 2}), ("high-pass", {}),
                  ("fade", {"inFrames": 2, "curve": "linear"}), ("fade", {"curve": "round"}),
                  ("gain", {"gainDb": 1000}), ("gain", {"loud": 1}), ("none", {}), ("", {}))
    requests = [{"plugin": name, "parameters": values} for name, values in parameters]
    requests += [{"plugin": "gain", "parameters": value} for value in (None, 1, {"gainDb": []})]
    requests.append({"plugin": "gain", "enabled": False})
    yield ours({"effects": requests, "fadeIn": 2, "fadeOut": 3, "fadeCurve": "db"})
    yield ours({"effects": 1, "fadeIn": -1, "fadeOut": "x", "fadeCurve": "x", "muted": True,
                "audioLevel": [[40, -6], [0, 3], ["x", 1], [1]], "other": 1})
    for effect in (warp(2), warp(0.5), warp(0), warp(-1), warp(1e9), warp(None),
                   {"OTIO_SCHEMA": "FreezeFrame.1"}, {"OTIO_SCHEMA": "TimeEffect.1"},
                   {"OTIO_SCHEMA": "Effect.1", "name": "other"},
                   {"OTIO_SCHEMA": "Effect.1", "enabled": False}):
        yield clip(effects=[effect])


def foreign():
    volume = {"Parameter ID": "volume", "Key Frames": {"0": {"Value": -3}, "5": -9, "x": 1}}
    plain = {"Parameter ID": "volume", "Parameter Value": -4}
    fades = [{"Parameter ID": name, "Parameter Value": value}
             for name, value in (("faderIn", 3), ("faderOut", 2), ("faderIn", "x"), ("pan", 1))]
    name = "Fairlight Clip Volume and Fades"
    for parameters in ([volume] + fades, [plain], [], None):
        metadata = {"Resolve_OTIO": {"Effect Name": name, "Enabled": True,
                                     "Parameters": parameters}}
        yield clip(effects=[{"OTIO_SCHEMA": "Effect.1", "metadata": metadata}])
    for streams in ((0, 0), (1, 0), (0, 1), (-1, 0), ("x", 0)):
        channels = [{"Source Track ID": stream, "Source Channel ID": channel}
                    for channel, stream in enumerate(streams)]
        yield clip(metadata={"Resolve_OTIO": {"Channels": channels}})


def references():
    for url in ("/media/b.wav", "file:///media/c%20d.wav", "file://localhost/e.wav", "file:/f.wav",
                "http://example.com/g.wav", "file://other/h.wav", "D:/i.wav", "j%zz.wav", "", "%"):
        yield clip(url=url)
    for schema in ("MissingReference.1", "GeneratorReference.1", "Other.1", "X"):
        yield clip(media_reference={"OTIO_SCHEMA": schema, "available_range": span(5, 10)})
    images = {"OTIO_SCHEMA": "ImageSequenceReference.1", "target_url_base": "images/",
              "name_prefix": "p", "name_suffix": ".png", "start_frame": 1}
    yield clip(media_reference=images)
    yield clip(media_reference=None, source_range=None)
    yield clip(media_references={"DEFAULT_MEDIA": None, "b": clip()["media_reference"]},
               active_media_reference_key="b")
    yield clip(markers=[{"OTIO_SCHEMA": "Marker.2"}])
    yield {"OTIO_SCHEMA": "SerializableObjectRef.1", "id": "x"}
    yield {"OTIO_SCHEMA": "Nonsense.9", "source_range": span(0, 2)}


def joins():
    yield clip(), dissolve(2, 3), clip(5), dissolve(1, 1, metadata={"sonrel": {"curve": "db"}})
    yield dissolve(0, 4), clip(), gap(5), dissolve(1, 2), clip(3), dissolve(2, 0)
    yield clip(enabled=False), dissolve(2, 2), clip(), dissolve(1, 1), dissolve(1, 1), clip()
    yield clip(0, 3), dissolve(3, 3), clip(0, 2), dissolve(2, 2), clip(0, 3), gap(1), gap(2)
    yield dissolve(0, 0), gap(1), dissolve(1, 1), gap(2), dissolve(-1, 0.1), clip()
    yield dissolve(0, 5), clip(effects=[warp(2)]), dissolve(5, 5, transition_type="other"), clip()


def nests():
    inner = track(clip(), gap(3), clip(2), kind="Audio")
    pictures = track(clip(0, 40), kind="Video")
    yield stack(inner, pictures, clip(), source_range=span(1, 8), effects=[warp(2)])
    yield stack(stack(stack(inner)), track(stack(inner, enabled=False), kind="Data"))
    yield track(clip(), dissolve(2, 2), clip(), kind="", metadata={"sonrel": {"solo": True}})
    yield track(clip(), kind="Video", source_range=span(0, 4))
    yield stack(track(clip(), metadata={"sonrel": {"muted": True, "stereoBalance": 0.5}}))


def tracks():
    values = {"audioLevel": -6, "stereoBalance": -0.5, "muted": False, "solo": True, "other": 1}
    yield track(clip(), metadata={"sonrel": values, "Resolve_OTIO": {"SoloOn": True}})
    yield track(clip(), source_range=span(2, 5), enabled=False, effects=[warp(2)])
    yield track(clip(), metadata={"sonrel": {"stereoBalance": 7, "audioLevel": [[0, 0], [9, 6]]}})
    yield track(clip(), kind="Video")
    yield track(clip(), kind="Data")
    yield clip()


def edit():
    levels = {"sonrel": {"masterLevel": [[0, -3], [400, 0]], "frameRate": 25, "sampleRate": 48000}}
    return timeline(track(*effects()), track(*foreign()), track(*references()),
                    *(track(*join) for join in joins()), track(*nests()), *tracks(),
                    metadata=levels)


def short():
    """A timeline of the recording that every command has next to it."""
    joined = track(clip(0, 2, "tone.wav"), dissolve(1, 1), clip(0, 2, "tone.wav"))
    nested = track(stack(track(ours({"effects": [{"plugin": "gain"}]}, url="tone.wav"))))
    return json.dumps(timeline(joined, nested, track(clip()))).encode()


def unusual():
    """Rare parts."""
    deep = track(clip())
    for _ in range(9):
        deep = stack(deep, name="a nested item with a name of more than sixty letters, \u00e4" * 2)
    yield "deep-names", timeline(track(deep))
    yield "named", timeline(track(stack(track(stack(track(clip()), name="in")), name="out")))
    yield "several", {"OTIO_SCHEMA": "SerializableCollection.1",
                      "children": [timeline(track(clip())), timeline(), clip()]}
    yield "no-stack", {"OTIO_SCHEMA": "Timeline.1", "tracks": None}
    yield "no-schema", {"name": "x"}
    yield "keys", timeline(track(ours({"audioLevel": [[1e300, 0], [0, 1]]})),
                           metadata={"sonrel": {"other": 1}})
    fades = ours({"fadeIn": 8, "fadeOut": 8})
    yield "cut-fades", timeline(track(fades, dissolve(1, 1, metadata={"sonrel": {"x": 1}}), fades,
                                      source_range=span(3, 9)))
    yield "cut-join", timeline(track(clip(), dissolve(2, 2), clip(), source_range=span(12, 5)))
    yield "disabled", timeline(track(clip(), dissolve(2, 2, enabled=False), clip(), enabled="x"))
    late = clip()
    late["media_reference"]["available_range"] = span(4, 100)
    yield "early", timeline(track(late, clip(2000000000), clip(0, 5, enabled=1)))
    yield "half-frames", timeline(track(clip(0, 0.5), clip(0.5, 0.5)))
    yield "far", timeline(track(clip()), source_range=span(1e300, 5))
    yield "long-join", timeline(track(clip(0, 2e9), dissolve(1e9, 1e9), clip(0, 1e9)))
    swapped = [{"Source Track ID": 0, "Source Channel ID": channel} for channel in (1, 0)]
    yield "swapped", timeline(track(clip(metadata={"Resolve_OTIO": {"Channels": swapped}})))
    yield "bare-effect", timeline(track(clip(effects=[{"OTIO_SCHEMA": "Other.1"}])))


def documents():
    yield from unusual()
    yield "edit", edit()
    for number, group in enumerate((effects, foreign, references, nests, tracks)):
        for index, item in enumerate(group()):
            yield f"item{number}-{index}", timeline(track(item))
    for index, join in enumerate(joins()):
        yield f"join{index}", timeline(track(*join))
    yield "trimmed", timeline(track(clip(), clip()), source_range=span(4, 9))
    for name, top in (("stack", stack(track(clip()))), ("track", track(clip())), ("clip", clip()),
                      ("gap", gap(3))):
        yield name, top
        yield f"list-{name}", {"OTIO_SCHEMA": "SerializableCollection.1", "children": [top]}
    yield "old", {"OTIO_SCHEMA": "Sequence.1", "kind": "Audio",
                  "children": [{"OTIO_SCHEMA": "Filler.1", "source_range": span(0, 3)}, clip()]}
    yield "rates", timeline(track(clip()), metadata={"sonrel": {"frameRate": 0, "sampleRate": "x",
                                                                "masterLevel": {}}})
    yield "ratio", timeline(track(clip()), metadata={"sonrel": {"frameRate": 0.4}})


def texts():
    plain = json.dumps(timeline(track(clip())))
    for number, value in enumerate(NUMBERS):
        yield f"rate{number}", plain.replace('"rate": 25', f'"rate": {value}')
        yield f"value{number}", plain.replace('"value": 10', f'"value": {value}')
        yield f"children{number}", plain.replace('"children": [', f'"children": {value}, "x": [', 1)
    yield "cut", plain[:-9]
    yield "twice", plain + plain
    yield "mark", "\ufeff" + plain
    yield "deep", "[" * 1100
    yield "broken", '{"OTIO_SCHEMA": NaNo}'
    yield "lines", '{\n"a": -NaN,\n"b": nul}'


def timelines(examples):
    """Names and inputs."""
    for name, document in documents():
        yield name, json.dumps(document).encode() + NO_OPTIONS
    for name, text in texts():
        yield name, text.encode() + NO_OPTIONS
    for path in sorted(examples.glob("*.otio")):
        yield path.stem, path.read_bytes() + NO_OPTIONS
    for number in range(8):
        options = bytes(CHOICE_BYTES - 3) + bytes((number, number % 5, 4 - number % 5))
        yield f"options{number}", json.dumps(edit()).encode() + options
