#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Opens pages of sonrel report in headless Chromium and checks them.

    report_pages.py PROGRAM [--out FOLDER] [--docs FOLDER]

Pages of 2 clips, 2,000 clips, 500 tracks, a film with everything that is marked, drop-frame timecode,
and nothing. The pages, their screenshots in light and dark colours, a printed page and their documents after the
script has run are kept in FOLDER (default: build/report). --docs writes the pictures of
docs/report.md. Returns 1 when a page is wrong.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys

from browser import Browser
import scenes

MAX_BYTES = 8_000_000
# name of the page: its timeline, clips and lanes on it, the exit code of the program, and options
PAGES = {
    "two": (scenes.two_clips, 2, 1, 0),
    "film": (scenes.scene, 15, 5, 3),
    "clips": (scenes.many_clips, 2000, 20, 0),
    "tracks": (scenes.many_tracks, 500, 500, 0),
    "drop": (scenes.minutes, 12, 1, 0, "--fps", "29.97df"),
    "nothing": (scenes.nothing, 0, 0, 0),
}
LEVELS = r"   peak (−?\d+\.\d dB|–)   short-term (−?\d+\.\d LUFS|–)"


class Faults:
    def __init__(self):
        self.count = 0

    def expect(self, holds, page, text):
        if holds:
            return
        self.count += 1
        print(f"{page}: {text}")


def write_page(program, folder, name):
    """The path of a page that the program writes."""
    make, _, _, code, *options = PAGES[name]
    page = os.path.join(folder, f"{name}.html")
    timeline = os.path.basename(make(folder))
    run = subprocess.run([program, "--cache", "cache", "--db", "media.db", "report", timeline,
                          "-o", page, *options], cwd=folder, capture_output=True, text=True)
    if run.returncode != code:
        sys.exit(f"{name}: exit {run.returncode} instead of {code}: {run.stderr}")
    return page


def pointer_at(browser, fraction):
    """The text beside the buttons while the pointer is at a fraction of the lanes."""
    return browser.evaluate(f"""(() => {{
        const box = document.getElementById("axis").getBoundingClientRect();
        document.getElementById("view").dispatchEvent(new PointerEvent("pointermove",
            {{clientX: box.left + {fraction} * box.width, clientY: box.top + 5}}));
        return document.getElementById("readout").textContent; }})()""")


def fact(browser, name):
    return browser.evaluate(f"""[...document.querySelectorAll(".facts div")]
        .find(fact => fact.firstChild.textContent === "{name}").lastChild.textContent""")


def check_content(browser, name, page, faults):
    _, clips, lanes, *_ = PAGES[name]
    count = browser.evaluate("document.querySelectorAll('.clip').length")
    faults.expect(count == clips, name, f"{count} clips instead of {clips}")
    count = browser.evaluate("document.querySelectorAll('.track').length")
    faults.expect(count == lanes, name, f"{count} lanes instead of {lanes}")
    faults.expect(browser.requests == [f"file://{page}"], name, f"requests {browser.requests}")
    faults.expect(not browser.errors, name, f"errors {browser.errors}")
    wild = browser.evaluate("""[...document.querySelectorAll("a")].filter(
        link => !document.getElementById(link.hash.slice(1))).length""")
    faults.expect(wild == 0, name, f"{wild} links lead nowhere")
    size = os.path.getsize(page)
    faults.expect(size <= MAX_BYTES, name, f"{size} bytes")


def check_pointer(browser, name, faults):
    """At the start of each clip the script has the timecode of the program."""
    starts = browser.evaluate("""[...document.querySelectorAll(".track > .lane > .clip")]
        .slice(0, 100).map(clip => [parseFloat(clip.style.left) / 100, clip.title.split("\\n")[1]])""")
    for fraction, times in [(0.0, fact(browser, "From")), *starts]:
        text = pointer_at(browser, fraction + 1e-6)
        wanted = times.partition(" to ")[0]
        faults.expect(re.fullmatch(re.escape(wanted) + LEVELS, text), name,
                      f"the pointer shows '{text}' at {wanted}")


