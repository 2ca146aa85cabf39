# SPDX-License-Identifier: MIT
"""Lines and branches that the tests reach, read from a report of gcovr in JSON."""

import dataclasses
import json
import tomllib


@dataclasses.dataclass
class Count:
    """Lines or branches: how many there are, and how many of them are reached."""

    reached: int = 0
    total: int = 0

    def add(self, reached):
        self.reached += bool(reached)
        self.total += 1

    def percent(self):
        return 100 * self.reached / self.total if self.total else 100.0

    def __str__(self):
        return f"{self.percent():5.1f} % ({self.reached} of {self.total})"


@dataclasses.dataclass
class Source:
    """One file of the report."""

    name: str
    lines: dict     # line number: how often it ran
    branches: dict  # line number: how often each branch was taken
    functions: list  # numbers of the first lines of the functions, sorted

    def unreached(self):
        return sorted(number for number, count in self.lines.items() if count == 0)

    def first_line_of_function(self, number):
        """The first line of the function that holds the line; 0 before the first function."""
        return max((first for first in self.functions if first <= number), default=0)


def read_report(file):
    """The sources of a report by name."""
    found = {}
    for entry in json.loads(file.read_text())["files"]:
        code = [line for line in entry["lines"] if not line["gcovr/noncode"]]
        found[entry["file"]] = Source(
            entry["file"], {line["line_number"]: line["count"] for line in code},
            {line["line_number"]: [branch["count"] for branch in line["branches"]]
             for line in code},
            sorted({function["lineno"] for function in entry["functions"]}))
    return found


def counts_of(sources):
    """(lines, branches) of the sources together."""
    lines, branches = Count(), Count()
    for source in sources:
        for count in source.lines.values():
            lines.add(count)
        for counts in source.branches.values():
            for count in counts:
                branches.add(count)
    return lines, branches


@dataclasses.dataclass
class Reason:
    """An entry of the list: a part of a file that no test reaches, and why.

    `function` is a text of the function's first line. `line` narrows it down to the lines with this
    text. Either may be missing; with neither, the entry covers the whole file. `sometimes` is for
    code that depends on the moments at which threads meet: it may be reached.
    """

    file: str
    reason: str
    function: str = ""
    line: str = ""
    sometimes: bool = False

    def covers(self, source, text, number):
        """Whether it names the line; `text` holds the lines of the file."""
        first = source.first_line_of_function(number)
        return ((not self.function or (first and self.function in text[first - 1]))
                and (not self.line or self.line in text[number - 1]))

    def __str__(self):
        return ": ".join(part for part in (self.file, self.function, self.line) if part)


def read_reasons(file):
    return [Reason(**entry) for entry in tomllib.loads(file.read_text()).get("part", [])]


def explain(sources, reasons, text_of):
    """Compares the unreached lines with the reasons. @return (lines without a reason, idle reasons)

    `text_of` returns the lines of a file by its name. A reason is idle when every line that it names
    is reached, and not only sometimes.
    """
    used = set()
    unexplained = []
    for source in sources:
        text = text_of(source.name)
        for number in source.unreached():
            fitting = [index for index, reason in enumerate(reasons)
                       if reason.file == source.name and reason.covers(source, text, number)]
            used.update(fitting)
            if not fitting:
                unexplained.append(f"{source.name}:{number}: {text[number - 1].strip()}")
    idle = [str(reason) for index, reason in enumerate(reasons)
            if index not in used and not reason.sometimes]
    return unexplained, idle
