#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures how precisely `sonrel align` finds known offsets between pairs of real recordings.

    bench/alignment.py [PROGRAM]        default build/release/host/sonrel

Prints a Markdown table: the change of the second recording, the true offset, the errors of the engine's
offset and of the refined offset, their correlations and the verdict. The recordings are Debian's: loops
and voices of sonic-pi-samples (public domain) and spoken words of alsa-utils. ffmpeg makes the pairs.
Exits 1 when an expected offset is not found.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

RATE = 48000
SAMPLES = pathlib.Path("/usr/share/sonic-pi/samples")
WORDS = pathlib.Path("/usr/share/sounds/alsa")
CODEC_TOLERANCE = 2 * 1152  # a lossy codec's start delay may stay in


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *map(str, arguments)], check=True)


def frames_of(path):
    text = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=duration_ts",
                           "-of", "csv=p=0", str(path)], check=True, capture_output=True, text=True)
    return int(text.stdout.strip().split(",")[0])


def join(work, name, parts):
    """Recordings one after the other, as one stereo WAV."""
    inputs = [word for part in parts for word in ("-i", part)]
    formats = ";".join(f"[{i}:a]aformat=channel_layouts=stereo,aresample={RATE}[p{i}]"
                       for i in range(len(parts)))
    chain = "".join(f"[p{i}]" for i in range(len(parts)))
    out = work / f"{name}.wav"
    ffmpeg(*inputs, "-filter_complex", f"{formats};{chain}concat=n={len(parts)}:v=0:a=1", out)
    return out


class Bench:
    def __init__(self, program, work):
        self.program = program
        self.work = work
        self.failed = False

    def cut(self, source, name, start, frames, filters="", encode=()):
        """Frames of a recording from a frame on, and a change of them."""
        out = self.work / name
        steps = f"atrim=start_sample={start}:end_sample={start + frames},asetpts=N/SR/TB"
        if filters:
            steps += "," + filters
        ffmpeg("-i", source, "-af", steps, *encode, out)
        return out

    def add_noise(self, path, decibels, seed):
        """Pink noise at a ratio below the recording's mean level."""
        level = subprocess.run(["ffmpeg", "-i", str(path), "-af", "volumedetect", "-f", "null", "-"],
                               capture_output=True, text=True).stderr
        mean = float(level.split("mean_volume:")[1].split()[0])
        noise = self.work / "noise.wav"
        seconds = frames_of(path) / RATE
        ffmpeg("-f", "lavfi", "-i", f"anoisesrc=c=pink:r={RATE}:d={seconds}:seed={seed}:a=0.5",
               "-ac", "2", noise)
        level = subprocess.run(["ffmpeg", "-i", str(noise), "-af", "volumedetect", "-f", "null",
                                "-"], capture_output=True, text=True).stderr
        noise_mean = float(level.split("mean_volume:")[1].split()[0])
        out = path.with_name("noisy-" + path.name)
        gain = mean - decibels - noise_mean
        ffmpeg("-i", path, "-i", noise, "-filter_complex",
               f"[1:a]volume={gain}dB[n];[0:a][n]amix=inputs=2:duration=first:normalize=0", out)
        return out

    def align(self, kind, change, a, b, true, tolerance=0):
        run = subprocess.run([self.program, "--cache", str(self.work / "cache"), "--db",
                              str(self.work / "media.db"), "--no-log", "--json", "align", str(a),
                              str(b)], capture_output=True, text=True)
        result = json.loads(run.stdout)["results"][0]
        engine, refined = result["engine"], result["refined"]
        error = refined["offset"] - true
        right = abs(error) <= tolerance and result["verdict"] == "aligned"
        self.failed = self.failed or not right
        print(f"| {kind} | {change} | {true} | {engine['offset'] - true:+d} "
              f"({engine['correlation']:.3f}) | {error:+d} ({refined['correlation']:.3f}) "
              f"| {result['verdict']} | {result['way']} |", flush=True)

    def pairs(self, kind, source):
        total = frames_of(source)
        half = total // 2
        shift = 3 * RATE + 1234
        a = self.cut(source, "a.wav", 0, total - shift)
        true = shift
        cut = lambda name, filters="", encode=(): self.cut(source, name, shift, half, filters, encode)
        for gain in (-20, -6, 6):
            self.align(kind, f"{gain:+d} dB", a, cut(f"g{gain}.wav", f"volume={gain}dB"), true)
        self.align(kind, "clipped by 18 dB", a, cut("clip.wav", "volume=18dB"), true)
        plain = cut("plain.wav")
        for ratio in (20, 10, 0):
            self.align(kind, f"noise, SNR {ratio} dB", a, self.add_noise(plain, ratio, 7), true, 1)
        mp3 = cut("b.mp3", encode=("-b:a", "64k"))
        self.align(kind, "MP3, 64 kbit/s", a, mp3, true, CODEC_TOLERANCE)
        aac = cut("b.m4a", encode=("-c:a", "aac", "-b:a", "96k"))
        self.align(kind, "AAC, 96 kbit/s", a, aac, true, CODEC_TOLERANCE)
        for share in (100, 50, 20, 10, 5, 2, 1):
            length = total // 2
            overlap = max(RATE // 10, length * share // 100)
            first = self.cut(source, "first.wav", 0, length)
            start = length - overlap
            second = self.cut(source, f"s{share}.wav", start, min(length, total - start))
            self.align(kind, f"overlap {share} % ({overlap / RATE:.1f} s)", first, second, start)


def main():
    program = sys.argv[1] if len(sys.argv) > 1 else "build/release/host/sonrel"
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        bench = Bench(program, work)
        music = join(work, "music", [SAMPLES / name for name in (
            "loop_garzul.flac", "loop_compus.flac", "loop_mika.flac", "ambi_piano.flac",
            "loop_safari.flac", "loop_breakbeat.flac", "ambi_choir.flac", "loop_tabla.flac",
            "guit_em9.flac", "loop_industrial.flac")])
        words = [WORDS / name for name in (
            "Front_Center.wav", "Rear_Left.wav", "Side_Right.wav", "Front_Left.wav",
            "Rear_Right.wav", "Side_Left.wav", "Rear_Center.wav", "Front_Right.wav")]
        speech = join(work, "speech", words)
        print("| sound | change of the second recording | true offset | engine: error (correlation) "
              "| refined: error (correlation) | verdict | way |")
        print("|---|---|---|---|---|---|---|")
        bench.pairs("music", music)
        bench.pairs("speech", speech)
    sys.exit(1 if bench.failed else 0)


if __name__ == "__main__":
    main()
