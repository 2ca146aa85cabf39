#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that exactly the headers that layers.toml lists as public are installed.

    tools/check/check_installed.py STAGE/include
"""

import pathlib
import sys

from check_layers import load
from tree import tracked_files


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_installed.py INCLUDE_FOLDER")
    table = load()
    public = {str(name) for name in tracked_files(".h")
              if name.parts[0] == "sonrel" and table.is_public(name)}
    stage = pathlib.Path(sys.argv[1])
    installed = {path.relative_to(stage).as_posix() for path in stage.rglob("*") if path.is_file()}
    faults = [f"not installed: {name}" for name in sorted(public - installed)]
    faults += [f"installed, but not public: {name}" for name in sorted(installed - public)]
    print("\n".join(faults), end="\n" if faults else "")
    print(f"installed headers: {len(installed)}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