def check_zoom(browser, name, faults):
    def width():
        return browser.evaluate("document.getElementById('axis').clientWidth")

    def marks():
        return browser.evaluate("document.getElementById('axis').children.length")

    before = width()
    faults.expect(3 <= marks() <= 15, name, f"{marks()} marks on the ruler")
    browser.evaluate("document.getElementById('in').click()")
    faults.expect(abs(width() - 2 * before) <= 2, name, f"zoom: {before} became {width()}")
    faults.expect(3 <= marks() <= 15, name, f"{marks()} marks on the ruler after zoom")
    browser.evaluate("document.getElementById('all').click()")
    faults.expect(abs(width() - before) <= 1, name, f"all: {width()} instead of {before}")


def check_link(browser, name, faults):
    """A click on the first place of the import report leads to its clip, in the middle."""
    seen = browser.evaluate("""new Promise(done => {
        const link = document.querySelector(".places a");
        if (!link) return done(null);
        window.addEventListener("hashchange", () => setTimeout(() => {
            const box = document.querySelector(":target").getBoundingClientRect();
            done(box.right > 0 && box.left < innerWidth && box.bottom > 0 && box.top < innerHeight
                 && box.width >= 50);
        }));
        link.click(); })""")
    faults.expect(seen is not False, name, "a link does not lead to a visible clip")


def check_page(browser, name, page, folder, faults):
    browser.set_colours("light")
    browser.open(page)
    check_content(browser, name, page, faults)
    browser.screenshot(os.path.join(folder, f"{name}-light.png"))
    if name != "nothing":
        check_pointer(browser, name, faults)
        check_zoom(browser, name, faults)
    with open(os.path.join(folder, f"{name}-dom.html"), "w") as out:
        out.write(browser.evaluate("document.documentElement.outerHTML"))
    check_link(browser, name, faults)
    browser.print(os.path.join(folder, f"{name}.pdf"))
    browser.set_colours("dark")
    browser.open(page)
    browser.screenshot(os.path.join(folder, f"{name}-dark.png"))
    colours = browser.evaluate("getComputedStyle(document.body).backgroundColor")
    faults.expect(colours == "rgb(20, 22, 26)", name, f"dark colours are {colours}")


def write_pictures(browser, folder, docs):
    """The pictures of docs/report.md, of 48 colours each: whole pages, and the first of 20 tracks."""
    full = os.path.join(folder, "picture.png")
    palette = "split[a][b];[a]palettegen=max_colors=48[p];[b][p]paletteuse=dither=none"
    for name, colours, most in (("two", "light", 1400), ("film", "light", 1400),
                                ("film", "dark", 1400), ("clips", "light", 800)):
        browser.resize(1400, most)
        browser.set_colours(colours)
        browser.open(os.path.join(folder, f"{name}.html"))
        height = browser.evaluate("document.documentElement.offsetHeight")
        browser.resize(1400, min(height, most))
        browser.screenshot(full)
        picture = os.path.join(docs, f"report-{name}-{colours}.png")
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", full, "-vf", palette, picture],
                       check=True)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("program")
    parser.add_argument("--out", default="build/report")
    parser.add_argument("--docs")
    options = parser.parse_args()
    folder = os.path.abspath(options.out)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    scenes.write_media(folder)
    program = os.path.abspath(options.program)
    faults = Faults()
    with Browser() as browser:
        for name in PAGES:
            check_page(browser, name, write_page(program, folder, name), folder, faults)
        if options.docs:
            write_pictures(browser, folder, options.docs)
    shutil.rmtree(os.path.join(folder, "cache"))
    print(f"report pages: {len(PAGES)} opened, {faults.count} faults")
    return 1 if faults.count else 0


if __name__ == "__main__":
    sys.exit(main())
