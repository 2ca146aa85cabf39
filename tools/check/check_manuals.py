#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Formats the manual pages of an installed tree. A warning of groff, man or mandoc is a fault.

    tools/check/check_manuals.py STAGE
"""

import os
import pathlib
import subprocess
import sys

FORMATTERS = (
    ("groff", "-ww", "-man", "-Tutf8", "-z"),
    ("man", "--warnings", "--local-file"),
    ("mandoc", "-Tlint", "-Wwarning"),
)
# The pages have no date, so that equal sources give equal files.
ACCEPTED = ("missing date",)


def faults_of(page, formatter):
    environment = {**os.environ, "MANWIDTH": "80", "LC_ALL": "C.UTF-8"}
    run = subprocess.run([*formatter, page], capture_output=True, text=True, env=environment,
                         check=False)
    lines = run.stderr.splitlines() + (run.stdout.splitlines() if formatter[0] == "mandoc" else [])
    faults = [line for line in lines if not any(words in line for words in ACCEPTED)]
    if formatter[0] == "man" and "NAME" not in run.stdout:
        faults.append(f"man shows no {page.name}")
    return [f"{formatter[0]}: {line}" for line in faults]


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_manuals.py STAGE")
    pages = sorted(pathlib.Path(sys.argv[1]).resolve().glob("**/man1/sonrel*.1"))
    faults = [fault for page in pages for formatter in FORMATTERS
              for fault in faults_of(page, formatter)]
    print("\n".join(faults), end="\n" if faults else "")
    print(f"manual pages: {len(pages)}, {len(faults)} faults")
    return 1 if faults or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
