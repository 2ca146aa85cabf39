#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Disturbs each file operation of a command, one at a time, and looks at what is left.

    sweep.py --shim LIBRARY --root FOLDER --run COMMAND --check COMMAND [--setup COMMAND] ...

The first matching operation is disturbed and the check run, then the second, and so on, until a run
ends without reaching the disturbance; again for each class of operation, error and mode. The folder
is emptied before each round and filled by --setup, which nothing disturbs. In the three commands
{root} stands for the folder.

A round fails when the command hangs, dies of a signal that was not sent on purpose, or a check does
not return 0. --check-living runs before the other where the command lived to its end. One JSON
object tells the result; 1 is returned when a round failed.
"""

import argparse
import collections
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

KILLING = {"kill", "killafter", "torn"}


def run(command, environment, limit):
    """(code, text): the code is -N after signal N, and None after the time limit."""
    process = subprocess.Popen(command, shell=True, env=environment, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, start_new_session=True)
    try:
        text = process.communicate(timeout=limit)[0]
        code = process.returncode
        code = 128 - code if code > 128 else code  # the shell's way to tell a child's signal
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        text, code = process.communicate()[0], None
    return code, text.decode(errors="replace").strip()[-2000:]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--shim", required=True)
    parser.add_argument("--root", required=True)
    parser.add_argument("--run", required=True)
    parser.add_argument("--check", required=True)
    parser.add_argument("--check-living", default="")
    parser.add_argument("--setup", default="")
    parser.add_argument("--ops", default="create,write,fsync,truncate,unlink,mkdir,open,read,close")
    parser.add_argument("--errors", default="EIO,ENOSPC")
    parser.add_argument("--modes", default="once,forever")
    parser.add_argument("--match", default="*")
    parser.add_argument("--step", type=int, default=1, help="disturb every step-th operation only")
    parser.add_argument("--timeout", type=float, default=60)
    parser.add_argument("--details", type=pathlib.Path, help="a JSON line for each round")
    return parser.parse_args()


class Sweep:
    def __init__(self, options):
        self.options = options
        self.plain = {name: value for name, value in os.environ.items()
                      if not name.startswith("FAULTFS_")}
        self.log = pathlib.Path(tempfile.mkdtemp(prefix="sweep-")) / "log"
        self.details = options.details.open("w") if options.details else None
        self.result = collections.Counter()
        self.classes = collections.Counter()
        self.failures = []

    def command(self, text):
        return text.replace("{root}", self.options.root)

    def prepare(self):
        shutil.rmtree(self.options.root, ignore_errors=True)
        os.makedirs(self.options.root)
        if self.options.setup:
            code, text = run(self.command(self.options.setup), self.plain, self.options.timeout)
            if code != 0:
                sys.exit(f"the setup failed: {code}\n{text}")

    def round(self, mode, error, operation, number):
        """Whether the disturbance was reached."""
        self.prepare()
        self.log.unlink(missing_ok=True)
        environment = dict(self.plain, LD_PRELOAD=self.options.shim,
                           FAULTFS_ROOT=self.options.root, FAULTFS_OPS=operation,
                           FAULTFS_AT=str(number), FAULTFS_LOG=str(self.log),
                           FAULTFS_TIMES="all" if mode == "forever" else "1",
                           FAULTFS_MODE={"once": "fail", "forever": "fail"}.get(mode, mode),
                           FAULTFS_MATCH=self.options.match, FAULTFS_ERR=error)
        code, text = run(self.command(self.options.run), environment, self.options.timeout)
        if not self.log.exists() or " HIT " not in self.log.read_text(errors="replace"):
            return False

        wrong = self.judge(mode, code)
        self.result["disturbed"] += 1
        self.classes[operation] += 1
        record = {"mode": mode, "error": error, "operation": operation, "number": number,
                  "code": code, "text": text, "wrong": wrong}
        if self.details:
            self.details.write(json.dumps(record) + "\n")
        if wrong:
            self.failures.append(record)
        return True

    def judge(self, mode, code):
        """What is wrong after a round, as a list of texts."""
        wrong = []
        killed = mode in KILLING and code == -signal.SIGKILL
        if code is None:
            wrong.append("hang")
        elif code < 0 and not killed:
            wrong.append(f"signal {-code}")
        self.result["killed" if killed else "done" if code == 0 else "reported"] += 1
        checks = [self.options.check_living] if code is not None and code >= 0 else []
        for check in filter(None, [*checks, self.options.check]):
            answer, text = run(self.command(check), self.plain, self.options.timeout)
            if answer != 0:
                wrong.append(f"check {answer}: {text}")
        return wrong

    def walk(self):
        options = self.options
        for mode in options.modes.split(","):
            for error in ["EIO"] if mode in KILLING else options.errors.split(","):
                for operation in options.ops.split(","):
                    number = 1
                    while self.round(mode, error, operation, number):
                        number += options.step


def main():
    sweep = Sweep(arguments())
    sweep.walk()
    shutil.rmtree(sweep.log.parent, ignore_errors=True)
    print(json.dumps({**sweep.result, "classes": sweep.classes, "failures": len(sweep.failures),
                      "first": sweep.failures[:3]}))
    return 1 if sweep.failures else 0


if __name__ == "__main__":
    sys.exit(main())
