# SPDX-License-Identifier: MIT
"""Examines a cache folder and its database from outside: no record may refer to half a file.

Each recorded conformed file that exists must be a whole WAVE file, each recorded peak file a whole
peak file, and where the reference has a record of the same key both must have the same bytes. A
record without its file is stale: the next look-up repairs it. A file without a record is an orphan.
"""

import dataclasses
import pathlib
import shutil
import sqlite3
import struct
import tempfile

TABLES = {
    "conformed_file": "media_path, media_fingerprint, stream_index, sample_rate",
    "peak_file": "media_path, media_fingerprint, stream_index",
}
LOCK_FILE = ".sonrel-in-use"


@dataclasses.dataclass
class State:
    """The state of one cache."""

    whole: dict = dataclasses.field(default_factory=dict)  # key: bare name
    stale: int = 0
    orphans: list = dataclasses.field(default_factory=list)
    wrong: list = dataclasses.field(default_factory=list)  # texts about files that are not whole


def read_records(database):
    """{key: bare name} of the files of both kinds; empty without a database or its tables."""
    found = {}
    connection = sqlite3.connect(database, timeout=10)
    try:
        verdict = connection.execute("PRAGMA integrity_check").fetchone()[0]
        if verdict != "ok":
            raise ValueError(f"the database is damaged: {verdict}")
        tables = {name for (name,) in connection.execute("SELECT name FROM sqlite_schema")}
        for table, key in TABLES.items():
            if table not in tables:
                continue
            for row in connection.execute(f"SELECT {key}, cache_filename FROM {table}"):
                found[(table, *row[:-1])] = row[-1]
    finally:
        connection.close()
    return found


def records(database):
    """The records, read from a copy: opening a database repairs it, which is the program's task."""
    if not database.exists():
        return {}
    with tempfile.TemporaryDirectory(prefix="records-", dir=database.parent.parent) as folder:
        for ending in ("", "-wal", "-journal"):
            part = database.with_name(database.name + ending)
            if part.exists():
                shutil.copyfile(part, pathlib.Path(folder) / part.name)
        return read_records(pathlib.Path(folder) / database.name)


def wave_fault(data):
    """The reason why the bytes are not one whole stereo 16-bit WAVE file, or None."""
    if len(data) < 12 or data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        return "no WAVE header"
    if struct.unpack_from("<I", data, 4)[0] != len(data) - 8:
        return "the length in the header is not that of the file"
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
    """The reason why the bytes are not one whole peak file, or None."""
    if len(data) < 20 or data[:8] != b"ORLOXWPK":
        return "no header of a peak file"
    version, channels, blocks = struct.unpack_from("<IiI", data, 8)
    if version != 1 or not 1 <= channels <= 16 or blocks == 0:
        return "a header that no version writes"
    if len(data) != 20 + blocks * (1 + 2 * channels):
        return "the number of blocks in the header is not that of the file"
    return None


class Reference:
    """The files of an undisturbed cache, by their keys."""

    def __init__(self, database, cache):
        self.files = {key: (cache / name).read_bytes() for key, name in records(database).items()}

    def fault(self, key, data):
        fault = peak_fault(data) if key[0] == "peak_file" else wave_fault(data)
        if fault is None and self.files.get(key, data) != data:
            return "not the bytes of the reference"
        return fault


def look(database, cache, reference):
    """The state of a cache."""
    state = State()
    try:
        recorded = records(database)
    except (sqlite3.Error, ValueError) as error:
        state.wrong.append(str(error))
        return state
    for key, name in recorded.items():
        path = cache / name
        if not name or not path.exists():
            state.stale += 1
            continue
        fault = reference.fault(key, path.read_bytes())
        if fault is None:
            state.whole[key] = name
        else:
            state.wrong.append(f"{name}: {fault}")
    names = {path.name for path in cache.iterdir()} if cache.is_dir() else set()
    state.orphans = sorted(names - set(recorded.values()) - {LOCK_FILE})
    return state
