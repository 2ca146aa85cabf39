# SPDX-License-Identifier: MIT
"""Dialects of streams and channels, one for each program that writes them."""

from documents import clip, gap, stack, timeline, track
from case import Case


def sources(pairs):
    return {"Resolve_OTIO": {"Channels": [
        {"Source Track ID": stream, "Source Channel ID": channel} for stream, channel in pairs]}}


def assignments(numbers):
    return {"PremierePro_OTIO": {"AudioChannels": {"SecondaryAssignments": [
        {"SecondaryChannelIndex": number} for number in numbers]}}}


def fcp(index, kind="audio"):
    return {"fcp_xml": {"sourcetrack": {"mediatype": kind, "trackindex": str(index)}}}


def resolve():
    yield Case("eight tracks on eight streams", timeline(*[
        track(gap(20 * n), clip("tc.mxf", 20 + 10 * n, 20, metadata=sources([(n, 0)])))
        for n in range(8)]))
    yield Case("two streams as left and right", timeline(track(
        clip("tc.mov", 20, 50, metadata=sources([(2, 0), (1, 0)])),
        clip("poly.wav", 80, 50, metadata=sources([(0, 5), (0, 2)])))))


def premiere():
    yield Case("channels counted through all streams", timeline(track(
        clip("tc.mxf", 20, 40, metadata=assignments([6])),
        clip("tc.mov", 20, 40, metadata=assignments([3, 0])),
        clip("poly.wav", 80, 40, metadata=assignments([1])))))


def numbers():
    of_media = clip("tc.mov", 70, 40)
    of_media["media_reference"]["metadata"] = {"ffmpeg_audio_stream": 2}
    yield Case("a stream number", timeline(track(
        clip("e.mkv", 20, 40, metadata={"ffmpeg_audio_stream": 1}), of_media)))


def own():
    def sonrel(**values):
        return {"sonrel": values}
    yield Case("metadata of Sonrel", timeline(track(
        clip("tc.mxf", 20, 30, metadata=sonrel(stream=4)),
        clip("poly.wav", 50, 30, metadata=sonrel(channels="7,0")),
        clip("poly.wav", 90, 30, metadata=sonrel(channels=3)),
        clip("tc.mov", 60, 30, metadata=sonrel(channels="4:1,2:1")))))
    yield Case("metadata of Sonrel on a track", timeline(track(
        clip("tc.mxf", 20, 40), clip("tc.mov", 90, 40, metadata=sonrel(stream=1)),
        metadata=sonrel(stream=3))))


def exploded():
    def half(index, start):
        return clip("b.wav", start, 50, metadata=fcp(index))
    yield Case("exploded stereo", timeline(
        track(half(1, 20), gap(5), half(1, 90)), track(half(2, 20), gap(5), half(2, 90))))
    yield Case("source tracks without a second half", timeline(track(
        clip("poly.wav", 20, 50, metadata=fcp(4)), clip("tc.mxf", 70, 50, metadata=fcp(5)))))


def _streams(**addresses):
    return {name: {"OTIO_SCHEMA": "StreamInfo.1", "kind": "Audio", "address": address}
            for name, address in addresses.items()}


def _index(number):
    return {"OTIO_SCHEMA": "IndexStreamAddress.1", "index": number}


def _place(stream, channel):
    return {"OTIO_SCHEMA": "StreamChannelIndexStreamAddress.1", "stream_index": stream,
            "channel_index": channel}


def mappings():
    stereo = clip("e.mkv", 20, 40)
    stereo["media_reference"]["available_streams"] = _streams(
        stereo_left=_place(1, 0), stereo_right=_place(2, 0))
    picked = clip("tc.mxf", 70, 40, effects=[
        {"OTIO_SCHEMA": "StreamSelector.1", "output_streams": ["boom"]}])
    picked["media_reference"]["available_streams"] = _streams(
        lead=_index(2), boom=_index(6), music=_index(8))
    mapped = clip("poly.wav", 120, 40, effects=[
        {"OTIO_SCHEMA": "StreamMapper.1",
         "stream_map": {"stereo_left": "b", "stereo_right": "a"}}])
    mapped["media_reference"]["available_streams"] = _streams(
        a=_index(3), b=_index(6), c=_index(0))
    yield Case("stream mappings", timeline(track(stereo, picked, mapped)))


def faults():
    yield Case("streams and channels that do not exist", timeline(track(
        clip("tc.mov", 20, 40, metadata=sources([(7, 0)])),
        clip("poly.wav", 20, 40, metadata={"sonrel": {"channels": "9"}}),
        clip("b.wav", 80, 40))), listed=("no audio stream 8", "no channel 9"))
    yield Case("mappings that contradict each other", timeline(track(
        clip("tc.mov", 20, 60, metadata={**sources([(1, 0)]), "ffmpeg_audio_stream": 3}))),
        listed=("contradicts",))
    yield Case("channels in a nested stack", timeline(track(gap(10), stack(track(
        clip("tc.mxf", 20, 40, metadata=sources([(3, 0)])),
        clip("tc.mxf", 90, 40, metadata=assignments([7])))))))


def cases():
    for group in (resolve, premiere, numbers, own, exploded, mappings, faults):
        yield from group()
