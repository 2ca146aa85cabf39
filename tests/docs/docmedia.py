# SPDX-License-Identifier: MIT
"""The media files and timelines of the pages, made of recordings of Debian's alsa-utils and
sonic-pi-samples.

    take.flac                   ten seconds of words
    dialogue.wav, music.wav     twelve seconds each
    camera.mp4, recorder.wav    one event; the camera starts four seconds after the recorder
    poly.wav, take.mxf          four channels; three streams
    edit.otio                   the tracks Dialogue and Music, with both files
    edit.otioz                  this timeline with both files
    drafts/rough-cut.otio       a clip that is too long, and one without its file
    reels/                      two such timelines
    day/                        two cameras, a recorder and a note
"""

import json
import shutil
import subprocess
import zipfile

WORDS = "/usr/share/sounds/alsa/{}.wav"
LOOPS = "/usr/share/sonic-pi/samples/{}.flac"
SPOKEN = ["Front_Left", "Front_Right", "Front_Center", "Rear_Left", "Rear_Right", "Rear_Center",
          "Side_Left", "Side_Right"]
PLAYED = ["loop_garzul", "loop_mika"]
FPS = 25


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *map(str, arguments)], check=True)


def make(folder):
    """Makes all files in a new folder."""
    folder.mkdir(parents=True)
    inputs = [part for name in SPOKEN for part in ("-i", WORDS.format(name))]
    inputs += [part for name in PLAYED for part in ("-i", LOOPS.format(name))]
    joined = "".join(f"[{number}]" for number in range(len(SPOKEN)))
    rest = "".join(f"[{number}]" for number in range(len(SPOKEN), len(SPOKEN) + len(PLAYED)))
    ffmpeg(*inputs, "-filter_complex",
           f"{joined}concat=n={len(SPOKEN)}:v=0:a=1,aformat=sample_rates=48000:"
           "channel_layouts=stereo,apad=whole_dur=12,asplit[words][take];"
           f"{rest}concat=n={len(PLAYED)}:v=0:a=1,atrim=end=12,volume=-9dB[music]",
           "-map", "[words]", folder / "dialogue.wav",
           "-map", "[take]", "-t", "10", folder / "take.flac",
           "-map", "[music]", folder / "music.wav")
    shutil.copy(folder / "dialogue.wav", folder / "recorder.wav")
    make_recordings(folder)
    write_timeline(folder / "edit.otio", "edit", "", [100, 125])
    write_archive(folder / "edit.otioz")
    (folder / "drafts").mkdir()
    write_rough_cut(folder / "drafts/rough-cut.otio")
    (folder / "reels").mkdir()
    for number, cut in ((1, 100), (2, 75)):
        write_timeline(folder / f"reels/reel-{number}.otio", f"reel {number}", "../", [cut, 75])


def make_recordings(folder):
    """The files with pictures or with several streams, and the day of shooting."""
    sound = folder / "dialogue.wav"
    picture = ("-f", "lavfi", "-i", f"color=gray:size=64x64:rate={FPS}")
    film = ("-map", "0:v", "-map", "1:a", "-c:v", "mpeg4", "-c:a", "aac", "-shortest")
    (folder / "day").mkdir()
    ffmpeg(*picture, "-ss", "4", "-i", sound, "-ss", "2", "-t", "6", "-i", sound,
           *film, folder / "camera.mp4", *film, folder / "day/A001.mp4",
           "-map", "0:v", "-map", "2:a", *film[4:], folder / "day/B001.mp4",
           "-map", "0:v", "-map", "1:a", "-map", "2:a", "-map", "1:a", "-c:v", "mpeg2video",
           "-c:a", "pcm_s16le", "-ar", "48000", "-t", "4", folder / "take.mxf")
    ffmpeg("-i", sound, "-i", folder / "music.wav", "-filter_complex", "[0][1]amerge", "-t", "4",
           folder / "poly.wav")
    shutil.copy(sound, folder / "day/recorder.wav")
    (folder / "day/notes.txt").write_text("scene 7, take 1\n")


def time(value):
    return {"OTIO_SCHEMA": "RationalTime.1", "value": value, "rate": FPS}


def clip(name, url, start, frames):
    span = {"OTIO_SCHEMA": "TimeRange.1", "start_time": time(start), "duration": time(frames)}
    return {"OTIO_SCHEMA": "Clip.1", "name": name, "source_range": span,
            "media_reference": {"OTIO_SCHEMA": "ExternalReference.1", "target_url": url}}


def track(name, clips):
    return {"OTIO_SCHEMA": "Track.1", "name": name, "kind": "Audio", "children": clips}


def write_document(path, name, tracks):
    stack = {"OTIO_SCHEMA": "Stack.1", "name": "tracks", "children": tracks}
    path.write_text(json.dumps({"OTIO_SCHEMA": "Timeline.1", "name": name, "tracks": stack}))


def write_timeline(path, name, folder, lengths):
    """Clips of the dialogue with these lengths, and one clip of the music below all of them."""
    words = []
    for number, frames in enumerate(lengths, 1):
        start = sum(lengths[:number - 1])
        words.append(clip(f"line {number}", f"{folder}dialogue.wav", start, frames))
    music = clip("theme", f"{folder}music.wav", 0, sum(lengths))
    write_document(path, name, [track("Dialogue", words), track("Music", [music])])


def write_rough_cut(path):
    """Two clips with their whole sound, one that is three seconds too long, one without its file."""
    words = [clip("line 1", "../dialogue.wav", 0, 100), clip("line 2", "../dialogue.wav", 100, 100),
             clip("line 3", "../dialogue.wav", 200, 175)]
    music = clip("theme", "/Volumes/Raid/theme.wav", 0, 250)
    write_document(path, "rough cut", [track("Dialogue", words), track("Music", [music])])


def write_archive(path):
    """The timeline edit.otio with its files, as editors write them."""
    write_timeline(path.with_name("content.otio"), "edit", "media/", [100, 125])
    with zipfile.ZipFile(path, "w") as archive:
        archive.write(path.with_name("content.otio"), "content.otio")
        for name in ("dialogue.wav", "music.wav"):
            archive.write(path.with_name(name), f"media/{name}")
    path.with_name("content.otio").unlink()


def fill(folder):
    """A new folder with all files of the folder media next to it. A page may change them."""
    shutil.copytree(folder.parent / "media", folder)
