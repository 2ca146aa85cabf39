# SPDX-License-Identifier: MIT
"""One fuzz target: its runs within a budget, and their finds."""

import dataclasses
import os
import pathlib
import re
import subprocess

MEMORY_MB = 512
TIMEOUT_SECONDS = 10
# An input that is stopped after 10 seconds on a busy machine is run again with this limit.
HANG_SECONDS = 60
DICTIONARIES = pathlib.Path(__file__).resolve().parent / "dictionaries"
# Frames of the machinery above the function that failed.
MACHINERY = re.compile(r"__(asan|sanitizer|ubsan|interceptor|lsan)|fuzzer::|pthread_kill|/libc\.so|"
                       r" (raise|abort|gsignal|operator new|malloc|calloc|realloc)\b|libc_start")
LIBRARY = re.compile(r"/lib(av|sw)\w*\.so")


@dataclasses.dataclass
class Figures:
    inputs: int = 0
    seconds: float = 0.0  # of the processor
    crashes: int = 0
    timeouts: int = 0
    memory: int = 0
    libraries: int = 0
    peak: int = 0  # MB
    reports: list = dataclasses.field(default_factory=list)

    def found(self):
        return self.crashes + self.timeouts + self.memory


def is_in_library(log):
    """Whether the function that crashed belongs to the decoders."""
    for frame in re.findall(r"^ +#\d+ 0x[0-9a-f]+ (.*)$", log, re.M):
        if not MACHINERY.search(" " + frame):
            return LIBRARY.search(frame) is not None
    return False


def statistic(log, name):
    numbers = re.findall(rf"^stat::{name}: +(\d+)", log, re.M)
    return int(numbers[-1]) if numbers else 0


class Target:
    def __init__(self, program, corpus, found, settings, scratch):
        self.program = program
        self.corpus = corpus
        self.folder = found
        self.settings = settings
        self.scratch = scratch

    def environment(self, profile):
        return {**os.environ, "TMPDIR": str(self.scratch), "LLVM_PROFILE_FILE": profile,
                "QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8",
                # Freed memory is reused soon, so that the measured memory is that in use. Short
                # stacks of allocations save time; a find is run again with whole stacks.
                "ASAN_OPTIONS": "detect_leaks=1:quarantine_size_mb=8:allocator_may_return_null=1:"
                                "malloc_context_size=4",
                "UBSAN_OPTIONS": "print_stacktrace=1"}

    def command(self, *options):
        command = [self.program, self.corpus, f"-max_len={self.settings.longest}",
                   f"-timeout={TIMEOUT_SECONDS}", f"-rss_limit_mb={MEMORY_MB}", "-verbosity=1",
                   f"-report_slow_units={TIMEOUT_SECONDS}", "-print_final_stats=1",
                   f"-artifact_prefix={self.folder}/",
                   # Leaks are searched for once, at the end of the process.
                   "-detect_leaks=0",
                   # Counting how rare each branch is takes a quarter of the processor time of the
                   # commands, which reach thousands of branches each.
                   "-entropic=0",
                   f"-dict={DICTIONARIES}/{self.settings.dictionary}.dict", *options]
        # The descriptors of the machinery survive the redirections of the target.
        return command + ["-close_fd_mask=3"] if self.settings.quiet else command

    def run(self, seconds, inputs):
        """Fuzzes until the budget is used up or an input is found."""
        figures = Figures()
        while not figures.found() and self.has_budget(figures, seconds, inputs):
            self.run_once(f"-runs={self.next_runs(figures, seconds, inputs)}", figures)
        return figures

    @staticmethod
    def has_budget(figures, seconds, inputs):
        return figures.seconds < 0.9 * seconds if seconds else figures.inputs < inputs

    def next_runs(self, figures, seconds, inputs):
        """The processor time of an input is known once the first inputs were run."""
        if inputs:
            return inputs - figures.inputs
        if figures.inputs == 0:
            return 1
        left = seconds - figures.seconds
        return len(list(self.corpus.iterdir())) + int(left * figures.inputs / figures.seconds)

    def process(self, command):
        """@return the log, the exit code and the processor time"""
        process = subprocess.Popen(command, env=self.environment("/dev/null"),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                   text=True, errors="replace", cwd=self.scratch)
        log = process.stderr.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        return log, process.returncode, usage.ru_utime + usage.ru_stime

    def run_once(self, budget, figures):
        log, code, seconds = self.process(self.command(budget))
        figures.inputs += statistic(log, "number_of_executed_units")
        figures.seconds += seconds
        figures.peak = max(figures.peak, statistic(log, "peak_rss_mb"))
        if code != 0:
            self.classify(log, figures)
        elif statistic(log, "number_of_executed_units") == 0:
            raise RuntimeError(f"{self.program.name} ran nothing:\n{log[-2000:]}")

    def is_slow(self, path):
        """Whether an input takes more than 10 seconds of the processor, or hangs."""
        command = self.command(f"-timeout={HANG_SECONDS}", f"-report_slow_units={HANG_SECONDS}")
        command[1] = path
        _, code, seconds = self.process(command)
        return code != 0 or seconds > TIMEOUT_SECONDS

    def classify(self, log, figures):
        # Slow inputs may be named before the input that ended the process.
        artifacts = re.findall(r"Test unit written to (\S+)", log)
        path = artifacts[-1] if artifacts else "no input"
        name = pathlib.Path(path).name
        if name.startswith(("timeout-", "slow-unit-")):
            if not self.is_slow(path):
                pathlib.Path(path).unlink()
                return
            figures.timeouts += 1
        elif is_in_library(log):
            figures.libraries += 1
        elif name.startswith("oom-"):
            figures.memory += 1
        else:
            figures.crashes += 1
        reason = re.search(r"broken rule: .*|runtime error: .*|SUMMARY: .*", log)
        figures.reports.append(f"{path}: {reason.group(0) if reason else log[-300:]}")
