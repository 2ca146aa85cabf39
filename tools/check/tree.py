# SPDX-License-Identifier: MIT
"""Helpers of all checks: the root of the tree and its files."""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]


def tracked_files(*suffixes):
    """The files of the tree with one of the suffixes, as paths relative to ROOT, sorted.

    Git lists them where it can, with new files that are not ignored; in an unpacked archive all
    files outside build/ count.
    """
    return sorted({name for name in listed_by_git() or found_by_walking()
                   if name.suffix in suffixes and name.parts[0] != "build"
                   and (ROOT / name).is_file()})


def listed_by_git():
    """All files that git lists; empty where there is no repository, or git does not trust it."""
    command = ["git", "-C", str(ROOT), "ls-files", "-z", "--cached", "--others",
               "--exclude-standard"]
    try:
        listed = subprocess.run(command, check=True, capture_output=True).stdout.decode()
    except (OSError, subprocess.CalledProcessError):
        return []
    return [pathlib.PurePosixPath(name) for name in listed.split("\0") if name]


def found_by_walking():
    return [pathlib.PurePosixPath(path.relative_to(ROOT).as_posix())
            for path in ROOT.rglob("*") if path.is_file()]
