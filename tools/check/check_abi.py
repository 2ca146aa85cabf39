#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the binary interface of the shared libraries with that of the last release.

    check_abi.py BUILD_FOLDER HEADERS                  compares with the newest folder of packaging/abi
    check_abi.py --dump VERSION BUILD_FOLDER HEADERS   writes packaging/abi/VERSION
    check_abi.py --self-test                           libraries with known changes

HEADERS is the folder of the installed headers. The libraries need debug information. Added functions are
accepted. A change that breaks programs built with the last release is accepted only where the library has
another soname since; the check then says so. Needs abidw and abidiff (Debian: abigail-tools).
"""

import lzma
import pathlib
import re
import subprocess
import sys
import tempfile

from check_exports import listed_names
from tree import ROOT

DUMPS = ROOT / "packaging/abi"
PACKED = ".abi.xz"
FAILED = 1 | 2  # bits of abidiff's status: error, wrong usage
CHANGED = 4 | 8  # a type that is visible to programs, or a removed symbol
SONAME = re.compile(r"\(SONAME\).*\[(.+)\]")
SONAME_OF_DUMP = re.compile(r"<abi-corpus .*\bsoname='([^']+)'")


def soname(library):
    listed = subprocess.run(["readelf", "-dW", library], check=True, capture_output=True, text=True)
    return SONAME.search(listed.stdout).group(1)


def dump(library, file, headers):
    """Types that no header defines are left out: programs know only pointers to them."""
    subprocess.run(["abidw", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs",
                    "--headers-dir", headers, "--drop-private-types",
                    "--out-file", file, library], check=True)


def broken(old, new):
    """@return  the report of abidiff when programs built with the old dump cannot use the new one"""
    compared = subprocess.run(["abidiff", "--no-show-locs", "--no-added-syms", old, new],
                              capture_output=True, text=True, check=False)
    if compared.returncode & FAILED:
        sys.exit(f"abidiff: {compared.stderr or compared.stdout}")
    return compared.stdout if compared.returncode & CHANGED else ""


def libraries(folder):
    """The libraries of packaging/exports.txt in a build folder, by name. A module has a folder of its
    version, and is loaded by the library of that version only."""
    names = [name for name in listed_names() if name.startswith("lib") and name.endswith(".so")]
    return {name: next(pathlib.Path(folder).rglob(name)) for name in names}


def newest_release():
    """The folder of the highest version, or None before the first release."""
    folders = [path for path in DUMPS.glob("*.*.*") if path.is_dir()]
    return max(folders, key=lambda path: [int(part) for part in path.name.split(".")], default=None)


def compare(old, library, headers):
    """@return  1 for a break that the soname does not announce"""
    with tempfile.TemporaryDirectory() as folder:
        new = pathlib.Path(folder) / "new.abi"
        dump(library, new, headers)
        report = broken(old, new)
    before = SONAME_OF_DUMP.search(old.read_text()).group(1)
    if report and soname(library) == before:
        print(f"{report}\n{library.name}: programs built with the last release cannot use it, and its "
              f"soname is still {before}. Undo the change, or raise SONREL_SOVERSION in CMakeLists.txt.")
        return 1
    change = f"another soname than {before}" if soname(library) != before else "compatible"
    print(f"{library.name}: {change}")
    return 0


def check(folder, headers):
    release = newest_release()
    found = libraries(folder)
    if release is None:
        print(f"abi: no release yet; {len(found)} libraries are free to change")
        return 0
    dumped = {path.name.removesuffix(PACKED): path for path in release.glob("*" + PACKED)}
    gone = sorted(set(dumped) - set(found))
    if gone:
        print(f"abi: libraries of {release.name} are gone: {' '.join(gone)}")
    return len(gone) + sum(compare_packed(dumped[name], found[name], headers)
                           for name in sorted(dumped) if name in found)


def compare_packed(packed, library, headers):
    with tempfile.TemporaryDirectory() as folder:
        old = pathlib.Path(folder) / "old.abi"
        old.write_bytes(lzma.decompress(packed.read_bytes()))
        return compare(old, library, headers)


def dump_all(version, folder, headers):
    target = DUMPS / version
    target.mkdir(parents=True)
    for name, library in libraries(folder).items():
        file = target / f"{name}.abi"
        dump(library, file, headers)
        (target / (name + PACKED)).write_bytes(lzma.compress(file.read_bytes()))
        file.unlink()
    print(f"abi: {target.relative_to(ROOT)}")


LEVEL = "struct Level { int gain; };"
MOVED = "struct Level { int pan, gain; };"
PRIVATE = "struct Private { int count; }; Private* Session() { return new Private{1}; }"
LARGER = PRIVATE.replace("int count", "int count, limit")
MIX = "int Mix(Level* level) { return level->gain; }" + PRIVATE
CASES = {  # header, source, soname, number of breaks
    "an added function is compatible": (LEVEL, MIX + "int Play() { return 1; }", "libx.so.0", 0),
    "a private type may change": (LEVEL, MIX.replace(PRIVATE, LARGER), "libx.so.0", 0),
    "a removed function is a break": (LEVEL, PRIVATE, "libx.so.0", 1),
    "a moved member is a break": (MOVED, MIX, "libx.so.0", 1),
    "a break with a new soname is announced": (MOVED, MIX, "libx.so.1", 0),
}


def compiled(folder, header, source, library_soname):
    """A library x.so with the header in its folder."""
    folder.mkdir()
    (folder / "level.h").write_text(header)
    (folder / "x.cpp").write_text('#include "level.h"\n' + source)
    library = folder / "x.so"
    subprocess.run(["c++", "-g", "-shared", "-fPIC", f"-Wl,-soname,{library_soname}", "-o", library,
                    folder / "x.cpp"], check=True)
    return library


def self_test():
    wrong = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        old = folder / "old.abi"
        dump(compiled(folder / "old", LEVEL, MIX, "libx.so.0"), old, folder / "old")
        for index, (case, (header, source, new_soname, breaks)) in enumerate(CASES.items()):
            headers = folder / str(index)
            if compare(old, compiled(headers, header, source, new_soname), headers) != breaks:
                wrong += 1
                print(f"abi: wrong for: {case}")
    print(f"abi: {len(CASES)} known changes, {wrong} faults")
    return wrong


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    if len(arguments) == 4 and arguments[0] == "--dump":
        return dump_all(*arguments[1:])
    if len(arguments) == 2:
        return check(*arguments)
    sys.exit(__doc__)


if __name__ == "__main__":
    sys.exit(1 if main(sys.argv[1:]) else 0)
