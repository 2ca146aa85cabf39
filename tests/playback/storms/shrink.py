#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the script of a failing storm shorter.

    playback_storms --profile P --seed N --print > SCRIPT
    shrink.py SCRIPT [--tries N] -- playback_storms [OPTION...]

Removes ever smaller pieces of SCRIPT while the program still fails with what is left, and prints the
rest. A program that takes more than two minutes has failed. With --tries a script fails when one of so
many runs fails.
"""

import argparse
import pathlib
import subprocess
import sys
import tempfile

MAX_SECONDS = 120


def run_fails(command, script):
    try:
        run = subprocess.run([*command, "--script", script], stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL, timeout=MAX_SECONDS)
    except subprocess.TimeoutExpired:
        return True
    return run.returncode != 0


def fails(command, lines, tries):
    with tempfile.NamedTemporaryFile("w", suffix=".storm") as script:
        script.write("".join(lines))
        script.flush()
        return any(run_fails(command, script.name) for _ in range(tries))


def without_pieces(lines, size, still_fails):
    """Removes each piece of so many lines that the failure does not need."""
    start = 0
    while start < len(lines):
        rest = lines[:start] + lines[start + size:]
        if rest and still_fails(rest):
            lines = rest
        else:
            start += size
    return lines


def shrink(lines, still_fails):
    size = len(lines) // 2
    while size > 0:
        shorter = without_pieces(lines, size, still_fails)
        # Single lines are tried until none can go.
        if size > 1 or len(shorter) == len(lines):
            size //= 2
        lines = shorter
    return lines


def main():
    split = sys.argv.index("--") if "--" in sys.argv else len(sys.argv)
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("script", type=pathlib.Path)
    parser.add_argument("--tries", type=int, default=1)
    options = parser.parse_args(sys.argv[1:split])
    command = sys.argv[split + 1:]
    if not command:
        parser.error("the program that fails must follow --")

    def still_fails(lines):
        return fails(command, lines, options.tries)

    lines = options.script.read_text().splitlines(keepends=True)
    if not still_fails(lines):
        sys.exit("shrink.py: the script does not fail")
    print("".join(shrink(lines, still_fails)), end="")


if __name__ == "__main__":
    main()
