# SPDX-License-Identifier: MIT
"""What the checks share: the root of the tree and the files that belong to it."""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]


def tracked_files(*suffixes):
    """The files of the tree with one of the suffixes, as paths relative to ROOT, sorted.

    Git answers where there is a repository, with new files that it does not ignore; in an unpacked
    archive everything outside build/ counts.
    """
    if (ROOT / ".git").exists():
        command = ["git", "-C", str(ROOT), "ls-files", "-z", "--cached", "--others",
                   "--exclude-standard"]
        listed = subprocess.run(command, check=True, capture_output=True).stdout.decode()
        names = [pathlib.PurePosixPath(name) for name in listed.split("\0") if name]
    else:
        names = [pathlib.PurePosixPath(path.relative_to(ROOT).as_posix())
                 for path in ROOT.rglob("*") if path.is_file()]
    return sorted({name for name in names
                   if name.suffix in suffixes and name.parts[0] != "build"
                   and (ROOT / name).is_file()})
