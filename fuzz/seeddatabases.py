# SPDX-License-Identifier: MIT
"""Media databases of every version, in small pages, from the schema in the sources."""

import pathlib
import re
import sqlite3
import tempfile

RECORDS = (
    "INSERT INTO conformed_file (media_path, media_fingerprint, stream_index, sample_rate,"
    " cache_filename, last_use) VALUES ('/media/a.wav', '1', 0, 48000, 'a.xwmc', 5),"
    " ('/media/b.wav', '2', 1, 44100, '../b.xwmc', 6), ('/media/c.wav', '3', 0, 48000, '', 7)",
    "INSERT INTO peak_file (media_path, media_fingerprint, stream_index, cache_filename, last_use)"
    " VALUES ('/media/a.wav', '1', 0, 'a.xwpk', 5), ('/media/b.wav', '2', 0, 'notes.txt', 6)",
    "INSERT INTO vfr_cache_file (media_path, media_fingerprint, stream_index, cache_filename,"
    " last_use) VALUES ('/media/v.mov', '1', 0, 'v', 5)")


def schema(project):
    folder = project / "sonrel/database"
    steps = re.findall(r'R"sql\((.*?)\)sql"', (folder / "DatabaseSchema.cpp").read_text(), re.S)
    header = (folder / "detail/DatabaseSchema.h").read_text()
    identity = re.search(r"DATABASE_APPLICATION_ID = (\w+)", header).group(1)
    return steps, int(identity, 0)


def make(path, steps, identity, version, log):
    connection = sqlite3.connect(path, isolation_level=None)
    connection.execute("PRAGMA page_size=512")
    for step in steps[:version]:
        connection.executescript(step)
    for records in RECORDS:
        connection.execute(records)
    if version > 1:
        connection.execute("UPDATE conformed_file SET checksum=1 WHERE stream_index=0")
    connection.execute(f"PRAGMA application_id={identity}")
    connection.execute(f"PRAGMA user_version={version}")
    if log:
        connection.execute("PRAGMA journal_mode=WAL")
        connection.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    connection.close()
    return pathlib.Path(path).read_bytes()


def databases(project):
    """The newest version first."""
    steps, identity = schema(project)
    with tempfile.TemporaryDirectory() as folder:
        for version in range(len(steps), 0, -1):
            for log in (False, True):
                name = f"version{version}{'log' if log else ''}"
                yield name, make(f"{folder}/{name}", steps, identity, version, log)
