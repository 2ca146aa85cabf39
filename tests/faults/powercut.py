# SPDX-License-Identifier: MIT
"""Simulates a loss of power at every point of a recorded run.

The journal is the record of a run by the fault library. For each point of the journal the box is
rebuilt in the states that a disk could have after a loss of power there, and judged.

Synced data are always present. Of the other data three variants are made:
  none  no data reached the disk
  all   all data did, as after a killed process
  rand  several times: each write kept or lost by chance, some of them torn at 512 bytes
Two rules apply to names (create, rename, unlink, mkdir, link):
  ordered  names reach the disk in order, and any sync includes all earlier names, as in journaling
           file systems
  posix    a name is safe only when its folder was synced after it (a new file's also when the file
           itself was); the others are kept or lost one by one
Stores through a mapping are not in the journal: the -shm file of the database is made again when
the database is opened.
"""

import collections
import enum
import fnmatch
import os
import random
import shutil
import struct

from commands import COMMANDS
from disturb import OPERATIONS, Fault, environment
from figures import Figure
from judge import judge, judge_next

FIGURE = "power cuts"
MODELS = ("ordered", "posix")

HEAD = struct.Struct("<4sIIIQQQQII")
Record = collections.namedtuple("Record", "index kind inode offset length path second data")


class Kind(enum.IntEnum):
    CREATE = 1
    OPEN = 2
    WRITE = 3
    TRUNCATE = 4
    FSYNC = 5
    FSYNC_FOLDER = 6
    RENAME = 7
    UNLINK = 8
    MKDIR = 9
    LINK = 10
    RMDIR = 11


NAMES = {Kind.CREATE, Kind.RENAME, Kind.UNLINK, Kind.MKDIR, Kind.LINK, Kind.RMDIR}
OF_A_FILE = {Kind.CREATE, Kind.OPEN, Kind.WRITE, Kind.TRUNCATE, Kind.FSYNC}


def load(path, forgotten=""):
    """The records of a journal, without the syncs of the files whose base name is forgotten."""
    raw = path.read_bytes()
    records, at = [], 0
    while at + HEAD.size <= len(raw):
        (magic, kind, _, _, inode, offset, length, size, first,
         second) = HEAD.unpack_from(raw, at)
        if magic != b"FFJ1":
            raise SystemExit(f"the journal is damaged at byte {at}")
        at += HEAD.size
        parts = []
        for part in (first, second, size):
            parts.append(raw[at:at + part])
            at += part
        names = [part.decode(errors="surrogateescape") for part in parts[:2]]
        if forgotten and kind in (Kind.FSYNC, Kind.FSYNC_FOLDER):
            if fnmatch.fnmatch(os.path.basename(names[0]), forgotten):
                continue
        records.append(Record(len(records), Kind(kind), inode, offset, length, *names, parts[2]))
    return records


def is_nameless(path):
    """Whether the file has no name on the disk (O_TMPFILE)."""
    return os.path.basename(path).startswith(".tmpfile-")


