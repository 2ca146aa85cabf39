#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the program in README.md is the first example."""

import re
import sys

from tree import ROOT

EXAMPLE = "examples/01_mix_a_clip.cpp"


def main():
    shown = re.search(r"```cpp\n(.*?)```", (ROOT / "README.md").read_text(), re.DOTALL)
    example = (ROOT / EXAMPLE).read_text()
    same = shown is not None and shown[1] == example[example.index("#include"):]
    print(f"README: its program is {'' if same else 'not '}{EXAMPLE}")
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
