# SPDX-License-Identifier: MIT
"""The kept results of a run: one JSON object a line, written as soon as a mutant is judged."""

import dataclasses
import hashlib
import json


def state(text):
    """Names the text of a source. A result holds as long as the source has this text."""
    return hashlib.sha256(text.encode()).hexdigest()[:16]


class Results:
    """Results by mutant. With a file, the results of earlier runs are read and new ones appended."""

    def __init__(self, root, file=None):
        self.root = root
        self.file = file
        self.known = {}
        if file and file.exists():
            for line in file.read_text().splitlines():
                result = json.loads(line)
                self.known[self._name(result)] = result

    def find(self, mutant):
        """The result of an earlier run, or None."""
        result = self.known.get(self._name(dataclasses.asdict(mutant)))
        if not result or result["state"] != state((self.root / mutant.file).read_text()):
            return None
        return result

    def add(self, mutant, text, outcome, program):
        """`text` is the unchanged source; `outcome` "test", "time", "survives" or "does not compile"."""
        result = dict(dataclasses.asdict(mutant), state=state(text), outcome=outcome,
                      program=program)
        self.known[self._name(result)] = result
        if self.file:
            with self.file.open("a") as out:
                out.write(json.dumps(result) + "\n")

    @staticmethod
    def _name(result):
        return (result["file"], result["before"].strip(), result["after"].strip(), result["copy"])
