# SPDX-License-Identifier: MIT
"""A private copy of the sources with its own build, in which one file at a time is changed."""

import os
import pathlib
import shutil
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "check"))
from tree import ROOT, listed_by_git, found_by_walking  # noqa: E402

# A mutant that loops for ever is caught by its time: this many times the time of the sound program.
TIMEOUT_FACTOR = 5
MIN_TIMEOUT = 20


class Tree:
    """Copy of the sources below `folder`, configured for quick compilation.

    One thread uses a tree. The programs run inside the tree, so what they write stays there.
    """

    def __init__(self, folder):
        self.root = pathlib.Path(folder).resolve()
        self.build = self.root / "build/mutants"
        self.seconds = {}

    def prepare(self, programs):
        """Copies the sources, builds the programs, and times each of them. Raises on failure."""
        self._copy()
        self._run(["cmake", "-S", ".", "-B", str(self.build), "-G", "Ninja",
                   "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g0",
                   "-DSONREL_TEST_FLAGS=-O0", "-DSONREL_WERROR=OFF",
                   "-DCMAKE_CXX_COMPILER_LAUNCHER=" + (shutil.which("ccache") or "")])
        if self.compile(programs) is not None:
            raise RuntimeError("the unchanged sources do not compile")
        for program in programs:
            self.seconds[program] = self._time(program)

    def compile(self, programs):
        """Builds the programs. The compiler's words on failure, None on success."""
        done = self._run(["ninja", "-C", str(self.build), "-j1", *programs], check=False)
        return None if done.returncode == 0 else done.stdout

    def passes(self, program):
        """Whether the program passes in its time. The first failed test ends it."""
        limit = max(MIN_TIMEOUT, TIMEOUT_FACTOR * self.seconds[program])
        return self._test(program, limit) == 0

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
            shutil.copy2(source, target)

    def _time(self, program):
        before = os.times().elapsed
        if self._test(program, 600) != 0:
            raise RuntimeError(f"{program} fails on the unchanged sources")
        return os.times().elapsed - before

    def _test(self, program, limit):
        found = next(path for path in self.build.rglob(program) if path.is_file())
        command = [str(found), "--gtest_fail_fast", "--gtest_brief=1"]
        with subprocess.Popen(command, cwd=found.parent, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              start_new_session=True) as process:
            try:
                return process.wait(timeout=limit)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, 9)
                return -1

    def _run(self, command, check=True):
        environment = dict(os.environ, CCACHE_BASEDIR=str(self.root), CCACHE_NOHASHDIR="1")
        done = subprocess.run(command, cwd=self.root, env=environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if check and done.returncode != 0:
            raise RuntimeError(" ".join(command) + "\n" + done.stdout)
        return done
