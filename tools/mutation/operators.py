# SPDX-License-Identifier: MIT
"""Finds the places of a C++ source that a mutation can change, and the changed lines.

Works on lines as clang-format leaves them: a binary operator has a space on both sides, so template
brackets, references and pointer declarations are never mistaken for one.
"""

import collections
import dataclasses
import hashlib
import re


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One changed line of one file. `line` counts from 1.

    `copy` counts the mutants of the file with the same text before and after, from 0.
    """

    file: str
    line: int
    operator: str
    before: str
    after: str
    copy: int

    def key(self):
        """Names the mutant in the list of equivalent mutants. Does not depend on the line number."""
        return (self.file, self.before.strip(), self.after.strip())

    def rank(self, seed):
        """The place of the mutant in the draw. A change elsewhere in the sources does not move it."""
        text = "\0".join((str(seed), *self.key(), str(self.copy)))
        return hashlib.sha256(text.encode()).hexdigest()


BINARY = {
    "relational": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*"},
    "logical": {"&&": "||", "||": "&&"},
    "assignment": {"+=": "-=", "-=": "+=", "*=": "/="},
    "bitwise": {"&": "|", "|": "&", "<<": ">>", ">>": "<<"},
}
BINARY_PLACE = re.compile(r"(?<=[\w)\]]) (<<|>>|<=|>=|==|!=|&&|\|\||[-+*/]=|[<>+\-*/%&|]) (?=\S)")
CONDITION = re.compile(r"\b(if|while) \((.+)\)(?= \S| \{|;|$)")
NUMBER = re.compile(r"(?<![\w.\"'])(\d+)(?![\w.\"'])")
TRUTH = re.compile(r"\b(true|false)\b")
CALL = re.compile(r"^\s+[A-Za-z_][\w.:>\-]*\(.*\);$")
DECLARATION = re.compile(r"^\s*(static_assert|constexpr|alignas|using|template|typedef|friend|#|case\b|namespace)")


def code_lines(text):
    """The lines with comments, strings and characters blanked, so that only code is left to match."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|L?"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.S)
    blank = pattern.sub(lambda found: re.sub(r"[^\n]", "\x01", found.group()), text)
    return text.splitlines(), blank.splitlines()


def mutants_of(file, text):
    """All mutants of one source, in the order of its lines."""
    found = []
    copies = collections.Counter()
    lines, blanked = code_lines(text)
    for index, (line, code) in enumerate(zip(lines, blanked)):
        if not code.strip() or DECLARATION.match(code):
            continue
        for operator, start, end, new in changes(code):
            after = line[:start] + new.format(line[start:end]) + line[end:]
            same = (line.strip(), after.strip())
            found.append(Mutant(file, index + 1, operator, line, after, copies[same]))
            copies[same] += 1
    return found


def changes(code):
    """The changes of one line: operator, first and last column, new text; {} is the old one."""
    for found in BINARY_PLACE.finditer(code):
        for operator, table in BINARY.items():
            if found[1] in table:
                yield operator, found.start(1), found.end(1), table[found[1]]
    for found in CONDITION.finditer(code):
        if balanced(found[2]) and ";" not in found[2]:
            yield "negation", found.start(2), found.end(2), "!({})"
    for found in NUMBER.finditer(code):
        yield "constant", found.start(1), found.end(1), str(int(found[1]) + 1)
    for found in TRUTH.finditer(code):
        yield "truth", found.start(), found.end(), "false" if found[1] == "true" else "true"
    if CALL.match(code) and balanced(code):
        first = len(code) - len(code.lstrip())
        yield "deletion", first, len(code), ";"


def balanced(code):
    depth = 0
    for character in code:
        depth += {"(": 1, ")": -1}.get(character, 0)
        if depth < 0:
            return False
    return depth == 0
