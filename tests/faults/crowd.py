# SPDX-License-Identifier: MIT
"""Four programs that need the same files at the same time."""

from commands import COMMANDS
from figures import Figure
from judge import judge

SIZE = 4


def run(box, rounds):
    figure = Figure("four programs that conform the same files")
    command = COMMANDS["conform, made"]
    for number in range(rounds):
        box.prepare(command)
        programs = [box.start(command) for _ in range(SIZE)]
        results = [program.communicate() for program in programs]
        faults = [f"round {number}: exit {program.returncode}: {error}"
                  for program, (_, error) in zip(programs, results) if program.returncode != 0]
        faults += [f"round {number}: {kind}: {text}"
                   for kind, text in judge(box, command, (0, *results[0]))]
        figure.add(faults)
    return [figure]
