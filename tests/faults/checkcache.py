#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks at a cache folder and its database from outside: no record may lead to half a file.

    checkcache.py DATABASE CACHE [--reference DATABASE CACHE] [--no-orphans] [--records N]

Each recorded conformed file that is there must be a whole WAVE file, each recorded peak file a whole
one of its kind, and where the reference has a record of the same key they hold the reference's bytes. A record without its file is stale: the next
lookup repairs it. A file without a record is an orphan; --no-orphans forbids them. --records asks
for at least so many records with their file. Prints one JSON object; returns 1 when something is
wrong.
"""

import argparse
import json
import pathlib
import sqlite3
import struct
import sys


TABLES = {
    "conformed_file": "media_path, media_fingerprint, stream_index, sample_rate",
    "peak_file": "media_path, media_fingerprint, stream_index",
}


def records(database):
    """{key: bare name} of the files of both kinds; empty without a database or its tables."""
    if not database.exists() or database.stat().st_size == 0:
        return {}
    found = {}
    with sqlite3.connect(database, timeout=10) as connection:
        verdict = connection.execute("PRAGMA integrity_check").fetchone()[0]
        if verdict != "ok":
            raise ValueError(f"the database is damaged: {verdict}")
        there = {name for (name,) in connection.execute("SELECT name FROM sqlite_schema")}
        for table, key in TABLES.items():
            if table not in there:
                continue
            for row in connection.execute(f"SELECT {key}, cache_filename FROM {table}"):
                found[(table, *row[:-1])] = row[-1]
    return found


def wave_fault(data):
    """What keeps the bytes from being one whole stereo 16-bit WAVE file, or None."""
    if len(data) < 12 or data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        return "no WAVE header"
    if struct.unpack_from("<I", data, 4)[0] != len(data) - 8:
        return "the length in the header is not the file's"
    at, names = 12, []
    while at + 8 <= len(data):
        name, size = struct.unpack_from("<4sI", data, at)
        names.append(name)
        if name == b"fmt " and struct.unpack_from("<HH", data, at + 8) != (1, 2):
            return "not stereo PCM"
        at += 8 + size + size % 2
    if at != len(data) or b"fmt " not in names or b"data" not in names:
        return "the chunks do not fill the file"
    return None


def peak_fault(data):
    """What keeps the bytes from being one whole peak file, or None."""
    if len(data) < 20 or data[:8] != b"ORLOXWPK":
        return "no header of a peak file"
    version, channels, blocks = struct.unpack_from("<IiI", data, 8)
    if version != 1 or not 1 <= channels <= 16 or blocks == 0:
        return "a header that nothing writes"
    if len(data) != 20 + blocks * (1 + 2 * channels):
        return "the number of blocks in the header is not the file's"
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("database", type=pathlib.Path)
    parser.add_argument("cache", type=pathlib.Path)
    parser.add_argument("--reference", nargs=2, type=pathlib.Path)
    parser.add_argument("--no-orphans", action="store_true")
    parser.add_argument("--records", type=int, default=0)
    options = parser.parse_args()

    wrong, whole, stale = [], 0, 0
    try:
        recorded = records(options.database)
        reference = records(options.reference[0]) if options.reference else {}
    except (sqlite3.Error, ValueError) as error:
        print(json.dumps({"wrong": [str(error)]}))
        return 1
    for key, name in recorded.items():
        path = options.cache / name
        if not name or not path.exists():
            stale += 1
            continue
        data = path.read_bytes()
        fault = peak_fault(data) if key[0] == "peak_file" else wave_fault(data)
        if fault is None and key in reference:
            if data != (options.reference[1] / reference[key]).read_bytes():
                fault = "not the bytes of the reference"
        if fault is None:
            whole += 1
        else:
            wrong.append(f"{name}: {fault}")

    there = {path.name for path in options.cache.iterdir()} if options.cache.is_dir() else set()
    there.discard(".sonrel-in-use")  # the lock file
    orphans = len(there - set(recorded.values()))
    if options.no_orphans and orphans:
        wrong.append(f"{orphans} orphans")
    if whole < options.records:
        wrong.append(f"{whole} whole records, {options.records} wanted")
    print(json.dumps({"records": len(recorded), "whole": whole, "stale": stale,
                      "orphans": orphans, "wrong": wrong}))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
