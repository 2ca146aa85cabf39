#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Counts the tests of the last run of CTest.

    tools/check/count_tests.py BUILD_FOLDER  prints the numbers of passed and failed tests
    tools/check/count_tests.py --self-test   a small artificial log

A GoogleTest program counts with each of its tests; a program that crashed, or any other program, counts
as one test.
"""

import pathlib
import re
import sys

START = re.compile(r"^\d+/\d+ Testing: ", re.MULTILINE)
PASSED = re.compile(r"^\[  PASSED  \] (\d+) tests?\.$", re.MULTILINE)
SUCCESS = re.compile(r"^Test (?:Passed\.|Pass Reason:)$", re.MULTILINE)
FAILED = re.compile(r"^\[  FAILED  \] (\d+) tests?, listed below:$", re.MULTILINE)


def count_program(log):
    """@param log  of one CTest test  @return passed and failed tests"""
    if not PASSED.search(log):
        return (1, 0) if SUCCESS.search(log) else (0, 1)
    passed = sum(int(number) for number in PASSED.findall(log))
    failed = sum(int(number) for number in FAILED.findall(log))
    if failed == 0 and not SUCCESS.search(log):
        failed = 1
    return passed, failed


def count(log):
    programs = [count_program(part) for part in START.split(log)[1:]]
    return sum(passed for passed, _ in programs), sum(failed for _, failed in programs)


SELF_TEST = """Start testing: Nov 22 13:00 UTC
1/6 Testing: mixer_test.0
[==========] 3 tests from 1 test suite ran. (12 ms total)
[  PASSED  ] 3 tests.
Test Passed.
2/6 Testing: base_test.0
[  PASSED  ] 6 tests.
[  FAILED  ] 2 tests, listed below:
[  FAILED  ] Text.One
[  FAILED  ] Text.Two
Test Failed.
3/6 Testing: faults
all faults found
Test Passed.
4/6 Testing: crash_test.0
[ RUN      ] Crash.One
Test Failed.
5/6 Testing: leak_test.0
[  PASSED  ] 1 test.
LeakSanitizer: detected memory leaks
Test Failed.
6/6 Testing: Example.01_mix_a_clip
Test Pass Reason:
Required regular expression found. Regex=[^960000]
"""


def self_test():
    counted = count(SELF_TEST)
    if counted != (3 + 6 + 1 + 0 + 1 + 1, 0 + 2 + 0 + 1 + 1 + 0):
        sys.exit(f"the artificial log counts as {counted}")


def main():
    if sys.argv[1:] == ["--self-test"]:
        self_test()
    elif len(sys.argv) == 2:
        log = pathlib.Path(sys.argv[1]) / "Testing/Temporary/LastTest.log"
        print(*count(log.read_text(errors="replace")))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
