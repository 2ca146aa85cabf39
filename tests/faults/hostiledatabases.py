# SPDX-License-Identifier: MIT
"""Media databases that are damaged, foreign or hostile, all made from a good one.

Each is a folder with "media.db" in it, and with the files beside a database where these are part of
the case. A few change the cache folder too.
"""

import os
import pathlib
import random
import shutil
import sqlite3
import uuid

TABLES = {"conformed_file": ".xwmc", "peak_file": ".xwpk", "vfr_cache_file": ".bin"}
HEADER_BYTES = [*range(16, 28), 40, 44, 47, 56, 59, 60, 63, 68, 71, 96, 100, 103, 105, 107]


def hostile_names(outside, ending):
    """Names of cache files that lead elsewhere, or are no names."""
    victim = str(outside / f"victim{ending}")
    return ["", ".", "..", f"../outside/victim{ending}", f"../../../../../../..{victim}", victim,
            f"/victim{ending}", f"a/b{ending}", f"a\\b{ending}", "x" * 100000 + ending,
            f"nul\0byte{ending}", f"new\nline{ending}", f"%s%n{ending}", f"$(touch x){ending}",
            f"'; DROP TABLE conformed_file; --{ending}", f"\u202egnp{ending}", f"-rf{ending}",
            f"~{ending}", f"name{ending}/", f" name{ending}", f"notes.txt\0{ending}",
            f"file:{victim}", f"//host/share{ending}"]


def hostile_values():
    """Values of other kinds than text, and texts of other encodings."""
    return [b"\xff\xfe\xff", b"", b"../outside/victim.xwmc", 7, -1, 2**62, 1.5, None]


NUMBERS = [-1, 2**31, 2**62, -2**63, "text", b"\xff", 1e300, None]


