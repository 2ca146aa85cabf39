#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every rule of tests/RULES.md names its tests, and that the tests exist.

    tools/check/check_rules.py             the tree
    tools/check/check_rules.py --self-test small artificial lists of rules with known faults
"""

import ast
import re
import sys

from tree import ROOT, tracked_files

RULES = "tests/RULES.md"
DEFINITION = re.compile(r"^\s*(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
NAME = re.compile(r"`([A-Za-z]\w*\.[A-Za-z]\w*)`")


def defined_tests(source):
    """The tests that a source defines, as Suite.Name."""
    return {f"{suite}.{name}" for suite, name in DEFINITION.findall(source)}


def python_tests(source):
    """The tests that a source of unittest defines, as Class.name."""
    return {f"{group.name}.{test.name}" for group in ast.parse(source).body
            if isinstance(group, ast.ClassDef) for test in group.body
            if isinstance(test, ast.FunctionDef) and test.name.startswith("test_")}


def rule_lines(text):
    """The lines of all sections, with their numbers; lines before the first section are not rules."""
    inside = False
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("## "):
            inside = True
        elif inside and line.strip():
            yield number, line


def faults_of(text, tests):
    """Checks a list of rules. @return the faults and the number of rules"""
    faults = []
    lines = list(rule_lines(text))
    for number, line in lines:
        names = NAME.findall(line)
        if not line.startswith("- "):
            faults.append(f"{RULES}:{number}: not a rule: a rule is one line that begins with '- '")
        elif not names:
            faults.append(f"{RULES}:{number}: the rule names no test")
        faults += [f"{RULES}:{number}: no test is named {name}"
                   for name in names if name not in tests]
    if not lines:
        faults.append(f"{RULES}: no rule was found")
    return faults, len(lines)


def check():
    tests = set()
    for name in tracked_files(".cpp", ".h"):
        if name.parts[0] == "tests":
            tests |= defined_tests((ROOT / name).read_text())
    for name in tracked_files(".py"):
        if name.parts[:2] == ("tests", "python"):
            tests |= python_tests((ROOT / name).read_text())
    faults, rules = faults_of((ROOT / RULES).read_text(), tests)
    return faults, f"{rules} rules, {len(tests)} tests"


SOURCE = """
TEST(Meter, CountsFrames) {}
TEST_F(Meter, Stops) {}
TEST_P(Gain, IsOne) {}
TYPED_TEST(Request, IsRefused) {}
TYPED_TEST_P(Request, Waits) {}
TEST_F(Meter,
       HasALongName) {}
// TEST(Meter, IsCommentedOut) {}
"""

PYTHON_SOURCE = """
class Mix(Base):
    def setUp(self): pass
    def test_is_loud(self): pass

def test_outside(): pass
"""

# (rules, number of faults)
KNOWN = [
    ("## A\n- A meter counts frames. `Meter.CountsFrames`\n", 0),
    ("# Title\nWithout a test.\n\n## A\n- A meter `Stop`s. `Meter.Stops`, `Gain.IsOne`\n", 0),
    ("## A\n- Typed. `Request.IsRefused`, `Request.Waits`\n", 0),
    ("## A\n- Long. `Meter.HasALongName`\n", 0),
    ("## A\n- Of Python. `Mix.test_is_loud`\n", 0),
    ("## A\n- No test. `Mix.setUp`\n", 1),
    ("## A\n- A meter counts frames.\n", 1),
    ("## A\n- Misspelt. `Meter.CountFrames`\n", 1),
    ("## A\n- Another suite. `Gain.Stops`\n", 1),
    ("## A\n- One of two exists. `Meter.Stops`, `Meter.Starts`\n", 1),
    ("## A\n- Not compiled. `Meter.IsCommentedOut`\n", 1),
    ("## A\n- Broken into\n  two lines. `Meter.Stops`\n", 2),
    ("## A\nNo bullet. `Meter.Stops`\n", 1),
    ("# Title\n", 1),
]


def self_test():
    tests = defined_tests(SOURCE) | python_tests(PYTHON_SOURCE)
    faults = []
    for text, expected in KNOWN:
        found, _ = faults_of(text, tests)
        if len(found) != expected:
            faults.append(f"{text!r}: expected {expected} faults, found {found}")
    return faults, f"{len(KNOWN)} known lists"


def main():
    faults, summary = self_test() if sys.argv[1:] == ["--self-test"] else check()
    print("\n".join(faults), end="\n" if faults else "")
    print(f"rules: {summary}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
