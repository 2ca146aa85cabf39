# SPDX-License-Identifier: MIT
"""Runs a command under strace and judges which files and connections it asked for."""

import os
import re
import signal
import subprocess

PATH_CALLS = ("open", "openat", "openat2", "creat", "unlink", "unlinkat", "rename", "renameat",
              "renameat2", "link", "linkat", "symlink", "symlinkat", "mkdir", "mkdirat", "rmdir",
              "mknod", "mknodat", "truncate", "chmod", "fchmodat", "chown", "lchown", "fchownat",
              "execve")
OPENING = ("open", "openat", "openat2", "creat")
# Calls without a path that could be judged, and calls that start a program.
FORBIDDEN = ("%network", "execveat", "io_uring_setup", "open_by_handle_at", "mount")
MAX_SECONDS = 10  # a command that takes longer hangs

# What any command may read, whatever its input. Nothing of it is ever written.
SYSTEM = [re.compile(pattern) for pattern in (
    r"(/usr)?/lib(64)?/.*\.so(\.\d+)*",  # libraries
    r"/etc/ld\.so\.(cache|preload)",  # where the libraries are
    r"/usr/lib/[^/]*/qt5/plugins(/.*)?",  # picture formats
    r"/(usr/share|usr/lib)/locale/.*|/etc/(locale\.alias|localtime)|/usr/share/zoneinfo/.*",
    r"/usr/lib/[^/]*/gconv/gconv-modules\.cache",  # widths of characters
    r"/usr/share/fonts(/.*)?|/etc/fonts(/.*)?",
    r"/proc/filesystems|/proc/sys/crypto/fips_enabled|/etc/gcrypt/.*",  # security libraries
    r"/proc/(self|\d+)/(status|maps|cgroup)|/sys/devices/system/(cpu|node)(/.*)?",  # processors
    r"/sys/fs/cgroup/.*",
    r"/proc/sys/vm/overcommit_memory",  # memory of threads
    r"/proc/locks|/proc/\d+/comm",  # who has locked the database
    r"/dev/u?random",  # seeds
)]
NOTHING = b"/dev/null"  # receives the messages of the sound libraries

CALL = re.compile(r"^(\d+) +(\w+)\((.*)$", re.S)
RESUMED = re.compile(r"^(\d+) +<\.\.\. (\w+) resumed>(.*)$", re.S)
NAMED = re.compile(r'(?:(?:AT_FDCWD|\d+)<((?:\\x[0-9a-f]{2})*)>, )?"((?:\\x[0-9a-f]{2})*)"')
RESULT = re.compile(r"\) += \d+<((?:\\x[0-9a-f]{2})*)>")
# The search path for libraries of a program in its build folder ends with an empty name, which is
# the working folder. That of an installed program does not.
BUILD_FOLDER_SEARCH = re.compile(
    r'AT_FDCWD<[^>]*>, "(?!\\x2f)[^"]*\\x2e\\x73\\x6f(\\x2e(\\x3.)+)*", '
    r"O_RDONLY\|O_CLOEXEC\) += -1 ENOENT")
WRITING = re.compile(r"O_(WRONLY|RDWR|CREAT|TRUNC|TMPFILE|APPEND)")


def unhex(text):
    return bytes.fromhex(text.replace("\\x", ""))


def calls(log):
    """(name, its text after the bracket) of the calls of all threads."""
    unfinished = {}
    for line in log.read_text(errors="replace").splitlines():
        resumed = RESUMED.match(line)
        if resumed:
            start = unfinished.pop((resumed[1], resumed[2]), "")
            yield resumed[2], start + resumed[3]
            continue
        call = CALL.match(line)
        if not call:
            continue  # signals and ends of processes
        if call[3].endswith("<unfinished ...>"):
            unfinished[call[1], call[2]] = call[3][:-len("<unfinished ...>")]
        else:
            yield call[2], call[3]
    for (_, name), start in unfinished.items():  # of a killed process
        yield name, start


def paths(name, text, folder):
    """The paths that a call names, absolute, with links in their folders followed."""
    found = NAMED.findall(text)
    for base, path in found[:1] if name == "execve" else found:
        whole = os.path.join(unhex(base) or folder, unhex(path))
        parent, last = os.path.split(whole.rstrip(b"/") or b"/")
        yield os.path.normpath(os.path.join(os.path.realpath(parent), last))


