# SPDX-License-Identifier: MIT
"""Planted faults, which the tools must detect before their results count."""

from commands import COMMANDS, OLD
from figures import Figure
from judge import judge
import powercut

CONFORM, MIX = COMMANDS["conform, found"], COMMANDS["mix, found"]
DATABASE_WORDS = "sonrel: '{box}/db/media.db': UNIQUE constraint failed\n"
NO_FILE = "sonrel: something went wrong with something\n"


def first(box, pattern):
    return sorted(box.cache.glob(pattern))[0]


def cut(path):
    path.write_bytes(path.read_bytes()[:-1000])


def flip(path):
    data = bytearray(path.read_bytes())
    data[-1] ^= 1
    path.write_bytes(data)


def kinds(box, command, plant, result, was_killed=False):
    """The kinds of faults that are detected after a fault was planted in a good box."""
    box.prepare(command)
    code, text, error = box.run(command)
    plant()
    faults = judge(box, command, result or (code, text, error), was_killed)
    return {kind for kind, _ in faults}


def seen(box):
    """(the planted fault, whether it was detected)."""
    def nothing():
        pass

    def failed(text):
        return (1, "", text.format(box=box.folder))

    good = failed("sonrel: cannot read '{box}/cache/file': Input/output error\n")
    yield "nothing", kinds(box, CONFORM, nothing, None) == set()
    yield "nothing, and a good message", kinds(box, CONFORM, nothing, good) == set()
    for pattern in ("*.xwmc", "*.xwpk"):
        for change in (cut, flip):
            planted = kinds(box, CONFORM, lambda: change(first(box, pattern)), None, True)
            yield f"{change.__name__} {pattern}", planted == {"not whole"}
    orphan = kinds(box, CONFORM, lambda: (box.cache / "orphan.xwmc").touch(), good)
    yield "a file without a record", orphan == {"left behind"}
    yield "a hidden output", kinds(box, CONFORM, lambda: (box.out / ".m.part").touch(),
                                   good) == {"left behind"}
    yield "a wrong output", kinds(box, MIX, lambda: flip(box.out / "m.wav"), None) == {"wrong bytes"}
    yield "half an output", kinds(box, MIX, lambda: cut(box.out / "m.wav"), None, True) == {
        "wrong bytes"}
    yield "a new output after a failure", kinds(box, MIX, nothing, good) == {"wrong bytes"}
    for text in (DATABASE_WORDS, NO_FILE, "", good[2] * 2):
        yield f"message {text!r}", kinds(box, CONFORM, nothing, failed(text)) == {"message"}
    yield "a hang", kinds(box, CONFORM, nothing, (None, "", "")) == {"hang"}
    yield "a crash", kinds(box, CONFORM, nothing, (-11, "", "")) == {"crash"}
    for name in ("conform, made", "peaks, made"):
        states, _ = powercut.run(box, name, "posix", 2, 2, 10**9, forgotten="*.xw??")
        yield f"missing syncs: {name}", states.wrong > 0
    old = kinds(box, MIX, lambda: (box.out / "m.wav").write_bytes(OLD), None, True)
    yield "an older output of a killed program", old == set()


def run(box):
    figure = Figure("planted faults that are detected")
    for name, was_detected in seen(box):
        figure.add([] if was_detected else [f"not detected: {name}"])
    return [figure]
