# SPDX-License-Identifier: MIT
"""The blocks of code of the pages: README.md and docs/*.md."""

import dataclasses
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
FENCE = re.compile(r"( *)```(\w*)$")
NOTE = re.compile(r"<!-- (.*) -->$")


@dataclasses.dataclass
class Block:
    """A block of code. The language of an indented block is empty; the note is the HTML comment in the
    line before the block."""
    page: str
    line: int
    language: str
    note: str
    lines: list

    @property
    def place(self):
        return f"{self.page}:{self.line}"


@dataclasses.dataclass
class Step:
    """A command of a console block, with the output that the page shows."""
    line: int
    command: str
    output: list


def pages():
    """README.md and all pages below docs, relative to the root."""
    found = sorted((ROOT / "docs").rglob("*.md"))
    return ["README.md"] + [path.relative_to(ROOT).as_posix() for path in found]


def blocks_of(page):
    """The blocks of a page of the tree."""
    return blocks_in(page, (ROOT / page).read_text(encoding="utf-8"))


def blocks_in(page, text):
    lines = text.splitlines()
    found = []
    at = 0
    while at < len(lines):
        fence = FENCE.match(lines[at])
        if fence:
            body, after = fenced(lines, at + 1, fence[1])
            found.append(Block(page, at + 1, fence[2] or "text", note_before(lines, at), body))
        elif is_indented_start(lines, at):
            body, after = indented(lines, at)
            found.append(Block(page, at + 1, "", note_before(lines, at), body))
        else:
            after = at + 1
        at = after
    return found


def fenced(lines, first, indent):
    """The lines up to the closing fence, and the number of the line after it."""
    end = first
    while end < len(lines) and lines[end].strip() != "```":
        end += 1
    return [line.removeprefix(indent) for line in lines[first:end]], end + 1


def is_indented_start(lines, at):
    return lines[at].startswith("    ") and (at == 0 or not lines[at - 1].strip())


def indented(lines, first):
    end = first
    while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
        end += 1
    while not lines[end - 1].strip():
        end -= 1
    return [line[4:] for line in lines[first:end]], end


def note_before(lines, at):
    """The comment in the last line before a block; a blank line may follow it."""
    before = at - 1
    if before >= 0 and not lines[before].strip():
        before -= 1
    note = NOTE.match(lines[before].strip()) if before >= 0 else None
    return note[1] if note else ""


def steps_of(block):
    """The commands of a console block. A command continues after a backslash at the end of a line."""
    steps = []
    continues = False
    for number, line in enumerate(block.lines, block.line + 1):
        if continues:
            steps[-1].command += "\n" + line
        elif line.startswith("$ "):
            steps.append(Step(number, line[2:], []))
        elif steps:
            steps[-1].output.append(line)
        else:
            raise ValueError(f"{block.page}:{number}: a console block begins with '$ '")
        continues = (continues or line.startswith("$ ")) and line.endswith("\\")
    for step in steps:
        while step.output and not step.output[-1].strip():
            step.output.pop()
    return steps
