# SPDX-License-Identifier: MIT
"""The processes of a program on this machine, and how to stop one in the middle of its work."""

import os
import pathlib
import signal
import time

PROC = pathlib.Path("/proc")
MAX_SECONDS = 900  # only something broken takes longer


class Overdue(Exception):
    pass


def wait_for(text, condition, interval=0.05):
    """The first true value of a condition."""
    end = time.monotonic() + MAX_SECONDS
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(interval)
    raise Overdue(f"after {MAX_SECONDS} seconds still waiting for {text}")


def processes():
    return [int(entry.name) for entry in PROC.iterdir() if entry.name.isdigit()]


def runs(process, program):
    try:
        return os.readlink(PROC / str(process) / "exe") == program
    except OSError:
        return False  # it has ended, or belongs to another user


def words_in(process, name):
    """The words of the command line ("cmdline") or of the environment ("environ")."""
    try:
        return (PROC / str(process) / name).read_text().rstrip("\0").split("\0")
    except OSError:
        return []


def environment(process):
    return dict(word.partition("=")[::2] for word in words_in(process, "environ"))


def processes_with(name, value):
    """The processes with a variable in their environment."""
    return [process for process in processes() if environment(process).get(name) == value]


def parent(process):
    status = (PROC / str(process) / "stat").read_text()
    return int(status.rpartition(")")[2].split()[1])


def output_of(process):
    """The file after -o."""
    words = words_in(process, "cmdline")
    return pathlib.Path(words[words.index("-o") + 1])


def is_writing(process, folder):
    """Whether a file that the process holds open in a folder has content."""
    descriptors = PROC / str(process) / "fd"
    try:
        return any(os.readlink(entry).startswith(f"{folder}/") and entry.stat().st_size > 0
                   for entry in descriptors.iterdir())
    except OSError:
        return False


def stopped_while_writing(program, folder, belongs):
    """A process of the program, stopped before its output in the folder has its name, or None."""
    for process in processes():
        if not runs(process, program) or not belongs(process) or not is_writing(process, folder):
            continue
        output = output_of(process)
        os.kill(process, signal.SIGSTOP)
        if not output.exists():
            return process
        os.kill(process, signal.SIGCONT)
    return None


def catch(program, folder, belongs=lambda process: True):
    """The next process that is in the middle of writing into a folder; it is stopped."""
    return wait_for("a command in the middle of its work",
                    lambda: stopped_while_writing(program, folder, belongs), interval=0.002)
