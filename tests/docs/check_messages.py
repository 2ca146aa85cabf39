#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every message in the headings of docs/troubleshooting.md exists in the sources.

    tests/docs/check_messages.py [--self-test]

A heading is ### `message`; an ellipsis (…) in it is any text. The texts between the ellipses must be parts of
string literals of the program, the engine or the Python module.
"""

import re
import sys

from pages import ROOT

PAGE = ROOT / "docs/troubleshooting.md"
HEADING = re.compile(r"^### `(.*)`$", re.MULTILINE)
LITERAL = r'"((?:[^"\\\n]|\\.)*)"'
LITERALS = re.compile(rf"{LITERAL}(?:\s*{LITERAL})*")


def literals_of(source):
    """The string literals of a source, neighbours joined as the compiler joins them."""
    for found in LITERALS.finditer(source):
        yield "".join(re.findall(LITERAL, found[0])).replace('\\"', '"')


def sources():
    for folder in ("host", "sonrel", "python"):
        for path in sorted((ROOT / folder).rglob("*.cpp")):
            yield path.read_text(encoding="utf-8")


def unknown_parts(page, texts):
    """The parts of the messages of a page that no text contains, and the number of messages."""
    messages = HEADING.findall(page)
    parts = [part.strip(" ':;,") for message in messages for part in message.split("…")]
    return [part for part in parts if part and not any(part in text for text in texts)], len(messages)


def self_test():
    texts = list(literals_of('Fail("cannot read " + name, "it is "\n    "empty; \\"x\\"");'))
    good = unknown_parts("### `cannot read '…': it is empty`\n", texts)
    bad = unknown_parts("### `cannot write …`\n### `it is full`\n", texts)
    joined = "it is empty; \"x\"" in texts
    knows = joined and bad == (["cannot write", "it is full"], 2) and good == ([], 1)
    print(f"messages: good and bad are {'known' if knows else 'confused'}")
    return 0 if knows else 1


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    texts = [text for source in sources() for text in literals_of(source)]
    unknown, count = unknown_parts(PAGE.read_text(encoding="utf-8"), texts)
    print("\n".join(f"no source has the message: {part}" for part in unknown),
          end="\n" if unknown else "")
    print(f"messages of {PAGE.relative_to(ROOT)}: {count}, {len(unknown)} unknown")
    return 1 if unknown or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