class Databases:
    def __init__(self, good, folder, outside):
        """@param good  a folder with the database and the cache of a program that has ended"""
        self.folder, self.outside = folder, outside
        self.cache = good / "cache"
        self.raw = (good / "db/media.db").read_bytes()
        self.random = random.Random(1)
        self.found = []
        folder.mkdir()
        self.add_bytes()
        self.add_kinds()
        self.add_companions()
        self.add_schemas()
        self.add_values()
        self.add_cache_links()

    def new(self, name):
        place = self.folder / f"{len(self.found):03}-{name}"
        place.mkdir()
        self.found.append(place)
        return place

    def add(self, name, data, **companions):
        """@param companions  the bytes of "media.db-wal" as wal, and so on"""
        place = self.new(name)
        (place / "media.db").write_bytes(data)
        for ending, content in companions.items():
            (place / f"media.db-{ending}").write_bytes(content)
        return place

    def sql(self, name, *statements):
        """The good database after statements; they are texts, or texts with their values."""
        place = self.add(name, self.raw)
        with sqlite3.connect(place / "media.db") as connection:
            for statement in statements:
                connection.execute(*(statement if isinstance(statement, tuple) else (statement,)))
        connection.close()
        for ending in ("-wal", "-shm"):
            pathlib.Path(f"{place}/media.db{ending}").unlink(missing_ok=True)

    def loosely(self, name, statement, *values):
        """The same without the types of the columns, so that any value fits anywhere."""
        place = self.add(name, self.raw)
        first = sqlite3.connect(place / "media.db")
        first.execute("PRAGMA writable_schema=ON")
        first.execute("UPDATE sqlite_schema SET sql = replace(sql, 'STRICT, WITHOUT', 'WITHOUT')")
        first.execute("UPDATE sqlite_schema SET sql = replace(sql, ' NOT NULL', '')")
        first.commit()
        first.close()
        try:
            with sqlite3.connect(place / "media.db") as connection:
                connection.execute(statement, values)
        except sqlite3.Error:  # a key cannot be NULL
            self.found.remove(place)
            shutil.rmtree(place)
        finally:
            connection.close()

    def add_bytes(self):
        raw = self.raw
        for length in (0, 1, 15, 16, 99, 100, 101, 511, 512, 4095, 4096, 4097, len(raw) // 2,
                       len(raw) - 4096, len(raw) - 1):
            self.add(f"cut-{length}", raw[:length])
        for offset in HEADER_BYTES:
            data = bytearray(raw)
            data[offset] ^= 0xFF
            self.add(f"header-{offset}", bytes(data))
        for number in range(60):
            data = bytearray(raw)
            for _ in range(self.random.choice((1, 4, 32))):
                data[self.random.randrange(100, len(data))] ^= 1 << self.random.randrange(8)
            self.add(f"flips-{number}", bytes(data))
        for page in range(len(raw) // 4096):
            for kind, content in (("zero", bytes(4096)), ("ones", b"\xff" * 4096)):
                data = bytearray(raw)
                kept = 100 if page == 0 else 0  # the header of the file
                data[4096 * page + kept:4096 * (page + 1)] = content[kept:]
                self.add(f"page-{page}-{kind}", bytes(data))
        for name, data in (("zeros", bytes(8192)), ("text", b"hello\n" * 100),
                           ("picture", b"\xff\xd8\xff\xe0" + b"JFIF" * 500),
                           ("random", self.random.randbytes(16384)),
                           ("older-kind", b"** This file contains an SQLite 2.1 database **\0"
                            + bytes(4000))):
            self.add(name, data)

    def add_kinds(self):
        (self.new("folder") / "media.db").mkdir()
        os.mkfifo(self.new("pipe") / "media.db")
        for name, target in (("loop", "media.db"), ("dangling", "nowhere.db"),
                             ("zero", "/dev/zero"), ("null", "/dev/null"),
                             ("elsewhere", self.outside / "other.db"),
                             ("victim", self.outside / "victim.xwmc")):
            (self.new("link-" + name) / "media.db").symlink_to(target)

    def add_companions(self):
        raw, noise = self.raw, self.random.randbytes
        self.add("wal-noise", raw, wal=noise(12288))
        self.add("wal-empty", raw, wal=b"")
        self.add("wal-head", raw, wal=bytes.fromhex("377f0682") + noise(12288))
        self.add("journal-noise", raw, journal=noise(4096))
        self.add("journal-head", raw, journal=bytes.fromhex("d9d505f920a163d7") + b"\xff" * 4096)
        # The end of a journal names the journal of several databases at once, which is deleted.
        name = os.fsencode(self.outside / "victim.xwmc")
        tail = name + len(name).to_bytes(4, "big") + sum(name).to_bytes(4, "big")
        head = bytes.fromhex("d9d505f920a163d7") + bytes(4) + noise(4) + bytes([0, 0, 0, 4])
        self.add("journal-of-several", raw,
                 journal=head.ljust(512, b"\0") + tail + bytes.fromhex("d9d505f920a163d7"))
        self.add("shm-noise", raw, shm=noise(32768))
        self.add("shm-and-wal-noise", raw, shm=noise(32768), wal=noise(12288))
        for ending in ("wal", "shm", "journal"):
            for name, target in (("victim", self.outside / "victim.xwmc"), ("zero", "/dev/zero"),
                                 ("dangling", self.outside / "new-file")):
                place = self.add(f"{ending}-link-{name}", raw)
                (place / f"media.db-{ending}").symlink_to(target)
            (self.add(f"{ending}-folder", raw) / f"media.db-{ending}").mkdir()
        (self.add("log-link", raw) / "CacheErrorLog.txt").symlink_to(self.outside / "victim.xwmc")
        os.mkfifo(self.add("log-pipe", raw) / "CacheErrorLog.txt")

    def add_schemas(self):
        for version in (0, 1, 3, 999, 2**31 - 1, -1):
            self.sql(f"version-{version}", f"PRAGMA user_version={version}")
        for number in (0, 1, -1):
            self.sql(f"application-{number}", f"PRAGMA application_id={number}")
        self.sql("foreign", *(f"DROP TABLE {table}" for table in TABLES),
                 "CREATE TABLE moz_places (id INTEGER, url TEXT)")
        for table in TABLES:
            self.sql(f"dropped-{table}", f"DROP TABLE {table}")
            self.sql(f"view-{table}", f"ALTER TABLE {table} RENAME TO x",
                     f"CREATE VIEW {table} AS SELECT * FROM x")
            self.sql(f"view-of-victims-{table}", f"ALTER TABLE {table} RENAME TO x",
                     f"CREATE VIEW {table} AS SELECT media_path, media_fingerprint, stream_index,"
                     f" 0 AS sample_rate, '../outside/victim.xwmc' AS cache_filename,"
                     f" 0 AS last_use, 0 AS checksum FROM x")
            for event in ("INSERT", "UPDATE", "DELETE"):
                self.sql(f"trigger-{event}-{table}", f"CREATE TRIGGER t AFTER {event} ON {table} "
                         f"BEGIN UPDATE {table} SET cache_filename = '../outside/victim.xwmc'; END")
            self.sql(f"blocked-{table}", f"CREATE TRIGGER t BEFORE INSERT ON {table} "
                     "BEGIN SELECT RAISE(ABORT, 'no'); END")
            self.sql(f"kept-{table}", f"CREATE TRIGGER t BEFORE DELETE ON {table} "
                     "BEGIN SELECT RAISE(IGNORE); END")
            for column in ("media_path", "cache_filename", "last_use"):
                self.sql(f"renamed-{table}-{column}", f"ALTER TABLE {table} RENAME {column} TO zzz")
        self.sql("function", "CREATE INDEX i ON conformed_file (lower(cache_filename))")

    def add_values(self):
        for table, ending in TABLES.items():
            update = f"UPDATE {table} SET cache_filename = ?"
            for number, name in enumerate(hostile_names(self.outside, ending)):
                self.sql(f"name-{table}-{number}", (update, (name,)))
            for number, value in enumerate(hostile_values()):
                self.loosely(f"value-{table}-{number}", update, value)
            for number, value in enumerate(NUMBERS):
                self.loosely(f"use-{table}-{number}", f"UPDATE {table} SET last_use = ?", value)
        for column in ("media_path", "media_fingerprint"):
            for number, value in enumerate(["", "../outside/victim.xwmc", "x" * 100000, b"\xff"]):
                statement = (f"UPDATE conformed_file SET {column} = ? WHERE media_path = "
                             "(SELECT min(media_path) FROM conformed_file)")
                self.loosely(f"{column}-{number}", statement, value)
        for number, value in enumerate(NUMBERS):
            statement = "UPDATE conformed_file SET checksum = ?, sample_rate = ?"
            self.loosely(f"rate-{number}", statement, value, value)

    def add_cache_links(self):
        """Records of files in the cache folder that are links, folders or pipes."""
        for table, ending in list(TABLES.items())[:2]:
            for kind in ("victim", "zero", "dangling", "folder", "pipe"):
                name = f"{uuid.UUID(int=len(self.found))}{ending}"
                self.sql(f"record-of-{kind}{ending}",
                         (f"UPDATE {table} SET cache_filename = ?", (name,)))
                place = self.found[-1]
                (place / "cache").mkdir()
                self.make_kind(kind, place / "cache" / name, ending)

    def make_kind(self, kind, path, ending):
        if kind == "folder":
            path.mkdir()
        elif kind == "pipe":
            os.mkfifo(path)
        else:
            targets = {"victim": self.outside / f"victim{ending}", "zero": "/dev/zero",
                       "dangling": self.outside / "new-file"}
            path.symlink_to(targets[kind])
