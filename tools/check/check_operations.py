#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the operations that the engine calls of a project library with the tables of
docs/own-project.md.

    tools/check/check_operations.py LIBSONREL          compares
    tools/check/check_operations.py --list LIBSONREL   prints the operations as rows of the tables
    tools/check/check_operations.py --none LIBSONREL   compares, for an engine that was built with
                                                       SONREL_PROJECT_LIBRARY=none: besides the
                                                       operations, no symbol may be missing

The operations are the symbols of orlo::project and zrh::media that the engine does not define. Each
row of a table begins with one operation in backticks.
"""

import pathlib
import re
import subprocess
import sys

from tree import ROOT

PAGE = "docs/own-project.md"
ROW = re.compile(r"^\| `([^`]*::[^`]*)` \|", re.MULTILINE)
OPERATION = re.compile(r"^(orlo::project|zrh::media)::")
WSTRING = re.compile(r"std::__cxx11::basic_string<wchar_t(?:, std::\w+<wchar_t>\s*)*>")
NEEDED = re.compile(r"^\s*(?:\S+ => )?(/\S+) \(", re.MULTILINE)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def symbols(library, which):
    """The dynamic symbols of a library, mangled and without versions, weak ones left out."""
    lines = run("nm", "-D", which, str(library)).splitlines()
    fields = [line.split() for line in lines]
    return {field[-1].split("@")[0] for field in fields if field[-2] not in "wv"}


def demangled(names):
    names = sorted(names)
    result = subprocess.run(["c++filt"], input="\n".join(names), check=True, capture_output=True,
                            text=True).stdout.splitlines()
    return dict(zip(names, result))


def short(symbol):
    """A signature as a reader writes it."""
    symbol = WSTRING.sub("std::wstring", symbol).replace("[abi:cxx11]", "")
    return symbol.replace("orlo::project::", "").replace("std::function<void ()>",
                                                         "std::function<void()>")


def operations(library):
    undefined = demangled(symbols(library, "--undefined-only"))
    return {short(name) for name in undefined.values() if OPERATION.match(name)}


def missing_symbols(library):
    """Undefined symbols that are neither operations nor defined by a library that is linked."""
    undefined = symbols(library, "--undefined-only")
    for needed in NEEDED.findall(run("ldd", str(library))):
        undefined -= symbols(needed, "--defined-only")
    return {name for name in demangled(undefined).values() if not OPERATION.match(name)}


def faults_of(library, page):
    rows = ROW.findall(page)
    called = operations(library)
    faults = [f"{PAGE}: no row for `{name}`" for name in sorted(called - set(rows))]
    faults += [f"{PAGE}: the engine does not call `{name}`" for name in sorted(set(rows) - called)]
    faults += [f"{PAGE}: two rows for `{name}`"
               for name in sorted(set(rows)) if rows.count(name) > 1]
    if not called:
        faults.append(f"{library} calls no operation of a project library")
    return faults, len(called)


def main():
    options, names = sys.argv[1:-1], sys.argv[-1:]
    if not names or not pathlib.Path(names[0]).is_file() or options not in ([], ["--list"],
                                                                          ["--none"]):
        sys.exit(__doc__.split("\n\n")[1])
    library = pathlib.Path(names[0])
    if options == ["--list"]:
        print("\n".join(f"| `{name}` | |" for name in sorted(operations(library))))
        return 0
    faults, count = faults_of(library, (ROOT / PAGE).read_text())
    if options == ["--none"]:
        faults += [f"{library.name} misses {name}" for name in sorted(missing_symbols(library))]
    print("\n".join(faults), end="\n" if faults else "")
    print(f"operations: {count}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
