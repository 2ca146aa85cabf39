# SPDX-License-Identifier: MIT
"""How many lines of the parser the corpus of a target reaches."""

import json
import os
import pathlib
import subprocess


def summaries(target):
    """The lines of each source of the program, after a run of each input of the corpus."""
    raw = target.scratch / "lines.profraw"
    merged = target.scratch / "lines.profdata"
    subprocess.run(target.command("-runs=0"), env=target.environment(str(raw)), check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=target.scratch)
    subprocess.run(["llvm-profdata-14", "merge", "-o", merged, raw], check=True)
    report = subprocess.run(
        ["llvm-cov-14", "export", "-summary-only", f"-instr-profile={merged}", target.program],
        check=True, capture_output=True, text=True)
    raw.unlink()
    merged.unlink()
    return {os.path.normpath(file["filename"]): file["summary"]["lines"]
            for file in json.loads(report.stdout)["data"][0]["files"]}


def parser_lines(target, project):
    """Each source of the parser with its lines and the lines that were reached."""
    lines = {}
    for name, summary in summaries(target).items():
        path = pathlib.PurePath(os.path.relpath(name, project))
        if any(path.match(pattern) for pattern in target.settings.parser):
            lines[str(path)] = (summary["count"], summary["covered"])
    return lines


def percent_of_lines(lines):
    total = sum(count for count, _ in lines.values())
    return 100.0 * sum(covered for _, covered in lines.values()) / total
