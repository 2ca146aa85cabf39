#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that the completion for bash has every option and command of the program's help.

    tools/check/check_completion.py PATH/sonrel
"""

import re
import subprocess
import sys

from tree import ROOT

COMPLETION = ROOT / "packaging/completions/sonrel.bash"
COMMANDS = re.compile(r"^  ([a-z]+)  ", re.MULTILINE)
OPTIONS = re.compile(r"^  (?:-h,)?(--?[a-z-]+)", re.MULTILINE)


def help_of(program, *command):
    call = [program, *command, "--help"]
    return subprocess.run(call, check=True, capture_output=True, text=True).stdout


def words_of(program, *command):
    """The options and commands of one command and all below it."""
    text = help_of(program, *command)
    below = set(COMMANDS.findall(text.partition("Subcommands:")[2]))
    words = below | set(OPTIONS.findall(text))
    for name in below:
        words |= words_of(program, *command, name)
    return words


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_completion.py PROGRAM")
    known = set(re.findall(r"(?<![\w-])-{0,2}[a-z][a-z-]*", COMPLETION.read_text()))
    words = words_of(sys.argv[1])
    missing = sorted(words - known)
    print("".join(f"{COMPLETION.name} does not have {word}\n" for word in missing), end="")
    print(f"completion: {len(words)} words, {len(missing)} missing")
    return 0 if words and not missing else 1


if __name__ == "__main__":
    sys.exit(main())