class File:
    """The initial content of one file, and the changes of it."""

    def __init__(self, base=b""):
        self.base = base
        self.changes = []
        self.syncs = []

    def content(self, point, variant, chance):
        safe = max((sync for sync in self.syncs if sync < point), default=-1)
        content = bytearray(self.base)
        for change in self.changes:
            if change.index >= point:
                break
            data = change.data
            if change.index > safe and variant != "all":
                if variant == "none" or chance.random() < 0.5:
                    continue
                if change.kind == Kind.WRITE and chance.random() < 0.2:
                    data = data[:chance.randrange(len(data) // 512 + 1) * 512]
            if change.kind == Kind.TRUNCATE:
                del content[change.length:]
                content.extend(bytes(change.length - len(content)))
            elif data:
                content.extend(bytes(max(0, change.offset + len(data) - len(content))))
                content[change.offset:change.offset + len(data)] = data
        return content


class Disk:
    """The folder's files and names through the journal."""

    def __init__(self, records, root, initial):
        self.records, self.root = records, root
        self.names, self.folders = {}, {root}
        if initial:
            self.read_initial(initial)
        self.owner = {}
        self.follow()

    def read_initial(self, initial):
        for path in sorted(initial.rglob("*")):
            there = os.path.join(self.root, path.relative_to(initial))
            if path.is_dir():
                self.folders.add(there)
            elif path.is_file() and not path.is_symlink():
                self.names[there] = File(path.read_bytes())

    def follow(self):
        """Assigns each record its file."""
        names, by_inode = dict(self.names), {}
        for record in self.records:
            if record.kind == Kind.CREATE:
                by_inode[record.inode] = names[record.path] = File()
            elif record.kind == Kind.OPEN and record.path in names:
                by_inode[record.inode] = names[record.path]
            file = by_inode.get(record.inode) if record.kind in OF_A_FILE else None
            if file is not None:
                self.owner[record.index] = file
                if record.kind in (Kind.WRITE, Kind.TRUNCATE):
                    file.changes.append(record)
                elif record.kind == Kind.FSYNC:
                    file.syncs.append(record.index)
            if record.kind in (Kind.RENAME, Kind.LINK) and record.path in names:
                names[record.second] = names[record.path]
            if record.kind in (Kind.RENAME, Kind.UNLINK):
                names.pop(record.path, None)

    def kept_names(self, point, model, variant, chance):
        """The records of names that reached the disk."""
        names = [record for record in self.records[:point] if record.kind in NAMES]
        if model == "ordered":
            syncs = (record.index for record in self.records[:point]
                     if record.kind in (Kind.FSYNC, Kind.FSYNC_FOLDER))
            last = max(syncs, default=-1)
            safe = [record for record in names if record.index < last]
        else:
            safe = [record for record in names if self.is_safe(record, point)]
        loose = [record for record in names if record not in safe]
        if variant == "none":
            loose = []
        elif variant == "rand" and model == "ordered":
            loose = loose[:chance.randint(0, len(loose))]
        elif variant == "rand":
            loose = [record for record in loose if chance.random() < 0.5]
        return sorted(safe + loose)

    def is_safe(self, name, point):
        if is_nameless(name.path) and name.kind == Kind.CREATE:
            return True
        folder = os.path.dirname(name.second or name.path)
        if any(record.kind == Kind.FSYNC_FOLDER and record.path == folder
               for record in self.records[name.index + 1:point]):
            return True
        return name.kind == Kind.CREATE and any(
            name.index < sync < point for sync in self.owner[name.index].syncs)

    def build(self, place, point, model, variant, chance):
        """Writes the folder in a state that a loss of power at that point could leave."""
        names, folders = dict(self.names), set(self.folders)
        for record in self.kept_names(point, model, variant, chance):
            if record.kind == Kind.CREATE:
                names[record.path] = self.owner[record.index]
            elif record.kind == Kind.MKDIR:
                folders.add(record.path)
            elif record.kind == Kind.RMDIR:
                folders.discard(record.path)
            elif record.kind == Kind.UNLINK:
                names.pop(record.path, None)
            elif record.path in names:
                names[record.second] = names[record.path]
                if record.kind == Kind.RENAME:
                    names.pop(record.path)
        for folder in sorted(folders):
            (place / os.path.relpath(folder, self.root)).mkdir(parents=True, exist_ok=True)
        for name, file in names.items():
            path = place / os.path.relpath(name, self.root)
            if path.parent.is_dir() and not is_nameless(name):
                path.write_bytes(file.content(point, variant, chance))


class Recorded:
    """A run of a command in a box, with the journal of its changes."""

    def __init__(self, box, command, forgotten=""):
        self.box, self.command = box, command
        journal = box.folder.with_name(box.folder.name + ".journal")
        journal.unlink(missing_ok=True)
        box.prepare(command)
        initial = box.folder.with_name(box.folder.name + ".initial")
        shutil.rmtree(initial, ignore_errors=True)
        shutil.copytree(box.folder, initial)
        fault = Fault(command.name, "box", OPERATIONS, "none", "EIO", 0)
        variables = environment(box, fault, journal.with_suffix(".log"))
        code, _, error = box.run(command, {**variables, "FAULTFS_JOURNAL": str(journal)})
        if code != 0:
            raise SystemExit(f"'{command.name}' exits {code} while it is recorded: {error}")
        self.records = load(journal, forgotten)
        self.disk = Disk(self.records, str(box.folder), initial)

    def states(self, model, step, variants, chance):
        """Rebuilds the box in each state. Yields a text about it."""
        for point in range(0, len(self.records) + 1, step):
            for variant in ["none", "all"] + ["rand"] * variants:
                shutil.rmtree(self.box.folder, ignore_errors=True)
                self.box.folder.mkdir()
                self.disk.build(self.box.folder, point, model, variant, chance)
                for folder in (self.box.out, self.box.database.parent):
                    folder.mkdir(exist_ok=True)
                after = self.records[point - 1].kind.name.lower() if point else "start"
                yield f"{self.command.name}: {model}: {variant} after record {point} ({after})"


def run(box, name, model, step, variants, check_every, forgotten=""):
    """(the states of a command, the undisturbed runs after some of them)."""
    command, figure, following = COMMANDS[name], Figure(FIGURE), Figure("undisturbed runs")
    recorded = Recorded(box, command, forgotten)
    for text in recorded.states(model, step, variants, random.Random(1)):
        faults = judge(box, command, (None, "", ""), was_killed=True)
        figure.add([f"{text}: {kind}: {fault}" for kind, fault in faults])
        if figure.count % check_every == 0:
            faults = judge_next(box, command)
            following.add([f"{text}: {fault}" for _, fault in faults])
    return [figure, following]
