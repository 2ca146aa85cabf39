#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures how many lines and branches of the engine the tests reach.

    tools/check/check_coverage.py                builds, runs the tests and reports
    tools/check/check_coverage.py --report FILE  reports from a JSON file of gcovr
    tools/check/check_coverage.py --self-test    a small artificial report with known figures

Prints lines and branches for each folder and in all, then each unreached line that uncovered.toml
has no reason for. Exits 1 when fewer than 95 % of the lines or 85 % of the branches are reached,
when a test fails, or when every line of an entry of uncovered.toml is reached. Branches that only an
exception takes are not counted.
"""

import argparse
import contextlib
import io
import json
import os
import pathlib
import subprocess
import sys
import tempfile

from coverage import counts_of, explain, read_reasons, read_report, Reason
from tree import ROOT

FOLDERS = ("sonrel/base", "sonrel/cache", "sonrel/conformed", "sonrel/database", "sonrel/engine",
           "sonrel/mixer", "sonrel/playback", "sonrel/plugins", "sonrel/project", "sonrel/sync",
           "sonrel/waveform")
LABELS = ("unit", "scenario", "concurrent", "host")
LINES_GOAL = 95
BRANCHES_GOAL = 85
BUILD = ROOT / "build/coverage"
REASONS = ROOT / "tools/check/uncovered.toml"


def run(*command):
    """Whether the command succeeds."""
    return subprocess.run([str(word) for word in command], cwd=ROOT, check=False).returncode == 0


def measure(report):
    """Builds, runs the tests and writes the report. @return the failures"""
    if not (run("cmake", "--preset", "coverage", "--log-level=WARNING") and
            run("cmake", "--build", "--preset", "coverage", "--target",
                *(f"tests-{label}" for label in LABELS))):
        return ["the coverage build failed"]
    for old in BUILD.rglob("*.gcda"):
        old.unlink()
    passed = run("ctest", "--test-dir", BUILD, "--output-on-failure", "--no-tests=error",
                 "-j", os.cpu_count(), "-L", "|".join(LABELS))
    faults = [] if passed else ["tests failed"]
    if not run("gcovr", "--root", ROOT, "--exclude-throw-branches", "--json", report,
               "-j", os.cpu_count(), *(f"--filter={ROOT / folder}/" for folder in FOLDERS), BUILD):
        faults.append("gcovr failed")
    return faults


def tabulate(sources):
    """Prints a line for each folder and the sum. @return the goals that are missed"""
    rows = [(folder, [source for source in sources if source.name.startswith(folder + "/")])
            for folder in FOLDERS]
    faults = [f"the report has no file of {folder}" for folder, inside in rows if not inside]
    for name, inside in [*rows, ("all", sources)]:
        lines, branches = counts_of(inside)
        print(f"coverage: {name:24} lines {lines}, branches {branches}")
    for name, count, goal in (("lines", lines, LINES_GOAL), ("branches", branches, BRANCHES_GOAL)):
        if count.percent() < goal:
            faults.append(f"{name} reached: {count.percent():.1f} %, goal {goal} %")
    return faults


def judge(sources, reasons, text_of):
    """Prints figures and lines without a reason. @return the faults"""
    faults = tabulate(sources)
    unexplained, idle = explain(sources, reasons, text_of)
    for line in unexplained:
        print(f"coverage: not reached, no reason listed: {line}")
    print(f"coverage: {len(reasons)} reasons, {len(unexplained)} unreached lines without a reason")
    return faults + [f"uncovered.toml: reached now, remove the entry: {reason}" for reason in idle]


def check(report):
    """The faults of a measurement; without a report, of a new one."""
    with tempfile.TemporaryDirectory() as folder:
        faults = [] if report else measure(pathlib.Path(folder) / "report.json")
        report = report or pathlib.Path(folder) / "report.json"
        if not report.exists():
            return faults
        sources = list(read_report(report).values())
        return faults + judge(sources, read_reasons(REASONS),
                              lambda name: (ROOT / name).read_text().splitlines())


# A function of each folder with two reached lines and one line that is not, with two branches each.
TEXT = ["void Known() {", "    Reached();", "    Missed();", "}"]


def artificial(counts):
    lines = [{"line_number": number, "count": count, "gcovr/noncode": False,
              "branches": [{"count": count}, {"count": 1}]} for number, count in enumerate(counts, 1)]
    lines.append({"line_number": 4, "count": 0, "gcovr/noncode": True, "branches": []})
    functions = [{"lineno": 1, "name": "Known()"}]
    return {"files": [{"file": f"{folder}/A.cpp", "lines": lines, "functions": functions}
                      for folder in FOLDERS]}


def reasons_for(**fields):
    return [Reason(f"{folder}/A.cpp", "why", **fields) for folder in FOLDERS]


# (how often the lines ran, reasons, number of faults; reasons_for makes one reason for each folder)
KNOWN = [
    ([1, 1, 1], [], 0),
    ([1, 1, 0], [], 2),
    ([1, 1, 0], reasons_for(function="Known"), 2),
    ([1, 1, 0], reasons_for(line="Missed();"), 2),
    ([1, 1, 1], reasons_for(function="Known"), len(FOLDERS)),
    ([1, 1, 1], reasons_for(function="Known", sometimes=True), 0),
    ([1, 1, 0], reasons_for(line="Reached();"), len(FOLDERS) + 2),
    ([1, 1, 0], reasons_for(function="Unknown"), len(FOLDERS) + 2),
    ([1, 1, 0], [Reason("sonrel/mixer/B.cpp", "why")], 3),
]


def self_test():
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        report = pathlib.Path(folder) / "report.json"
        for counts, reasons, expected in KNOWN:
            report.write_text(json.dumps(artificial(counts)))
            with contextlib.redirect_stdout(io.StringIO()):
                found = judge(list(read_report(report).values()), reasons, lambda name: TEXT)
            if len(found) != expected:
                faults.append(f"{counts} {reasons}: expected {expected} faults, found {found}")
    print(f"coverage: {len(KNOWN)} known reports, {len(faults)} faults")
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--report", type=pathlib.Path)
    parser.add_argument("--self-test", action="store_true")
    options = parser.parse_args()
    faults = self_test() if options.self_test else check(options.report)
    for fault in faults:
        print(f"coverage: {fault}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