class Places:
    """What a run may touch. All paths are absolute and have no links in them."""

    def __init__(self, program, owned, named, opened=()):
        """
        @param owned  functions of a path: whether the run may read, write and remove it
        @param named  the files that the command line or its timeline names
        @param opened  the files that the run may open in any way, and neither remove nor rename
        """
        self.opened = {os.fsencode(path) for path in opened}
        self.program = os.fsencode(os.path.realpath(program))
        self.owned = owned
        self.named = {os.path.realpath(os.fsencode(path)) for path in named}
        self.named |= {os.path.normpath(os.fsencode(path)) for path in named}

    def may_read(self, path):
        text = os.fsdecode(path)
        in_build = os.path.dirname(os.path.dirname(self.program))
        is_own_library = path.startswith(in_build) and re.search(rb"\.so(\.\d+)*$", path)
        return (path in self.named or bool(is_own_library) or self.owned(text)
                or any(pattern.fullmatch(text) for pattern in SYSTEM))

    def fault_of(self, name, text, folder):
        """What is wrong with a call, or None."""
        if name not in PATH_CALLS:
            return f"{name}({text[:200]}"
        if BUILD_FOLDER_SEARCH.match(text):
            return None
        asked = list(paths(name, text, folder))
        if name == "execve":
            return None if asked == [self.program] else f"starts {asked}"
        result = RESULT.search(text)
        if name in OPENING and result:
            asked.append(unhex(result[1]).removesuffix(b" (deleted)"))
        reads = name in ("open", "openat", "openat2") and not WRITING.search(text)
        for path in asked:
            # The name of a file that the process has open, which was judged when it was opened.
            if name == "linkat" and re.fullmatch(rb"/proc/(self|\d+)/fd/\d+", path):
                continue
            if name in OPENING and (path == NOTHING or path in self.opened):
                continue
            if not (self.may_read(path) if reads else self.owned(os.fsdecode(path))):
                return f"{name} {os.fsdecode(path)!r}"
        return None


class Run:
    """One run of a command: its exit code and its texts, and what it asked the system for."""

    def __init__(self, words, folder, log, temporary=None):
        """
        @param temporary  the folder of temporary files; those of the system are allowed to no run
        """
        self.folder, self.log = folder, log
        environment = os.environ | ({"TMPDIR": str(temporary)} if temporary else {})
        trace = ",".join([*FORBIDDEN, *("?" + name for name in PATH_CALLS)])
        trace = trace.replace("execveat", "?execveat")
        command = ["strace", "-f", "--seccomp-bpf", "-y", "-xx", "-qq", "-o", log, "-e",
                   "trace=" + trace, "--", *words]
        process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   start_new_session=True, env=environment)
        try:
            out, error = process.communicate(timeout=MAX_SECONDS)
            self.code = process.returncode
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            out, error = process.communicate()
            self.code = None
        self.out, self.error = out.decode(errors="replace"), error.decode(errors="replace")

    def touched(self, places):
        """(connections, opens and changes of other files), as lists of texts."""
        faults = [(name, places.fault_of(name, text, os.fsencode(self.folder)))
                  for name, text in calls(self.log)]
        connections = [fault for name, fault in faults if fault and name not in PATH_CALLS]
        return connections, [fault for name, fault in faults if fault and name in PATH_CALLS]

    def outcome_faults(self, must_name=None):
        """What is wrong with the end of the run, as a list of texts.

        @param must_name  a text that the message of a failure has to contain
        """
        if self.code is None:
            return [f"hangs for {MAX_SECONDS} s"]
        if self.code not in (0, 1, 2, 3):
            return [f"exit {self.code}: {self.error[:300]!r}"]
        lines = self.error.splitlines()
        if self.code == 0:
            return [f"exit 0 and a message: {self.error[:300]!r}"] if lines else []
        if len(lines) != 1 or not lines[0].startswith("sonrel: ") or len(lines[0]) < 20:
            return [f"not one line: {self.error[:300]!r}"]
        if must_name and must_name not in lines[0]:
            return [f"does not name {must_name!r}: {lines[0]!r}"]
        return []
