#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Times the programs that the alignment is compared with: NumPy's transform, SciPy's overlap-add search.

    bench/alignment_peers.py [MINUTES]   length of the long recording (10)
"""

import resource
import sys
import time

import numpy
import scipy.signal

RATE = 48000


def best(repeats, work):
    times = []
    for _ in range(repeats):
        begin = time.process_time()
        work()
        times.append(time.process_time() - begin)
    return min(times)


def main():
    minutes = int(sys.argv[1]) if len(sys.argv) > 1 else 10
    random = numpy.random.default_rng(1)
    for level in range(10, 23, 2):
        points = random.standard_normal(1 << level) + 1j * random.standard_normal(1 << level)
        runs = max(1, (1 << 18) >> level)
        seconds = best(5, lambda: [numpy.fft.fft(points) for _ in range(runs)]) / runs
        print(f"numpy.fft.fft of 2^{level}: {seconds / (1 << level) * 1e9:.2f} ns a point")
    frames = RATE * 60
    for _ in range(2):
        long = random.standard_normal(frames * minutes).astype(numpy.float32)
        short = long[frames * (minutes // 2):][:frames].copy()
        begin_cpu, begin = time.process_time(), time.time()
        found = scipy.signal.oaconvolve(long, short[::-1])
        at = int(numpy.argmax(numpy.abs(found))) - frames + 1
        print(f"oaconvolve of one channel: {time.process_time() - begin_cpu:.2f} s of processor, "
              f"{time.time() - begin:.2f} s, found at {at}")
    memory = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024
    print(f"60 s in {minutes} min: memory {memory:.0f} MB")


if __name__ == "__main__":
    main()
