# SPDX-License-Identifier: MIT
"""Disturbs the file operations of a command, one at a time, through the fault library."""

import collections
import dataclasses
import fnmatch
import pathlib
import signal

from commands import COMMANDS
from judge import judge, judge_next

OPERATIONS = "open,create,write,read,fsync,truncate,rename,unlink,mkdir,close,stat"
KILLING = ("kill", "killafter", "torn")
ENVIRONMENT_OF_MODE = {"once": ("fail", "1"), "forever": ("fail", "all"), "storm": ("storm", "1"),
                       "short": ("short", "1"), "all short": ("short", "all")}

# Where files are, below the workshop or the box, and the pattern of their names.
TARGETS = {
    "conformed files": ("box/cache", "*.xwmc"),
    "peak files": ("box/cache", "*.xwpk"),
    "lock file": ("box/cache", ".sonrel-in-use"),
    "cache folder": ("box", "cache"),
    "database": ("box/db", "media.db*"),
    "outputs": ("box/out", "*"),
    "media": ("media", "sound*"),
    "timeline": ("media", "*.otio"),
    "archive": ("media", "*.otioz"),
    "manifest": ("media", "edit.json"),
    "parts": ("media", "part-*.wav"),
    "temporary conformed files": ("box/tmp", "*.xwmc"),
    "temporary database": ("box/tmp", "media.db*"),
    "unpacked files": ("box/tmp", "[cs]o*"),
    "box": ("box", "*"),
    "all files": ("", "*"),
}


@dataclasses.dataclass(frozen=True)
class Fault:
    command: str
    target: str
    operation: str
    mode: str
    error: str
    number: int  # of the operation; of the bytes that fit on the disk in mode "quota"
    must_succeed: bool = False

    def __str__(self):
        return (f"{self.command}: {self.target}: {self.operation} {self.number} {self.mode} "
                f"{self.error}")


def folder_of(box, target):
    place = TARGETS[target][0]
    if place.startswith("box"):
        return box.folder / pathlib.Path(place).relative_to("box")
    return box.shop.folder / place


def environment(box, fault, log):
    mode, times = ENVIRONMENT_OF_MODE.get(fault.mode, (fault.mode, "1"))
    variables = {"LD_PRELOAD": box.shop.shim, "FAULTFS_ROOT": folder_of(box, fault.target),
                 "FAULTFS_OPS": fault.operation, "FAULTFS_MATCH": TARGETS[fault.target][1],
                 "FAULTFS_ERR": fault.error, "FAULTFS_MODE": mode, "FAULTFS_TIMES": times,
                 "FAULTFS_AT": fault.number, "FAULTFS_LOG": log}
    if fault.mode == "quota":
        variables.update(FAULTFS_QUOTA=fault.number, FAULTFS_MODE="none")
    return {**box.environment, **{name: str(value) for name, value in variables.items()}}


class Counts:
    """How often a command reaches each operation on each target."""

    def __init__(self, box, command):
        box.prepare(command)
        log = box.folder.with_name(box.folder.name + ".log")
        log.unlink(missing_ok=True)
        fault = Fault(command.name, "all files", OPERATIONS, "none", "EIO", 0)
        code, _, error = box.run(command, environment(box, fault, log))
        if code != 0:
            raise SystemExit(f"'{command.name}' exits {code} under the fault library: {error}")
        self.counted, self.bytes = collections.Counter(), collections.Counter()
        for line in log.read_text().splitlines():
            _, operation, _, size, path = line.split(" ", 4)
            for target in TARGETS:
                if self.belongs(box, target, pathlib.Path(path)):
                    self.counted[target, operation] += 1
                    self.bytes[target, operation] += int(size)

    @staticmethod
    def belongs(box, target, path):
        folder = folder_of(box, target)
        return ((folder == path or folder in path.parents) and
                fnmatch.fnmatch(path.name, TARGETS[target][1]))


@dataclasses.dataclass
class Outcome:
    fault: Fault
    was_reached: bool
    code: object = None
    text: str = ""
    wrong: list = dataclasses.field(default_factory=list)
    wrong_next: list = dataclasses.field(default_factory=list)


def was_reached(fault, log, code):
    if fault.mode == "quota":
        return code != 0
    return log.exists() and " HIT " in log.read_text(errors="replace")


def disturb(box, fault):
    """Runs the command of a fault in the box, judges its result, and then that of the next run."""
    command = COMMANDS[fault.command]
    box.prepare(command, has_old_outputs=fault.number % 2 == 1)
    log = box.folder.with_name(box.folder.name + ".log")
    log.unlink(missing_ok=True)
    result = box.run(command, environment(box, fault, log))
    outcome = Outcome(fault, was_reached(fault, log, result[0]), result[0], result[2])
    if not outcome.was_reached:
        return outcome
    was_killed = fault.mode in KILLING and result[0] == -signal.SIGKILL
    outcome.wrong = judge(box, command, result, was_killed,
                          may_leave=fault.operation in ("unlink", "stat"),
                          may_name=fault.target in ("outputs", "all files"),
                          may_leave_folder=fault.operation == "open" and fault.mode == "forever")
    if fault.must_succeed and result[0] != 0:
        outcome.wrong.append(("message", f"no failure is expected: {result[2]}"))
    outcome.wrong_next = judge_next(box, command)
    return outcome
