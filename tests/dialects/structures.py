# SPDX-License-Identifier: MIT
"""Dialects of structure: nesting, trims, transitions, speeds, mutes, and names of files."""

from documents import clip, dissolve, file, gap, span, stack, timeline, track, warp
from case import Case


def pair():
    return track(clip("a.wav", 10, 40), clip("b.wav", 60, 50), gap(5), clip("c44.wav", 100, 30))


def tops():
    yield Case("a stack as the top", stack(pair(), track(gap(150), clip("d.flac", 20, 40))))
    yield Case("a track as the top", pair())
    yield Case("a clip as the top", {**clip("a.wav", 20, 100)})
    yield Case("a collection", {"OTIO_SCHEMA": "SerializableCollection.1", "name": "bin",
                                "children": [timeline(pair()), timeline(track(gap(900)))]},
               listed=("only the first timeline",))
    old = pair()
    old["OTIO_SCHEMA"] = "Sequence.1"
    old["children"][2]["OTIO_SCHEMA"] = "Filler.1"
    old["children"][0]["OTIO_SCHEMA"] = "Clip.99"
    yield Case("old schema names and new versions", timeline(old))
    strange = {"OTIO_SCHEMA": "Marvel.3", "name": "m", "source_range": span(0, 20)}
    yield Case("an unknown item", timeline(track(
        clip("a.wav", 10, 40), strange, clip("b.wav", 60, 40))), listed=("unknown 'Marvel'",))


def nesting():
    inner = track(clip("a.wav", 20, 60), clip("b.wav", 80, 60))
    yield Case("a nested stack with an in-point", timeline(track(
        gap(20), {**stack(inner, source_range=span(25, 70)), "name": "scene"},
        clip("c44.wav", 50, 30))))
    yield Case("a nested track in a nested stack", timeline(track(
        clip("c44.wav", 10, 20),
        stack(track(gap(10), track(clip("a.wav", 30, 80), source_range=span(20, 50)))),
        clip("b.wav", 100, 20))))
    yield Case("a nested stack at double speed", timeline(track(
        stack(inner, source_range=span(10, 50), effects=[warp(2.0)]), clip("c44.wav", 50, 30))))
    yield Case("a clip beyond its file in a nested stack", timeline(track(
        stack(track(clip("a.wav", 170, 60)), source_range=span(10, 40)),
        clip("b.wav", 80, 30))), listed=("it asks for frames",))
    yield Case("trims of a track and of the stack", timeline(
        {**pair(), "source_range": span(20, 110)},
        track(gap(90), clip("d.flac", 40, 60)), source_range=span(15, 100)))


def transitions():
    yield Case("dissolves", timeline(track(
        clip("a.wav", 20, 50), dissolve(10, 14), clip("d.flac", 100, 60), dissolve(0, 12),
        clip("c44.wav", 60, 40))))
    yield Case("fades from and to silence", timeline(track(
        gap(10), dissolve(0, 15), clip("a.wav", 20, 60), dissolve(12, 0), gap(20),
        clip("b.wav", 90, 30))))
    yield Case("a dissolve beyond the media file", timeline(track(
        clip("a.wav", 160, 40), dissolve(10, 20), clip("d.flac", 60, 50))),
        listed=("it asks for frames",))


def speeds():
    def at(speed, url="a.wav", start=20, duration=40):
        return clip(url, start, duration, effects=[warp(speed)])
    children = [at(2.0), at(0.5, "b.wav", 80), at(1.25, "c44.wav", 30), at(0.999, "a.wav", 130)]
    yield Case("time warps", timeline(track(*children)))
    yield Case("time warps whose duration is that of the media", timeline(track(*children)),
               options=("--retime", "media"), reading={"retime": "media"})
    two = clip("a.wav", 20, 60, effects=[warp(2.0), warp(0.75), warp(3.0, enabled=False)])
    yield Case("two time warps and a disabled one", timeline(track(two, clip("b.wav", 80, 30))))
    yield Case("reversed and frozen clips", timeline(track(
        at(-1.0), clip("b.wav", 60, 40),
        clip("c44.wav", 10, 30, effects=[{"OTIO_SCHEMA": "FreezeFrame.1", "time_scalar": 0}]))),
        listed=("reversed", "freeze"))


