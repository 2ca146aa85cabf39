#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures sonrel report: processor time, size of the page, and the time until it is on the screen.

Usage: report.py PROGRAM

Each case runs with peak files that exist, three times; the median counts. The first paint is that of
headless Chromium, the median of five loads. Exits with 1 above 5 s, 8 MB or 1 s.
"""

import os
import pathlib
import shutil
import statistics
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/report"))

from browser import Browser  # noqa: E402
from growth import Run  # noqa: E402
import scenes  # noqa: E402

MAX_SECONDS, MAX_BYTES, MAX_PAINT = 5.0, 8_000_000, 1.0
CASES = {
    "2 clips": scenes.two_clips,
    "2,000 clips on 20 tracks": scenes.many_clips,
    "2,000 clips on a track": lambda folder: scenes.many_clips(folder, tracks=1),
    "500 tracks": scenes.many_tracks,
}


def first_paint(browser, page):
    def load():
        browser.open("/dev/null")
        browser.open(page)
        return browser.first_paint()

    return statistics.median(load() for _ in range(5))


def measure(program, browser, folder, make):
    """Processor seconds, bytes and seconds until the first paint."""
    run = Run(program, folder)
    page, timeline = run.path("page.html"), make(folder)
    run("peaks", timeline)
    run("conform", timeline)
    seconds = statistics.median(run("report", timeline, "-o", page)[0] for _ in range(3))
    return seconds, os.path.getsize(page), first_paint(browser, page)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    program = os.path.abspath(sys.argv[1])
    folder = tempfile.mkdtemp(prefix="report-")
    within = True
    try:
        scenes.write_media(folder)
        print("| timeline | CPU s | page, kB | first paint, s |\n|---|---|---|---|")
        with Browser() as browser:
            for name, make in CASES.items():
                seconds, size, paint = measure(program, browser, folder, make)
                within = within and seconds <= MAX_SECONDS and size <= MAX_BYTES
                within = within and paint <= MAX_PAINT
                print(f"| {name} | {seconds:.2f} | {size / 1000:.0f} | {paint:.2f} |", flush=True)
    finally:
        shutil.rmtree(folder)
    return 0 if within else 1


if __name__ == "__main__":
    sys.exit(main())
