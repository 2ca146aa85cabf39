# SPDX-License-Identifier: MIT
"""The first inputs of the fuzz targets: small, and the same with every run of the same ffmpeg."""

import json
import pathlib
import random
import shutil
import struct

import seeddatabases
import seedmedia
import seedtimelines

HERE = pathlib.Path(__file__).resolve().parent


def save(folder, name, content):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content)


def conformed_files():
    noise = random.Random(1).randbytes(400)
    chunk = lambda name, content: name + struct.pack("<I", len(content)) + content
    form = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 2, 48000, 192000, 4, 16))
    yield "riff", b"RIFF" + struct.pack("<I", 436) + b"WAVE" + form + chunk(b"data", noise)
    yield "empty", b"RIFF" + struct.pack("<I", 36) + b"WAVE" + form + chunk(b"data", b"")
    sizes = struct.pack("<QQQI", 472, 400, 100, 0)
    yield "rf64", (b"RF64" + b"\xff" * 4 + b"WAVE" + chunk(b"ds64", sizes) + form +
                   b"data" + b"\xff" * 4 + noise)


def peak_files():
    blocks = random.Random(2)
    for channels in (1, 2, 16):
        body = blocks.randbytes(40 * (1 + 2 * channels))
        head = struct.pack("<III", 1, channels, 40)
        # The last byte asks for the head as it is.
        yield f"channels{channels}", b"ORLOXWPK" + head + body[:-1] + b"\xff"
    for name, version, channels, count in (
            ("version", 2, 2, 1), ("silent", 1, 0, 1), ("many", 1, 17, 1), ("none", 1, 2, 0),
            ("long", 1, 2, 0x7FFFFFFF), ("negative", 1, 2, 0xFFFFFFFF)):
        yield name, b"ORLOXWPK" + struct.pack("<III", version, channels, count) + b"\xff" * 40


def part():
    """The only part of a silent mix, as `mix --part 1/1 --dither none` writes it: 800 frames."""
    mix = {"version": "0.1.0", "timeline": "0" * 64, "media": "0" * 16, "parts": 1, "from": 0,
           "to": 800, "rate": 48000, "fps": 60.0, "grid": 1, "startFrame": 0, "dropFrame": False,
           "dither": "none", "seed": 1, "gain": 0.0, "composition": None, "retime": "otio",
           "audioFrom": "auto", "meterBlockFrames": 4800, "tracks": ["A1"]}
    manifest = {"format": 1, "mix": mix, "part": 1, "parts": 1, "firstMeterBlock": 0,
                "checksum": "957816e7b230464c"}  # of 3200 zeros
    text = json.dumps(manifest).encode()
    text += b" " * (len(text) % 2)
    meters = 2 * struct.pack("<i12x", 800)
    chunk = lambda name, content: name + struct.pack("<I", len(content)) + content
    form = chunk(b"fmt ", struct.pack("<HHIIHH", 1, 2, 48000, 192000, 4, 16))
    body = b"WAVE" + form + chunk(b"data", bytes(3200)) + chunk(b"snrl", text)
    return chunk(b"RIFF", body + chunk(b"smtr", meters))


def manifest():
    """The manifest of a mix of tone.wav, with values that differ from those of the mix."""
    signal = {"name": "master", "peak": [0.5, 0.5], "clippedBlocks": [0, 0], "clips": []}
    mix = {"from": 0, "to": 4800, "rate": 48000, "fps": 25.0, "grid": 1, "startFrame": 0,
           "dropFrame": False, "dither": "highpass", "seed": 1, "gain": 0.0, "composition": None,
           "retime": "otio", "audioFrom": "auto", "normalize": None, "truePeak": None,
           "sound": "audio stream 1"}
    media = {"path": "tone.wav", "sound": "audio stream 1", "size": 19244,
             "fingerprint": "0" * 32, "sha256": "0" * 64, "samples": 4800,
             "ranges": [{"from": 0.0, "to": 0.1}]}
    return json.dumps({
        "format": 1, "versions": {"program": "0.1.0", "library": "0.1.0", "ffmpeg": None},
        "input": {"path": "tone.wav", "relative": "tone.wav", "kind": "media", "sha256": "0" * 64},
        "options": {"gain": "-3", "seed": "1"}, "mix": mix, "media": [media], "tracks": [signal],
        "master": signal, "loudness": {"integrated": -20.5, "truePeak": None},
        "normalization": None, "samples": {"count": 4800, "sha256": "0" * 64}, "stems": [],
        "checksum": "0" * 64}).encode()


