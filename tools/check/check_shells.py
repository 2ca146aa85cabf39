#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Types command lines into shells and compares the words that the program would receive.

    tools/check/check_shells.py STAGE SHELL...      bash, zsh, fish

The scripts are those of an installed tree. In each shell `sonrel` is a function that appends its
arguments to a file. The shell runs in a terminal, and a tab completes the word before the cursor.
"""

import os
import pathlib
import pty
import select
import sys
import tempfile
import time

MAX_SECONDS = 60  # for a line; a shell that takes longer hangs
# A typed line, and the arguments of the program.
CASES = (
    ("sonrel al\tx", ["align", "x"]),
    ("sonrel cache cl\tx", ["cache", "clean", "x"]),
    ("sonrel cache clean --max\t1", ["cache", "clean", "--max-size", "1"]),
    ("sonrel cache check --max\t", ["cache", "check", "--max"]),
    ("sonrel --cache mix wav\tx", ["--cache", "mix", "waveform", "x"]),
    ("sonrel mix --ret\tme\t", ["mix", "--retime", "media"]),
    ("sonrel --progress j\tx", ["--progress", "json", "x"]),
    ("sonrel mix --progress j\tx", ["mix", "--progress", "json", "x"]),
    ("sonrel mix --progress=j\t", ["mix", "--progress=json"]),
    ("sonrel plan conf\ted\t", ["plan", "conform", "edit.otio"]),
    ("sonrel play --output nu\tx", ["play", "--output", "null", "x"]),
    ("sonrel play --output ed\t", ["play", "--output", "edit.otio"]),
    ("sonrel mix edit.otio -o my\\ t\t", ["mix", "edit.otio", "-o", "my take 1.wav"]),
    ("sonrel info my\\ t\t", ["info", "my take 1.wav"]),
    ("sonrel conform a\tb\t", ["conform", "a*b.wav", "b'c \"d\".wav"]),
    ("sonrel align edit.otio my\\ t\t", ["align", "edit.otio", "my take 1.wav"]),
    ("sonrel --cache my\t", ["--cache", "my folder/"]),
    ("sonrel --cache my\\ folder/in\t", ["--cache", "my folder/inner dir/"]),
    ("sonrel --rate ed\t", ["--rate", "ed"]),
)
FILES = ("edit.otio", "my take 1.wav", "a*b.wav", "b'c \"d\".wav", "my folder/inner.wav",
         "my folder/inner dir/x.wav")

PRINT = "printf '%s\\n' \"$@\" >>\"$RECORD\"; echo . >>\"$RECORD\""
# For each shell: its command, its script below the stage, and the lines that prepare it.
SHELLS = {
    "bash": (["bash", "--noprofile", "--norc", "-i"], "**/bash-completion/completions/sonrel",
             ["bind 'set bell-style none'", ". '{script}'", "sonrel() {{ " + PRINT + "; }}"]),
    "zsh": (["zsh", "-f", "-i"], "**/_sonrel",
            ["fpath=('{folder}' $fpath)", "autoload -Uz compinit", "compinit -u -D",
             "unsetopt auto_remove_slash", "sonrel() {{ " + PRINT + " }}"]),
    "fish": (["fish", "--private", "--no-config", "-i"], "**/sonrel.fish",
             ["source '{script}'",
              "function sonrel; printf '%s\\n' $argv >>$RECORD; echo . >>$RECORD; end"]),
}


class Terminal:
    """A shell in a pseudo-terminal."""

    def __init__(self, command, folder, record):
        self.record = record
        self.shown = b""
        self.shell, self.descriptor = pty.fork()
        if self.shell == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, {
                "HOME": str(folder), "LC_ALL": "C.UTF-8", "PATH": os.environ["PATH"],
                "PS1": "> ", "RECORD": str(record), "TERM": "dumb"})

    def type(self, text):
        os.write(self.descriptor, text.encode())

    def records(self):
        """The arguments of all calls so far."""
        if not self.record.exists():
            return []
        text = self.record.read_text()
        return [call.splitlines() for call in text.split(".\n")[:-1]]

    def wait(self, count):
        """Waits until the function was called so often. Reads what the shell shows meanwhile."""
        end = time.monotonic() + MAX_SECONDS
        while len(self.records()) < count and time.monotonic() < end:
            if select.select([self.descriptor], [], [], 0.05)[0]:
                try:
                    self.shown += os.read(self.descriptor, 65536)
                except OSError:  # the shell has ended
                    break
        return len(self.records()) >= count

    def close(self):
        os.close(self.descriptor)
        os.waitpid(self.shell, 0)


def separate(words):
    """The words with each --name=value as two words, which the program reads as the same."""
    return [part for word in words
            for part in (word.split("=", 1) if word.startswith("--") else [word])]


def faults_of(stage, name, folder):
    command, pattern, lines = SHELLS[name]
    scripts = sorted(stage.glob(pattern))
    if len(scripts) != 1:
        return [f"{name}: {len(scripts)} files {pattern} in {stage}"]
    places = {"script": scripts[0], "folder": scripts[0].parent}
    record = folder.parent / f"record-{name}"
    terminal = Terminal(command, folder, record)
    for line in lines:
        terminal.type(line.format(**places) + "\n")
    terminal.type("sonrel ready\n")
    if not terminal.wait(1):
        return [f"{name} does not start: {terminal.shown.decode(errors='replace')[-500:]}"]
    faults = []
    for number, (typed, wanted) in enumerate(CASES, start=2):
        terminal.type(typed + "\n")
        if not terminal.wait(number):
            shown = terminal.shown.decode(errors="replace")[-500:]
            return faults + [f"{name}: {typed!r} calls nothing: {shown}"]
        words = separate(terminal.records()[-1])
        if words != separate(wanted):
            faults.append(f"{name}: {typed!r} becomes {words}, not {wanted}")
    terminal.type("exit\n")
    terminal.close()
    return faults


def main():
    if len(sys.argv) < 3 or not set(sys.argv[2:]) <= SHELLS.keys():
        sys.exit("usage: check_shells.py STAGE bash|zsh|fish...")
    stage = pathlib.Path(sys.argv[1]).resolve()
    faults = []
    with tempfile.TemporaryDirectory() as top:
        folder = pathlib.Path(top) / "work"
        for file in FILES:
            (folder / file).parent.mkdir(parents=True, exist_ok=True)
            (folder / file).write_bytes(b"")
        for name in sys.argv[2:]:
            faults += faults_of(stage, name, folder)
    print("\n".join(faults), end="\n" if faults else "")
    print(f"completions: {len(CASES)} lines in {', '.join(sys.argv[2:])}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
