# SPDX-License-Identifier: MIT
"""Uses the installed Python module on demo.otio. The mix has the samples of demo.wav, which the program mixed."""
import sys
import wave

import sonrel

with sonrel.Session() as session, session.open("demo.otio") as project:
    samples = project.mix(dither="none")
    with wave.open("demo.wav") as file:
        same = file.readframes(file.getnframes()) == samples.tobytes()
    levels = project.measure(0, "5s")
    found = session.align(samples, project.mix("2.5s", "15s", dither="none"))
    peaks = session.peaks("demo.wav", samples_per_point=48000)
    picture = session.waveform("demo.wav", width=300, height=80)
print(f"sonrel {sonrel.__version__}: {samples.shape} samples,", "those of demo.wav" if same else "others")
print(f"{levels.integrated:.1f} LUFS, offset {found.seconds} s, {len(peaks.peaks)} peaks, picture {picture.shape}")
sys.exit(0 if same and found.seconds == 2.5 else 1)
