# SPDX-License-Identifier: MIT
"""Kills the program at random moments of its run.

The box is not emptied between the rounds, so that the damage of a kill meets the next commands. A
moment is random within the time of the quickest of three runs of the command, so that most kills hit
a program that still runs. Other kills are not counted.
"""

import random
import signal
import time

from commands import COMMANDS
from figures import Figure
from judge import judge, judge_next

NAME = "kills at random moments"
TURNS = ("conform, made", "conform, forced", "peaks, made", "peaks, forced", "mix, found",
         "cache clean", "cache clean, to a size")
COMPLETE = ("conform, made", "peaks, made", "mix, found")  # from any state of the cache
ROUNDS_OF_A_KILL = 4  # at most, on average
CHECK_EVERY = 10  # kills, with an undisturbed run


def quickest(box, commands):
    """Seconds of the quickest of three runs of each command, each from the start of a round."""
    times = [[] for _ in commands]
    for _ in range(3):
        for command, list_of_times in zip(commands, times):
            clear_outputs(box)
            begin = time.monotonic()
            box.run(command)
            list_of_times.append(time.monotonic() - begin)
    return [min(list_of_times) for list_of_times in times]


def kill(box, command, delay):
    """Whether the kill hit a running program."""
    process = box.start(command)
    time.sleep(delay)
    process.kill()
    process.communicate()
    return process.returncode == -signal.SIGKILL


def clear_outputs(box):
    for path in box.out.iterdir():
        path.unlink()


def run(box, kills, seed):
    """(the kills, the undisturbed runs after them)."""
    chance, figure, following = random.Random(seed), Figure(NAME), Figure("undisturbed runs")
    box.prepare(COMMANDS[TURNS[0]])
    commands = [COMMANDS[name] for name in TURNS]
    longest = quickest(box, commands)
    for number in range(ROUNDS_OF_A_KILL * kills):
        turn = number % len(TURNS)
        if kill(box, commands[turn], chance.uniform(0, longest[turn])):
            faults = judge(box, commands[turn], (None, "", ""), was_killed=True)
            figure.add([f"{TURNS[turn]}: {kind}: {text}" for kind, text in faults])
            if figure.count % CHECK_EVERY == 0:
                name = chance.choice(COMPLETE)
                clear_outputs(box)
                following.add([f"{name} after {TURNS[turn]}: {text}"
                               for _, text in judge_next(box, COMMANDS[name])])
        clear_outputs(box)
        if figure.count == kills:
            break
    if figure.count < kills:
        figure.wrong += 1
        figure.details.append(f"{figure.count} of {kills} kills hit a running program")
    return [figure, following]
