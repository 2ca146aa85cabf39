#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the Debian packages: what they contain, and what they depend on.

    tools/check/check_packages.py FOLDER      the packages of a folder
"""

import pathlib
import re
import subprocess
import sys

DESKTOP = re.compile(r"\b(libqt5(?!core)\w+|libgl1|libx11|libwayland|libsdl2|libpulse|libasound)")
MODULES = r"usr/lib/[^/]+-linux-gnu[^/]*/sonrel-[0-9.]+/"
# The files that each package has, apart from its documents.
CONTENTS = {
    r"libsonrel\d+": [r"usr/lib/[^/]+-linux-gnu[^/]*/libsonrel(-\w+)?\.so\.\d+", MODULES + r"ffmpeg\.so",
                      MODULES + r"postgresql\.so"],
    r"libsonrel\d+-painter": [MODULES + r"painter\.so", MODULES + r"pictures\.so"],
    "libsonrel-dev": [r"usr/include/sonrel/engine/Sonrel\.h", r"usr/share/doc/libsonrel-dev/docs/.*",
                      r"usr/lib/[^/]+-linux-gnu[^/]*/pkgconfig/sonrel\.pc"],
    "libsonrel-doc": [r"usr/share/doc/libsonrel-dev/html/(index\.html|search/search\.js)"],
    "python3-sonrel": [r"usr/lib/python3/dist-packages/sonrel/_sonrel\..*\.so"],
    "sonrel": [r"usr/bin/sonrel", r"usr/share/man/man1/sonrel\.1\.gz",
               r"usr/share/man/man1/sonrel-mix\.1\.gz",
               r"usr/share/bash-completion/completions/sonrel",
               r"usr/share/fish/vendor_completions\.d/sonrel\.fish",
               r"usr/share/zsh/vendor-completions/_sonrel"],
}
# The packages that may depend on libraries of a desktop.
DRAWING = r"libsonrel\d+-painter"


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def faults_of(package):
    name, depends, maintainer = (
        output("dpkg-deb", "-f", package, field).strip()
        for field in ("Package", "Depends", "Maintainer"))
    files = [line.split(None, 5)[5].removeprefix("./").split(" -> ")[0]
             for line in output("dpkg-deb", "-c", package).splitlines()]
    wanted = next((CONTENTS[pattern] for pattern in CONTENTS if re.fullmatch(pattern, name)), [])
    wanted = [*wanted, f"usr/share/doc/{name}/copyright", f"usr/share/doc/{name}/changelog.gz"]
    faults = [f"{name} contains no {pattern}" for pattern in wanted
              if not any(re.fullmatch(pattern, file) for file in files)]
    faults += [f"{name} depends on {found}" for found in DESKTOP.findall(depends)
               if not re.fullmatch(DRAWING, name)]
    if "localhost" in maintainer:
        faults.append(f"{name}: {maintainer} is not an address")
    return name, faults


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_packages.py FOLDER")
    names, faults = [], []
    for package in sorted(pathlib.Path(sys.argv[1]).glob("*.deb")):
        name, found = faults_of(package)
        names.append(name)
        faults += found
    faults += [f"there is no package {pattern}" for pattern in CONTENTS
               if not any(re.fullmatch(pattern, name) for name in names)]
    print("\n".join(faults), end="\n" if faults else "")
    print(f"packages: {', '.join(names)}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
