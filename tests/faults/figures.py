# SPDX-License-Identifier: MIT
"""Figures of the fault tests: the number of cases, and how many of them were wrong.

As JSON, a figure is one object on one line: {"figure": "...", "count": 7, "wrong": 0}.
"""

import dataclasses
import json


@dataclasses.dataclass
class Figure:
    name: str
    count: int = 0
    wrong: int = 0
    details: list = dataclasses.field(default_factory=list)  # texts about wrong cases

    def add(self, faults):
        """Counts one case, with texts about its faults."""
        self.count += 1
        self.wrong += bool(faults)
        self.details += faults

    def holds(self):
        return self.count > 0 and self.wrong == 0

    def line(self):
        return json.dumps({"figure": self.name, "count": self.count, "wrong": self.wrong})


def read(text):
    """The figures among the lines of a text."""
    found = []
    for line in text.splitlines():
        try:
            data = json.loads(line)
            found.append(Figure(data["figure"], data["count"], data["wrong"],
                                data.get("details", [])))
        except (ValueError, TypeError, KeyError):
            pass
    return found


def merged(figures):
    """One figure for each name, in the order of their first appearance."""
    sums = {}
    for figure in figures:
        total = sums.setdefault(figure.name, Figure(figure.name))
        total.count += figure.count
        total.wrong += figure.wrong
        total.details += figure.details
    return list(sums.values())


def table(figures):
    width = max(len(figure.name) for figure in figures)
    lines = [f"{'figure':{width}} {'count':>8} {'wrong':>8}"]
    lines += [f"{figure.name:{width}} {figure.count:8} {figure.wrong:8}" for figure in figures]
    return "\n".join(lines)
