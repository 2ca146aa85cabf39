#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the listings of README.md and docs/*.md.

    tests/docs/check_listings.py [--self-test]

A program in a page is a part of a file that is compiled and run: a block of cpp or cmake has the comment
<!-- listing: FILE --> in the line before it, and its lines are in the file in this order, without a gap. A
block that begins with a command is run by commands.py: it is a fenced block of console or sh.
"""

import re
import sys

from pages import ROOT, blocks_in, blocks_of, pages

COMMAND = re.compile(r"(\$ |(sonrel|cmake|cpack|ctest|ffmpeg|jq|python3|sh|\./(run|test|check))\b)")
SYNOPSIS = re.compile(r"[…[]|\b(INPUT|COMMAND)\b")


def text_of(path):
    try:
        return (ROOT / path).read_text(encoding="utf-8")
    except OSError:
        return None


def stripped(lines):
    """The lines without the indentation of all of them."""
    indents = [len(line) - len(line.lstrip()) for line in lines if line.strip()]
    return [line[min(indents, default=0):].rstrip() for line in lines]


def contains(text, lines):
    """Whether a text has these lines one after another, at any indentation."""
    wanted = stripped(lines)
    have = text.splitlines()
    return any(stripped(have[at:at + len(wanted)]) == wanted
               for at in range(len(have) - len(wanted) + 1))


def fault_of(block, read=text_of):
    """The fault of a block, or None."""
    if block.language in ("cpp", "cmake"):
        if not block.note.startswith("listing: "):
            return "a listing names its file: <!-- listing: FILE -->"
        path = block.note.removeprefix("listing: ")
        text = read(path)
        if text is None:
            return f"there is no file {path}"
        return None if contains(text, block.lines) else f"the lines are not in {path}"
    if block.language in ("", "text") and not block.note.startswith("not run: "):
        first = block.lines[0] if block.lines else ""
        if COMMAND.match(first) and not SYNOPSIS.search(first):
            return "a command is in a block of console or sh, which is run"
    return None


GOOD = """
<!-- listing: a.cpp -->
```cpp
if (x) {
    y();
}
```

    sonrel mix INPUT -o OUT.wav

<!-- not run: costs money -->

    sonrel buy

```text
found a.wav
```
"""
BAD = """
<!-- listing: a.cpp -->
```cpp
if (x) {
}
```

```cpp
y();
```

<!-- listing: gone.cpp -->
```cpp
y();
```

    sonrel mix a.wav -o b.wav

```text
$ ls
```
"""


def self_test():
    files = {"a.cpp": "int f() {\n    if (x) {\n        y();\n    }\n}\n"}
    good = [fault_of(block, files.get) for block in blocks_in("good.md", GOOD)]
    bad = [fault_of(block, files.get) for block in blocks_in("bad.md", BAD)]
    knows = len(good) == 4 and not any(good) and len(bad) == 5 and all(bad)
    print(f"listings: good and bad are {'known' if knows else 'confused'}: {good} {bad}")
    return 0 if knows else 1


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    blocks = [block for page in pages() for block in blocks_of(page)]
    faults = [f"{block.place}: {fault}" for block in blocks if (fault := fault_of(block))]
    print("\n".join(faults), end="\n" if faults else "")
    listings = sum(block.note.startswith("listing: ") for block in blocks)
    print(f"listings of the pages: {listings}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
