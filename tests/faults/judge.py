# SPDX-License-Identifier: MIT
"""The faults after a run of a command, as a list of (kind, text)."""

import re

from checkcache import look
from commands import OLD

KINDS = ("crash", "hang", "wrong bytes", "not whole", "left behind", "message", "not continued")
# Words of the database library, and of a program that ends by an exception.
FOREIGN = re.compile(r"UNIQUE|constraint|SQLITE|SQL |SELECT|INSERT|no such table|terminate|what\(\)")
DESTRUCTIVE = re.compile(r"move it away")  # for a damaged database only


def message_fault(text, box):
    """The fault of a failure's message, or None."""
    lines = text.splitlines()
    if len(lines) != 1 or not lines[0].startswith("sonrel: ") or len(lines[0]) < 20:
        return f"not one line: {text[:500]!r}"
    if FOREIGN.search(text):
        return f"words of the implementation: {text!r}"
    if DESTRUCTIVE.search(text):
        return f"advice that costs the database: {text!r}"
    names = re.findall(r"'([^']*/[^']*)'", text)
    if not any(name.startswith((str(box.folder), str(box.shop.media))) for name in names):
        return f"no file is named: {text!r}"
    return None


def is_written_without_media(code, error):
    """Whether a report says that it is written and which media are missing, as documented."""
    return code == 3 and error.startswith("sonrel: the report is written, and media of ")


class Judge:
    """Judges one run in a box."""

    def __init__(self, box, command):
        self.box, self.command = box, command
        self.text, self.expected = box.shop.expected(command)
        self.state = look(box.database, box.cache, box.shop.reference)
        self.found = [("not whole", text) for text in self.state.wrong]

    def wrong(self, kind, text):
        self.found.append((kind, text))

    def done(self, text):
        """After exit 0: everything is the same as without a disturbance."""
        if self.box.outputs() != self.expected:
            self.wrong("wrong bytes", f"outputs {sorted(self.box.outputs())}")
        if self.command.prints_results and text != self.text:
            self.wrong("wrong bytes", f"printed {text[:500]!r}")
        if self.command.empties and self.state.whole:
            self.wrong("wrong bytes", f"{len(self.state.whole)} files are not cleaned")
        if self.command.empties_records and self.state.stale:
            self.wrong("wrong bytes", f"{self.state.stale} records of no file are not cleaned")
        if len(self.state.whole) < self.command.records:
            self.wrong("not whole", f"{len(self.state.whole)} of {self.command.records} records")

    def outputs_are_old(self, may_name, may_leave):
        """Each output is absent or old, or whole where it may have been named."""
        for name, data in self.box.outputs().items():
            if name not in self.expected:
                if not may_leave:
                    self.wrong("left behind", f"the output folder has {name}")
            elif data != OLD and not (may_name and data == self.expected[name]):
                self.wrong("wrong bytes", f"{name}: {len(data)} bytes after a failure")

    def nothing_is_left(self, may_leave_folder):
        if not may_leave_folder:
            for path in self.box.temporary.iterdir():
                self.wrong("left behind", f"temporary: {path.name}")
        if self.state.orphans:
            self.wrong("left behind", f"files without a record: {self.state.orphans}")

    def after(self, result, was_killed, may_leave, may_name, may_leave_folder):
        code, text, error = result
        if was_killed:
            self.outputs_are_old(may_name=True, may_leave=True)
        elif code is None:
            self.wrong("hang", "")
        elif code < 0 or code > 3:
            self.wrong("crash", f"exit {code}: {error[:500]}")
        elif code == 0:
            self.done(text)
        else:
            if not is_written_without_media(code, error):
                self.outputs_are_old(may_name, may_leave)
            fault = message_fault(error, self.box)
            if fault:
                self.wrong("message", fault)
        if not was_killed and not may_leave:
            self.nothing_is_left(may_leave_folder)
        return self.found


def judge(box, command, result, was_killed=False, may_leave=False, may_name=False,
          may_leave_folder=False):
    """@param may_leave  whether the disturbance keeps the program from finding or removing a file
    @param may_name   whether an output may have its name although the command fails, because
                      naming the next one failed
    @param may_leave_folder  whether the disturbance keeps the program from listing the temporary
                             folder that it removes"""
    return Judge(box, command).after(result, was_killed, may_leave, may_name, may_leave_folder)


def judge_next(box, command):
    """The faults of an undisturbed run in a box after a disturbed run."""
    code, text, error = result = box.run(command)
    if code != 0:
        return [("not continued", f"the next run exits {code}: {error[:500]}")]
    for name in set(box.outputs()) - set(command.outputs):
        if name.endswith(".part"):  # of a killed process
            (box.out / name).unlink()
    return [("not continued", f"after the next run: {kind}: {text}")
            for kind, text in judge(box, command, result, may_leave=True)]
