# SPDX-License-Identifier: MIT
"""A private copy of the sources with its own build, in which one file at a time is changed."""

import hashlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "check"))
from tree import ROOT, listed_by_git, found_by_walking  # noqa: E402

# Limits of one run of a test program: seconds of processor time and of waiting, as a multiple of the
# run on the unchanged sources, and their minimum; bytes of memory.
TIME_FACTOR = 5
MIN_CPU_SECONDS = 20
MIN_WAIT_SECONDS = 60
MAX_MEMORY = 6 << 30
# Runs that fail one after the other before a program counts as failed: a test in real time may fail
# once because of the load on the machine.
FAILURES = 2


class Tree:
    """Copy of the sources below `folder`, with the settings of the preset `release`.

    The objects of the unchanged sources come from the compiler cache of that preset, as long as the
    cache is warm. One thread uses a tree. The programs write their files inside the tree.
    """

    def __init__(self, folder):
        self.root = pathlib.Path(folder).resolve()
        self.build = self.root / "build/release"
        self.scratch = self.root / "build/scratch"
        self.seconds = {}

    def prepare(self, programs):
        """Copies the sources, builds the programs, and times each program. Raises on failure."""
        self._copy()
        self._run(["cmake", "--preset", "release"])
        failure = self.compile(programs)
        if failure is not None:
            raise RuntimeError("the unchanged sources do not compile\n" + failure)
        # Some programs read media files that a test makes.
        self._run(["ctest", "--test-dir", str(self.build), "-R", "^make_codec_media$"])
        self._time_all(programs)

    def compile(self, programs):
        """Builds the programs. Returns the output of the compiler on failure, None on success."""
        done = self._run(["ninja", "-C", str(self.build), "-j1", *programs], check=False)
        return None if done.returncode == 0 else done.stdout

    def verdict(self, program):
        """"" when the program passes; else "test" or, for a run over its limits, "time"."""
        cpu, wait = (TIME_FACTOR * seconds for seconds in self.seconds[program])
        for _ in range(FAILURES):
            code = self._test(program, max(MIN_CPU_SECONDS, cpu), max(MIN_WAIT_SECONDS, wait))
            if code == 0:
                return ""
        return "time" if code in (None, -signal.SIGXCPU, -signal.SIGKILL) else "test"

    def write(self, file, text):
        (self.root / file).write_text(text)

    def read(self, file):
        return (self.root / file).read_text()

    def _copy(self):
        self.root.mkdir(parents=True, exist_ok=True)
        for name in listed_by_git() or found_by_walking():
            source, target = ROOT / name, self.root / name
            if name.parts[0] == "build" or not source.is_file():
                continue
            if target.exists() and target.read_bytes() == source.read_bytes():
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)

    def _time_all(self, programs):
        """Times each program that has changed since an earlier run."""
        kept = self.root / "build/seconds.json"
        known = json.loads(kept.read_text()) if kept.exists() else {}
        for program in programs:
            content = hashlib.sha256(self._path(program).read_bytes()).hexdigest()
            if known.get(program, [None])[0] != content:
                known[program] = [content, *self._time(program)]
                kept.write_text(json.dumps(known))
            self.seconds[program] = known[program][1:]

    def _path(self, program):
        return next(path for path in self.build.rglob(program) if path.is_file())

    def _time(self, program):
        """(processor seconds, seconds) of a run on the unchanged sources."""
        for _ in range(FAILURES):
            before = os.times()
            if self._test(program, 600, 600) == 0:
                break
        else:
            raise RuntimeError(f"{program} fails on the unchanged sources")
        after = os.times()
        spent = (after.children_user + after.children_system
                 - before.children_user - before.children_system)
        return spent, after.elapsed - before.elapsed

    def _test(self, program, cpu, wait):
        """The exit code, -N after signal N, None after `wait` seconds."""
        found = self._path(program)
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir()
        command = ["prlimit", f"--cpu={int(cpu) + 1}", f"--as={MAX_MEMORY}", "--core=0",
                   str(found), "--gtest_fail_fast", "--gtest_brief=1"]
        with subprocess.Popen(command, cwd=found.parent, env=self._environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True) as process:
            try:
                return process.wait(timeout=wait)
            except subprocess.TimeoutExpired:
                return None
            finally:
                end_session(process.pid)

    def _environment(self):
        return dict(os.environ, CCACHE_BASEDIR=str(self.root), CCACHE_NOHASHDIR="1",
                    SONREL_COMPILER_LAUNCHER=shutil.which("ccache") or "", LC_ALL="C.UTF-8",
                    QT_QPA_PLATFORM="offscreen", TMPDIR=str(self.scratch))

    def _run(self, command, check=True):
        self.scratch.mkdir(parents=True, exist_ok=True)
        done = subprocess.run(command, cwd=self.root, env=self._environment(), text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if check and done.returncode != 0:
            raise RuntimeError(" ".join(command) + "\n" + done.stdout)
        return done


def end_session(leader):
    """Ends the processes that a test program has left."""
    try:
        os.killpg(leader, signal.SIGKILL)
    except ProcessLookupError:
        pass
