#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes a second of stereo noise: makemedia.py FILE RATE"""

import random
import sys
import wave

path, rate = sys.argv[1], int(sys.argv[2])
noise = random.Random(rate)
with wave.open(path, "wb") as file:
    file.setnchannels(2)
    file.setsampwidth(2)
    file.setframerate(rate)
    file.writeframes(noise.randbytes(4 * rate))
