# SPDX-License-Identifier: MIT
"""Small media files of many formats, made by ffmpeg, and WAVE files with hostile headers."""

import pathlib
import struct
import subprocess
import tempfile

# Name of the file, and the options of ffmpeg after its input.
FORMATS = (
    ("s16.wav", ""), ("u8.wav", "-c:a pcm_u8"), ("s24.wav", "-c:a pcm_s24le"),
    ("f32.wav", "-c:a pcm_f32le"), ("f64.wav", "-c:a pcm_f64le"), ("ms.wav", "-c:a adpcm_ms"),
    ("ima.wav", "-c:a adpcm_ima_wav"), ("law.wav", "-c:a pcm_mulaw"), ("mono.wav", "-ac 1"),
    ("six.wav", "-ac 6"), ("a.w64", ""), ("rf64.wav", "-rf64 always"), ("a.aiff", ""),
    ("a.au", ""), ("a.caf", ""), ("a.flac", ""), ("vorbis.ogg", "-c:a libvorbis"),
    ("opus.ogg", "-c:a libopus"), ("flac.ogg", "-c:a flac"), ("a.mp3", "-c:a libmp3lame"),
    ("a.mp2", ""), ("aac.m4a", "-c:a aac"), ("alac.m4a", "-c:a alac"), ("a.aac", ""),
    ("pcm.mov", "-c:a pcm_s16be"), ("a.mka", "-c:a flac"), ("a.webm", "-c:a libopus"),
    ("a.avi", "-c:a libmp3lame"), ("a.ts", "-c:a mp2"), ("a.ac3", ""), ("a.dts", "-strict -2"),
    ("a.wv", ""), ("a.tta", ""), ("a.wma", "-c:a wmav2"), ("a.voc", "-c:a pcm_u8"))
PICTURE = "-f lavfi -i testsrc=size=16x16:rate=25:duration=0.08"
WITH_PICTURE = (("p.mp4", "-c:v mpeg4 -c:a aac"), ("p.mkv", "-c:v mpeg4 -c:a pcm_s16le"),
                ("p.mov", "-c:v mpeg4 -c:a pcm_s16le"))


def ffmpeg(arguments):
    subprocess.run(["ffmpeg", "-nostdin", "-loglevel", "error", "-bitexact", *arguments.split()],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def make(folder, name, options, picture=""):
    sound = "-f lavfi -i anoisesrc=d=0.03:seed=1:r=16000"
    path = pathlib.Path(folder) / name
    ffmpeg(f"{sound} {picture} -ac 2 {options} -fflags +bitexact {path}")
    return name, path.read_bytes()


def wave(tag=1, channels=2, rate=48000, bits=16, size=None, content=b"\x10\x20\x30\x40" * 60):
    align = (channels * bits // 8) & 0xFFFF
    form = struct.pack("<HHIIHH", tag, channels, rate, rate * align & 0xFFFFFFFF, align, bits)
    length = len(content) if size is None else size
    body = (b"WAVEfmt " + struct.pack("<I", len(form)) + form + b"data" +
            struct.pack("<I", length) + content)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def hostile_waves():
    for rate in (0, 1, 63, 64, 768000, 768001, 0x7FFFFFFF, 0xFFFFFFFF):
        yield f"rate{rate}.wav", wave(rate=rate)
    for channels in (0, 1, 16, 17, 255, 65535):
        yield f"channels{channels}.wav", wave(channels=channels)
    for bits in (0, 1, 12, 32, 64, 65535):
        yield f"bits{bits}.wav", wave(bits=bits)
    for tag in (2, 3, 6, 0x11, 0x31, 0x50, 0x55, 0x161, 0xFFFE):
        yield f"tag{tag}.wav", wave(tag=tag)
    for size in (0, 1, 3, 0x7FFFFFFF, 0xFFFFFFFF):
        yield f"size{size}.wav", wave(size=size)
    yield "playlist.wav", b"#EXTM3U\n#EXTINF:1,\nfile:///etc/hostname\n"
    yield "script.wav", b"ffconcat version 1.0\nfile 'tone.wav'\n"


def media():
    with tempfile.TemporaryDirectory() as folder:
        for name, options in FORMATS:
            yield make(folder, name, options)
        for name, options in WITH_PICTURE:
            yield make(folder, name, options, PICTURE)
    yield from hostile_waves()
