# SPDX-License-Identifier: MIT
"""The table of disturbances: for each command its targets, and for each target the operations that
must be reached."""

from disturb import Fault

_DATABASE = "create open read write fsync truncate unlink close stat"
_MEDIA = "open read close stat"
_OUTPUTS = "create open write fsync rename close stat"
_MADE = "create open write read fsync close"
_FOUND = "open read close stat"
_NEW = {"lock file": "create close", "cache folder": "mkdir open fsync close stat",
        "database": _DATABASE, "media": _MEDIA}
_OLD = {"lock file": "open close", "cache folder": "stat", "database": _DATABASE, "media": _MEDIA}
_TEMPORARY = {"temporary conformed files": _MADE, "temporary database": _DATABASE}
_FORCED = {**_OLD, "cache folder": "open fsync close stat"}

REACHED = {
    "conform, made": {**_NEW, "conformed files": _MADE},
    "conform, found": {**_OLD, "conformed files": _FOUND},
    "conform, forced": {**_FORCED, "conformed files": _MADE + " unlink"},
    "peaks, made": {**_NEW, "peak files": "create open write fsync close"},
    "peaks, found": {**_OLD, "peak files": _FOUND},
    "peaks, forced": {**_FORCED, "peak files": "create open write fsync close unlink"},
    "peaks, exported": {"media": _MEDIA, "outputs": _OUTPUTS},
    "waveform, made": {**_NEW, "peak files": _MADE, "outputs": _OUTPUTS},
    "waveform, found": {**_OLD, "peak files": _FOUND, "outputs": _OUTPUTS},
    "mix, made": {**_NEW, "conformed files": _MADE, "outputs": _OUTPUTS, "timeline": _MEDIA},
    "mix, archive": {"archive": _MEDIA, "unpacked files": "create write open read close stat",
                     **_TEMPORARY, "outputs": _OUTPUTS},
    "mix, a part": {**_OLD, "conformed files": _FOUND, "outputs": _OUTPUTS, "timeline": _MEDIA},
    "join": {"parts": "open read close", "outputs": _OUTPUTS},
    "verify, mixed again": {**_TEMPORARY, "media": _MEDIA, "timeline": _MEDIA,
                            "manifest": _MEDIA},
    "verify, cached": {**_OLD, "conformed files": _FOUND, "timeline": _MEDIA,
                       "manifest": _MEDIA},
    "sync, made": {**_NEW, "conformed files": _MADE, "peak files": _MADE, "outputs": _OUTPUTS},
    "sync, found": {**_OLD, "conformed files": _FOUND, "peak files": _FOUND,
                    "outputs": _OUTPUTS},
    "report, made": {**_NEW, "conformed files": _MADE, "peak files": _MADE, "outputs": _OUTPUTS,
                     "timeline": _MEDIA},
    "report, found": {**_OLD, "conformed files": _FOUND, "peak files": _FOUND,
                      "outputs": _OUTPUTS, "timeline": _MEDIA},
    "report, media file": {**_NEW, "conformed files": _MADE, "peak files": _MADE,
                           "outputs": _OUTPUTS},
    "mix, found": {**_OLD, "conformed files": _FOUND, "outputs": _OUTPUTS, "timeline": _MEDIA},
    "play, WAV": {**_OLD, "conformed files": _FOUND, "outputs": _OUTPUTS, "timeline": _MEDIA},
    "play, bare samples": {**_NEW, "conformed files": _MADE, "outputs": _OUTPUTS},
    "align, made": {**_NEW, "conformed files": _MADE, "peak files": _MADE, "outputs": _OUTPUTS},
    "align, found": {**_OLD, "conformed files": _FOUND, "peak files": _FOUND,
                     "outputs": _OUTPUTS},
    "loudness, made": {**_NEW, "conformed files": _MADE, "timeline": _MEDIA},
    "loudness, found": {**_OLD, "conformed files": _FOUND, "timeline": _MEDIA},
    "cache clean": {"lock file": "open close", "cache folder": "open stat", "database": _DATABASE,
                    "conformed files": "unlink", "peak files": "unlink"},
    "cache clean, to a size": {"lock file": "open close", "cache folder": "open stat",
                               "database": _DATABASE, "conformed files": "unlink",
                               "peak files": "unlink"},
}

ERRORS = {
    "create": "EIO ENOSPC EACCES EMFILE EROFS", "open": "EIO EACCES EMFILE EROFS",
    "write": "EIO ENOSPC", "read": "EIO", "fsync": "EIO ENOSPC", "truncate": "EIO ENOSPC",
    "rename": "EIO ENOSPC EACCES EROFS", "unlink": "EIO EACCES EROFS",
    "mkdir": "EIO ENOSPC EACCES EROFS", "close": "EIO ENOSPC", "stat": "EIO EACCES",
}
# Operations whose interruption no user notices.
INTERRUPTED = {"create", "open", "write", "read", "fsync", "unlink", "close"}
# The database library does not repeat the others; it reports them, and that is allowed.
INTERRUPTED_IN_DATABASE = {"open", "write", "read"}
DATABASES = ("database", "temporary database")
CHANGING = ("create", "write", "fsync", "truncate", "rename", "unlink", "mkdir")
QUOTAS = 20  # sizes of a full disk for one command


def points(count, limit):
    """At most `limit` numbers from 1 to count, spread evenly, the first and the last included."""
    if count <= limit:
        return range(1, count + 1)
    return sorted({1 + round(i * (count - 1) / (limit - 1)) for i in range(limit)})


def required(counts, command):
    """(target, operation, how often) of the table. Exits where the command does not reach one."""
    for target, operations in REACHED[command].items():
        for operation in operations.split():
            count = counts.counted[target, operation]
            if count == 0:
                raise SystemExit(f"'{command}' never reaches {operation} of {target}")
            yield target, operation, count


def modes(target, operation):
    """(mode, error, must succeed) of all disturbances of an operation."""
    for error in ERRORS[operation].split():
        yield "once", error, False
        yield "forever", error, False
    if operation in ("read", "write"):
        yield "short", "EIO", target not in DATABASES
        yield "all short", "EIO", target not in DATABASES
    if target == "cache folder" and operation == "fsync":
        yield "forever", "EINVAL", True
        yield "forever", "ENOTSUP", True
    names = INTERRUPTED_IN_DATABASE if target in DATABASES else INTERRUPTED
    if operation in names:
        yield "once", "EINTR", True
        yield "storm", "EINTR", True


def failures(counts, command, limit):
    """Faults that a command survives."""
    for target, operation, count in required(counts, command):
        for mode, error, must_succeed in modes(target, operation):
            for number in points(count, limit):
                yield Fault(command, target, operation, mode, error, number, must_succeed)
    for operation in ("open", "create"):  # no descriptors are left
        for number in points(counts.counted["all files", operation], 2 * limit):
            yield Fault(command, "all files", operation, "forever", "EMFILE", number)
    size = counts.bytes["all files", "write"]
    for number in points(size, QUOTAS * limit // 5):
        yield Fault(command, "all files", "write", "quota", "ENOSPC", number - 1)


def deaths(counts, command, limit):
    """Every kill point of a command: before and after each operation that changes something, and
    before some of the others."""
    for operation in CHANGING:
        for mode in ("kill", "killafter", *(["torn"] if operation == "write" else [])):
            for number in range(1, counts.counted["all files", operation] + 1):
                yield Fault(command, "all files", operation, mode, "EIO", number)
    for operation in ("open", "read", "close", "stat"):
        for number in points(counts.counted["all files", operation], limit):
            yield Fault(command, "all files", operation, "kill", "EIO", number)
