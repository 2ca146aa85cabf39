#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that completions and manual pages have every command and option of the program's help.

    tools/check/check_completion.py STAGE      an installed tree
"""

import pathlib
import re
import subprocess
import sys

COMMANDS = re.compile(r"^  ([a-z]+)  ", re.MULTILINE)
OPTIONS = re.compile(r"^  (?:-h,)?(--?[a-z-]+)", re.MULTILINE)
SCRIPTS = {"bash": "**/bash-completion/completions/sonrel", "zsh": "**/_sonrel", "fish": "**/sonrel.fish"}
SECTIONS = ("NAME", "SYNOPSIS", "ENVIRONMENT", "EXIT STATUS", "SEE ALSO")


def help_of(program, *command):
    call = [program, *command, "--help"]
    text = subprocess.run(call, check=True, capture_output=True, text=True).stdout
    options, _, rest = text.partition("Subcommands:\n")
    return options, COMMANDS.findall(rest.partition("\n\n")[0])


def tree_of(program, *command):
    """{words of a command: its options}, of a command and all below it."""
    text, below = help_of(program, *command)
    tree = {command: set(OPTIONS.findall(text))}
    for name in below:
        tree |= tree_of(program, *command, name)
    return tree


def is_named(shell, word, script):
    """Whether a script has a command or an option, in the form of its shell."""
    if shell == "fish" and word.startswith("-"):
        letter = "l" if word.startswith("--") else "s"
        return re.search(rf" -{letter} {re.escape(word.lstrip('-'))} ", script)
    return re.search(rf"(?<![\w-]){re.escape(word)}(?![\w-])", script)


def script_faults(stage, tree):
    words = {word for command, options in tree.items() for word in {*command, *options}}
    faults = []
    for shell, pattern in SCRIPTS.items():
        scripts = [path.read_text() for path in stage.glob(pattern)]
        if len(scripts) != 1:
            faults.append(f"{len(scripts)} completions for {shell}")
        faults += [f"the completion for {shell} has no {word}" for word in sorted(words)
                   if not all(is_named(shell, word, script) for script in scripts)]
    return faults


def page_faults(stage, tree):
    pages = {path.stem: path.read_text() for path in stage.glob("**/man1/sonrel*.1")}
    wanted = {"-".join(("sonrel", *command[:1])) for command in tree}
    faults = [f"no manual page {name}" for name in sorted(wanted ^ pages.keys())]
    for command, options in tree.items():
        name = "-".join(("sonrel", *command[:1]))
        text = pages.get(name, "").replace("\\-", "-")
        words = options if not command else options - {"--help"}
        faults += [f"{name}.1 has no {word}" for word in sorted(words)
                   if not re.search(rf"\\fB{re.escape(word)}\\fR", text)]
    faults += [f"{name}.1 has no section {section}" for name, text in sorted(pages.items())
               for section in SECTIONS
               if f".SH {section}\n" not in text]
    return faults


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_completion.py STAGE")
    stage = pathlib.Path(sys.argv[1])
    tree = tree_of(stage / "bin/sonrel")
    faults = script_faults(stage, tree) + page_faults(stage, tree)
    print("\n".join(faults), end="\n" if faults else "")
    print(f"completions and manual pages: {len(tree)} commands, {len(faults)} faults")
    return 1 if len(tree) < 2 or faults else 0


if __name__ == "__main__":
    sys.exit(main())
