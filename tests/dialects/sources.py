# SPDX-License-Identifier: MIT
"""The stream and the channels of a clip, from its document. Channels are named by their numbers in
the sound code; None is silence."""

from media import AUDIO_EXTENSIONS


class NoSuchChannel(Exception):
    """The media file does not have the sound of the clip."""


def _of(document, *keys):
    for key in keys:
        if not isinstance(document, dict) or key not in document:
            return None
        document = document[key]
    return document


def active_reference(clip):
    references = clip.get("media_references")
    if references is None:
        return clip.get("media_reference") or {}
    for key in (clip.get("active_media_reference_key"), "DEFAULT_MEDIA", *sorted(references)):
        if key in references:
            return references[key]
    return {}


def _channel(media, stream, channel):
    """Both from 0. A stream of None counts channels through all streams."""
    if stream is None:
        everything = [number for each in media.streams for number in each]
        if channel >= len(everything):
            raise NoSuchChannel
        return everything[channel]
    if stream >= len(media.streams) or channel >= len(media.streams[stream]):
        raise NoSuchChannel
    return media.streams[stream][channel]


def _whole(media, stream=0):
    """Left and right of a stream of one or two channels."""
    _channel(media, stream, 0)
    return media.streams[stream][0], media.streams[stream][-1]


def _pair(places):
    return places[0], places[-1]


def _own(clip, track, media):
    own = dict(_of(track, "metadata", "sonrel") or {})
    own.update(_of(clip, "metadata", "sonrel") or {})
    if "stream" not in own and "channels" not in own:
        return None
    stream = own.get("stream", 1) - 1
    if "channels" not in own:
        return _whole(media, stream)
    sides = []
    for place in str(own["channels"]).removeprefix("mono:").split(","):
        if ":" in place:
            stream, place = int(place.split(":")[0]) - 1, place.split(":")[1]
        sides.append(_channel(media, stream, int(place) - 1) if place != "0" else None)
    return _pair(sides)


def _address(media, address, url):
    if address["OTIO_SCHEMA"].startswith("IndexStreamAddress"):
        if url.lower().endswith(AUDIO_EXTENSIONS):
            return _channel(media, None, address["index"])
        return _channel(media, address["index"] - media.pictures, 0)
    return _channel(media, address["stream_index"] - media.pictures, address["channel_index"])


def _stream_effects(clip, media):
    reference = active_reference(clip)
    effects = [e for e in clip.get("effects") or []
               if e["OTIO_SCHEMA"].split(".")[0] in ("StreamSelector", "StreamMapper")]
    streams = {name: info["address"] for name, info in
               (reference.get("available_streams") or {}).items() if info["kind"] == "Audio"}
    for effect in effects:
        if "output_streams" in effect:
            streams = {name: streams[name] for name in effect["output_streams"]}
        else:
            streams = {new: streams[old] for new, old in effect["stream_map"].items()}
    if not streams or (not effects and len(streams) > 2):
        return None
    names = ["stereo_left", "stereo_right"] if len(streams) == 2 else list(streams)
    return _pair([_address(media, streams[name], reference["target_url"]) for name in names])


def _resolve(clip, media):
    channels = _of(clip, "metadata", "Resolve_OTIO", "Channels")
    if not channels:
        return None
    return _pair([_channel(media, c["Source Track ID"], c["Source Channel ID"]) for c in channels])


def _premiere(clip, media):
    assigned = _of(clip, "metadata", "PremierePro_OTIO", "AudioChannels", "SecondaryAssignments")
    if not assigned:
        return None
    return _pair([_channel(media, None, a["SecondaryChannelIndex"]) for a in assigned])


def _stream_number(clip, media):
    for owner in (clip, active_reference(clip)):
        number = _of(owner, "metadata", "ffmpeg_audio_stream")
        if number is not None:
            return _whole(media, number)
    return None


def _source_track(clip, track, tracks, media):
    """FCP 7: a channel from 1. The halves of a stereo clip are on two tracks."""
    source = _of(clip, "metadata", "fcp_xml", "sourcetrack")
    if not source or source.get("mediatype") != "audio":
        return None
    index = int(source["trackindex"])
    channel = _channel(media, None, index - 1)
    other = str(index + 1 if index % 2 else index - 1)
    for candidate in tracks:
        if candidate is track:
            continue
        for item in candidate.get("children", []):
            if (_of(item, "metadata", "fcp_xml", "sourcetrack", "trackindex") == other
                    and item["source_range"] == clip["source_range"]):
                return (channel, None) if index % 2 else (None, channel)
    return channel, channel


def sound(clip, track, tracks, media):
    """The channels on the left and on the right. Raises NoSuchChannel."""
    return (_own(clip, track, media) or _stream_effects(clip, media) or _resolve(clip, media)
            or _premiere(clip, media) or _stream_number(clip, media)
            or _source_track(clip, track, tracks, media) or _whole(media))
