#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Programs and machines that share a cache with a database on a server.

    servers.py SONREL FAULTFS [--rounds N] [--processes N] [--files N] [--seed N]

Starts a PostgreSQL server in a temporary folder. Prints one figure on each line, and the wrong
cases; returns 1 when something is wrong. As root, a network namespace is the machine that
disappears; without root that part is left out.
"""

import argparse
import os
import pathlib
import random
import sys
import tempfile

import lostmachine
import rounds
from server import Server


def run(options, folder):
    program = options.program.resolve()
    folder.chmod(0o755)
    server = Server(folder / "server")
    try:
        figures = rounds.run(program, folder, server, options)
    finally:
        server.stop()
    if os.getuid() == 0:
        (folder / "lost").mkdir()
        figures += lostmachine.run(program, options.faultfs.resolve(), folder / "lost")
    return figures


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("faultfs", type=pathlib.Path)
    parser.add_argument("--rounds", type=int, default=200)
    parser.add_argument("--processes", type=int, default=8)
    parser.add_argument("--files", type=int, default=20)
    parser.add_argument("--seed", type=int, default=random.randrange(2**32))
    options = parser.parse_args()
    print(f"seed {options.seed}")
    with tempfile.TemporaryDirectory(prefix="sonrel-servers-") as folder:
        figures = run(options, pathlib.Path(folder))
    for figure in figures:
        print(figure.line())
        print("\n".join(figure.details[:20]), end="\n" if figure.details else "")
    return 0 if all(figure.holds() for figure in figures) else 1


if __name__ == "__main__":
    sys.exit(main())
