#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Kills a command at random moments, many times, and looks at what each kill left.

    killloop.py --run COMMAND --check COMMAND [--rounds N] [--latest MS] [--seed N]

{i} in the commands stands for the round's number. The folder is not emptied between the rounds:
damage has to survive what comes after. Without --latest, three runs with the numbers -1 to -3 are
timed, and kills fall within 1.2 times the quickest. One JSON object tells the result; 1 is returned
when a check failed.
"""

import argparse
import json
import os
import random
import signal
import subprocess
import sys
import time


def start(command):
    return subprocess.Popen(command, shell=True, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, start_new_session=True)


def quickest(command):
    """Seconds."""
    times = []
    for number in (-1, -2, -3):
        begin = time.monotonic()
        start(command.replace("{i}", str(number))).wait()
        times.append(time.monotonic() - begin)
    return min(times)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--run", required=True)
    parser.add_argument("--check", required=True)
    parser.add_argument("--rounds", type=int, default=100)
    parser.add_argument("--latest", type=float, default=0)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()

    latest = options.latest / 1000 or quickest(options.run) * 1.2
    chance = random.Random(options.seed)
    killed = bad = 0
    first = None
    for number in range(1, options.rounds + 1):
        process = start(options.run.replace("{i}", str(number)))
        time.sleep(chance.uniform(0, latest))
        if process.poll() is None:
            killed += 1
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        answer = subprocess.run(options.check.replace("{i}", str(number)), shell=True,
                                capture_output=True)
        if answer.returncode != 0:
            bad += 1
            first = first or f"round {number}: {answer.stdout.decode(errors='replace')}"
    print(json.dumps({"rounds": options.rounds, "killed": killed,
                      "latest_ms": round(latest * 1000), "bad": bad, "first": first}))
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