def mutes():
    off = clip("b.wav", 60, 50, enabled=False)
    quiet = clip("c44.wav", 60, 30, metadata={"sonrel": {"muted": True}})
    yield Case("disabled and muted clips", timeline(track(clip("a.wav", 10, 40), off, quiet,
                                                          clip("a.wav", 120, 30))))
    yield Case("disabled and muted tracks", timeline(
        {**track(clip("a.wav", 10, 90)), "enabled": False},
        track(clip("b.wav", 60, 90), metadata={"sonrel": {"muted": True}}),
        track(gap(20), clip("c44.wav", 80, 60))))
    yield Case("solo", timeline(
        track(clip("a.wav", 10, 90)),
        track(clip("b.wav", 60, 90), metadata={"Resolve_OTIO": {"SoloOn": True}})))


def sounding_kinds():
    shot = clip("e.mkv", 30, 60)
    yield Case("picture tracks only", timeline(track(
        shot, clip("df.mov", 90, 60), kind="Video", name="V1")),
        options=("--audio-from", "video"), reading={"kind": "Video"})
    yield Case("picture tracks only, without an option", timeline(track(
        clip("e.mkv", 30, 60), clip("df.mov", 90, 60), kind="Video", name="V1")),
        reading={"kind": "Video"})
    yield Case("kinds in lower case", timeline(
        track(clip("e.mkv", 30, 90), kind="video", name="V1"),
        track(gap(10), clip("a.wav", 90, 60), kind="audio")))
    yield Case("sound and picture tracks", timeline(
        track(clip("e.mkv", 30, 90), kind="Video", name="V1"),
        track(gap(10), clip("a.wav", 90, 60))), listed=("video track",))


def urls(folder):
    path = str(folder / "my take 100%.wav")
    quoted = path.replace("%", "%25").replace(" ", "%20")
    forms = {"an absolute path": path, "a relative path": "my take 100%.wav",
             "a relative URL": "my%20take%20100%25.wav", "a file URL": "file://" + quoted,
             "a file URL with localhost": "file://localhost" + quoted,
             "a file URL with one slash": "file:" + quoted}
    for name, url in forms.items():
        yield Case(name, timeline(track(clip(url, 40, 50), clip(url, 120, 50))))
    drive = clip(r"D:\footage\a.wav", 20, 60)
    yield Case("a path of another system", timeline(track(drive, clip("b.wav", 80, 50))),
               options=("--media-root", f"D:/footage={folder}"))
    several = clip("a.wav", 20, 60)
    several["media_references"] = {"DEFAULT_MEDIA": file("b.wav"), "proxy": file("d.flac")}
    several["active_media_reference_key"] = "proxy"
    yield Case("several media references", timeline(track(several, clip("b.wav", 80, 50))))
    yield Case("missing media", timeline(track(
        clip("gone.wav", 20, 60), clip("b.wav", 80, 50), clip("http://x/y.wav", 0, 30))),
        options=("--allow-missing",), listed=("missing",))
    lost = clip("c44.wav", 20, 60)
    lost["media_references"] = {"DEFAULT_MEDIA": file("b.wav"), "proxy": file("d.flac")}
    lost["active_media_reference_key"] = "full"
    yield Case("an active media reference that does not exist", timeline(track(lost)))
    yield Case("a URL without a path", timeline(track(clip("file://a.wav", 20, 60))))
    yield Case("an archive", timeline(track(
        clip("media/a.wav", 20, 60), clip("media/b.wav", 80, 50))), extension=".otioz")
    yield Case("a folder of a timeline", timeline(track(clip("../a.wav", 20, 60))),
               extension=".otiod")


def cases(folder):
    for group in (tops, nesting, transitions, speeds, mutes, sounding_kinds):
        yield from group()
    yield from urls(folder)
