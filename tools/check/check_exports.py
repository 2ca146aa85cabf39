#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the exported names of the shared libraries with packaging/exports.txt.

    tools/check/check_exports.py BUILD_FOLDER

A name of the list includes all names inside it: a class with its members, tables and type
information, or a function with all its overloads. Every exported symbol must belong to a name of
its library, and every name must have a symbol. Weak symbols may belong to a name of the section
[header-only] instead; weak instantiations of foreign templates, which every C++ library exports, do not
count.
"""

import pathlib
import re
import subprocess
import sys

from tree import ROOT

LIST = ROOT / "packaging/exports.txt"
OF_A_CLASS = re.compile(r"^(?:vtable|VTT|typeinfo|typeinfo name|guard variable|construction vtable)"
                        r" for |^(?:non-virtual|virtual|covariant return) thunk to ")
WEAK = "WVu"
# Ends of sections, which the linker exports when a linked library does.
OF_THE_LINKER = {"__bss_start", "_edata", "_end"}
FOREIGN = ("std::", "boost::", "__gnu_cxx::", "Q", "void (")


def listed_names():
    """{library: [name]} from sections [library] of one name a line; # starts a comment."""
    libraries = {}
    section = None
    for number, line in enumerate(LIST.read_text().splitlines(), 1):
        line = line.split("#")[0].strip()
        if not line:
            continue
        if line.startswith("["):
            section = libraries.setdefault(line.strip("[]"), [])
        elif section is None:
            sys.exit(f"{LIST.name}:{number}: a name before the first [library]")
        else:
            section.append(line)
    return libraries


def exported(library):
    """[(kind, symbol)]: kind is the letter of nm, symbol the demangled name."""
    command = ["nm", "-DC", "--defined-only", str(library)]
    lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    found = []
    for line in lines:
        kind, symbol = line.split(" ", 2)[1:]
        if symbol not in OF_THE_LINKER:
            found.append((kind, OF_A_CLASS.sub("", symbol)))
    return found


def without_result(symbol):
    """Removes the result type at the start of a template function's symbol."""
    depth = 0
    start = 0
    for at, letter in enumerate(symbol):
        if letter == "(" and depth == 0:
            break
        depth += (letter in "<(") - (letter in ">)")
        if letter == " " and depth == 0:
            start = at + 1
    return symbol[start:]


def is_foreign(symbol):
    return symbol.startswith(FOREIGN) or without_result(symbol).startswith(FOREIGN)


def belongs(symbol, name):
    rest = symbol[len(name):]
    return symbol.startswith(name) and (rest == "" or rest.startswith(("::", "(", "[", "<")))


def check(library, names, header_only):
    faults = []
    used = set()
    symbols = exported(library)
    for kind, symbol in symbols:
        owner = next((name for name in names if belongs(symbol, name)), None)
        if owner is not None:
            used.add(owner)
        elif kind not in WEAK or not (is_foreign(symbol) or
                                      any(belongs(symbol, name) for name in header_only)):
            faults.append(f"{library.name} shows {symbol}, which is not in {LIST.name}")
    faults += [f"{LIST.name}: {library.name} shows no {name}" for name in names if name not in used]
    return len(symbols), faults


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_exports.py BUILD_FOLDER")
    build = pathlib.Path(sys.argv[1])
    faults = []
    count = 0
    libraries = listed_names()
    header_only = libraries.pop("header-only", [])
    for name, names in libraries.items():
        library = next(build.glob(f"sonrel/**/{name}"), None)
        if library is None:
            faults.append(f"{name} is not under {build}")
            continue
        symbols, found = check(library, names, header_only)
        count += symbols
        faults += found
    print("\n".join(faults), end="\n" if faults else "")
    print(f"exports: {count} symbols, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
