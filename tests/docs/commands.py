#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the commands of the pages and compares their output with the output that the pages show.

    tests/docs/commands.py PROGRAM [FOLDER] [--only WORD]...
    tests/docs/commands.py --self-test

The blocks of a page run one after another in one shell, in a new folder with the media files of
docmedia.py. The folder is shown as /home/me.

    ```console   commands after "$ ", each with its output. An ellipsis (…) is any text, and a line with
                 nothing else any lines. A command without output in the page is not compared. A command
                 fails if and only if its output has a line that begins with "sonrel: "
    ```sh        a script; each of its commands must succeed

The comment <!-- not run: REASON --> in the line before a block leaves it out, and <!-- needs: PROGRAM… -->
where a program is not installed.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import docmedia
from pages import Step, blocks_in, blocks_of, pages, steps_of

MARK = "\x1e"


def is_run(block):
    """Whether the block is run on this machine."""
    if block.language not in ("console", "sh") or block.note.startswith("not run: "):
        return False
    needed = block.note.removeprefix("needs: ").split() if block.note.startswith("needs: ") else []
    return all(shutil.which(program) for program in needed)


def steps(blocks):
    """The steps of the blocks of a page, in their order. A script is one step without an output."""
    found = []
    for block in filter(is_run, blocks):
        if block.language == "console":
            found += steps_of(block)
        else:
            text = "\n".join(block.lines)
            found.append(Step(block.line, f"( set -e\n{text}\n)", []))
    return found


def script_of(found):
    """A script that marks the end of each step, with its exit code. $? is that of the step before."""
    lines = ["exec 2>&1", "status=0"]
    for step in found:
        lines += ["{ (exit $status)", step.command, "}", "status=$?",
                  f"printf '{MARK}%d\\n' $status"]
    return "\n".join(lines) + "\n"


def pattern_of(output):
    """The regular expression of the output that a page shows."""
    lines = []
    for line in output:
        parts = [re.escape(part) for part in line.rstrip().split("…")]
        lines.append(r"(?:.*\n)*?" if line.strip() == "…" else ".*".join(parts) + r"\n")
    return re.compile("".join(lines))


def fault_in(step, output, code):
    """The difference of a step from the page, or None."""
    fails = any(line.startswith("sonrel: ") for line in step.output)
    if (code != 0) != fails:
        return f"exit code {code}"
    if step.output and not pattern_of(step.output).fullmatch(output):
        return "another output"
    return None


def run_script(script, folder, program):
    """Runs a script with the folder as home. @return its output, with the folder as /home/me"""
    tools = folder.parent / "bin"
    tools.mkdir(exist_ok=True)
    link = tools / "sonrel"
    if not link.exists():
        link.symlink_to(program)
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith("XDG_")}
    environment |= {"HOME": str(folder), "PATH": f"{tools}:{os.environ['PATH']}", "TZ": "UTC",
                    "LC_ALL": "C.UTF-8", "TERM": "dumb", "SDL_AUDIODRIVER": "dummy"}
    done = subprocess.run(["bash", "-c", script], cwd=folder, env=environment, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=1500)
    text = done.stdout.decode(errors="replace")
    return text.replace(str(folder), "/home/me")


def results_of(text):
    """The output, with a line end, and the exit code of each step that ended."""
    parts = re.split(MARK + r"(\d+)\n", text)
    return [(output if output.endswith("\n") or not output else output + "\n", int(code))
            for output, code in zip(parts[::2], parts[1::2])]


def run_page(page, folder, program):
    """Runs a page in a new folder. @return the number of steps and the faults"""
    found = steps(blocks_of(page))
    if not found:
        return 0, []
    docmedia.fill(folder)
    results = results_of(run_script(script_of(found), folder, program))
    faults = []
    for step, (output, code) in zip(found, results):
        if reason := fault_in(step, output, code):
            faults.append(f"{page}:{step.line}: {reason}\n$ {step.command}\n{output}"
                          "--- the page shows\n" + "\n".join(step.output) + "\n")
    if len(results) < len(found):
        faults.append(f"{page}:{found[len(results)].line}: the shell ended in this step\n")
    shutil.rmtree(folder)
    return len(found), faults


GOOD = """
```console
$ echo "one two"; echo three
one …
…
$ echo "sonrel: gone"; false
sonrel: gone
$ echo $?
1
$ value=5
```

    shown

```sh
test "$value" = 5
echo "$HOME"
```
"""
BAD = """
```console
$ echo one
two
$ false
$ echo "sonrel: gone"
sonrel: gone
$ echo one; echo two
one
```

```sh
false
true
```

<!-- not run: it would fail -->
```sh
false
```
"""


def faults_of(text, folder):
    """Whether each step of a page has a fault."""
    found = steps(blocks_in("page.md", text))
    results = results_of(run_script(script_of(found), folder, pathlib.Path("/bin/true")))
    return [bool(fault_in(step, output, code)) for step, (output, code) in zip(found, results)]


def self_test():
    with tempfile.TemporaryDirectory(prefix="sonrel-docs-") as folder:
        home = pathlib.Path(folder) / "home"
        home.mkdir()
        good, bad = faults_of(GOOD, home), faults_of(BAD, home)
    knows = good == 5 * [False] and bad == 5 * [True]
    print(f"commands: good and bad are {'known' if knows else 'confused'}: {good} {bad}")
    return 0 if knows else 1


def run_pages(chosen, program, root):
    """Runs pages. @return the number of faults"""
    docmedia.make(root / "media")
    count, faults = 0, []
    for number, page in enumerate(chosen):
        steps_run, found = run_page(page, root / f"page-{number}", program)
        count += steps_run
        faults += found
    print("\n".join(faults), end="")
    print(f"commands of the pages: {count} in {len(chosen)} pages, {len(faults)} faults")
    return len(faults) if count else 1


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    parser = argparse.ArgumentParser()
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path, nargs="?", default=tempfile.gettempdir())
    parser.add_argument("--only", action="append", help="the pages with this word in their path")
    options = parser.parse_args()
    words = options.only or [""]
    chosen = [page for page in pages() if any(word in page for word in words)]
    with tempfile.TemporaryDirectory(prefix="sonrel-docs-", dir=options.folder) as folder:
        faults = run_pages(chosen, options.program.resolve(), pathlib.Path(folder).resolve())
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