COMMANDS = (
    "mix in.otio -o out.wav --seed 2 --allow-missing",
    "mix in.otio -o out.wav --json --stems stems --meters levels.json --dither triangular",
    "mix in.otiod -o out.wav --composition nest --fail-on-clip --retime media",
    "mix in.otio -o in.otio",
    "mix in.otio -o out.wav --audio-from video --rate 44100 --fps 30 --media-root old=new",
    "mix tone.wav -o out.wav --from 0.1s --dither none --overwrite",
    "info in.otio --json --fps 24", "info in.otiod", "info tone.wav --json",
    "conform in.otio --allow-missing --json", "conform tone.wav tone.wav --force --all-codecs",
    "peaks tone.wav -o out.xwpk --mode multi", "peaks tone.wav --export out.json --zoom 64",
    "peaks tone.wav --export out.dat --force --json", "peaks in.otio --allow-missing",
    "waveform tone.wav -o out.png --size 300x80 --style lanes --scale log --ruler",
    "waveform tone.wav -o out.svg --style overlaid --format rgb888 --color ff0000 --range 0.1:0.2",
    "align tone.wav tone.wav --plot out.svg --otio out.otio --json",
    "align tone.wav in.wav --min-correlation 0.5",
    "loudness tone.wav in.otio --allow-missing --target -23 --tolerance 2 --json",
    "mix in.otio -o out.wav --normalize -23 --true-peak -1 --allow-missing",
    "mix in.otio -o out.wav --part 1/2 --gain -3 --allow-missing", "join in.wav in.media -o out.wav",
    "plan mix in.otio --shards 3 --for json", "plan conform tone.wav in.wav --for slurm --shards 2",
    "mix in.media -o out.wav --stream 1 --channels 1,2 --strict",
    "mix in.otio -o out.wav --manifest out.json --allow-missing",
    "join in.wav -o out.wav --meters out.json", "join in.wav in.wav -o out.flac --fail-on-clip",
    "verify in.json", "verify in.json --cached --json", "verify in.json --media-root old=new",
    "report in.otio -o out.html --allow-missing", "report tone.wav -o out.html --json --stream 1",
    "report in.otio -o out.htm --composition nest --from 1f --strict --overwrite",
    "sync tone.wav in.wav --otio out.otio", "sync . --otio out.otio --plot out.svg --json",
    "sync tone.wav in.wav --reference in.wav --fps 30 --min-correlation 0.2",
    "cache ls --db in.db --cache files", "cache du --json", "cache check --db in.db --cache files",
    "cache check --deep --db in.db --cache files --json",
    "cache clean --days 0 --orphans --db in.db --cache files",
    "cache clean --dry-run --db in.db --cache files", "--help", "mix --help", "--version",
    "mix tone.wav -o out.wav --no-cache-db", "conform tone.wav --no-log --quiet --progress json",
    "conform tone.wav --keep-days 0 --db in.db")
MEDIA_COMMANDS = ("info in.media --json", "conform in.media", "peaks in.media --force",
                  "mix in.media -o out.wav", "waveform in.media -o out.png",
                  "align tone.wav in.media")


def commands(media, databases):
    """Command lines, each with a content of the kind that its files have."""
    for number, line in enumerate(COMMANDS):
        content = seedtimelines.short()
        if "in.db" in line:
            content = databases[0][1]
        elif line.startswith("join"):
            content = part()
        elif "in.json" in line:
            content = manifest()
        elif "in.wav" in line:
            content = dict(conformed_files())["riff"]
        yield f"{number:02}", line.encode() + b"\n" + content
    for number, (name, content) in enumerate(media):
        line = MEDIA_COMMANDS[number % len(MEDIA_COMMANDS)]
        yield name, line.encode() + b"\n" + content


def inputs():
    """Names and inputs for each target."""
    media = list(seedmedia.media())
    databases = list(seeddatabases.databases(HERE.parent))
    return {"conformed_file": conformed_files(), "peak_file": peak_files(),
            "otio": seedtimelines.timelines(HERE.parent / "examples"),
            "media_reader": media, "media_caches": media, "database": databases,
            "command": commands(media, databases)}


def write(folder, targets):
    """Writes the inputs of targets below a folder, in a folder for each target, and removes all other
    files there."""
    for target, named in inputs().items():
        if target not in targets:
            continue
        shutil.rmtree(folder / target, ignore_errors=True)
        for name, content in named:
            save(folder / target, name, content)
        kept = HERE / "found" / target
        if kept.is_dir():
            shutil.copytree(kept, folder / target, dirs_exist_ok=True)
