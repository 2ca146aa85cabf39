# SPDX-License-Identifier: MIT
"""The examples of the docstrings and of docs/python.md."""

import doctest
import os
import pathlib
import re
import unittest

import rig
import sonrel

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs/python.md"
FLAGS = doctest.NORMALIZE_WHITESPACE | doctest.ELLIPSIS


def documented():
    """Every public object with a docstring, by its name."""
    yield "sonrel", sonrel
    for name in sonrel.__all__:
        value = getattr(sonrel, name)
        yield name, value
        for member, item in (vars(value) if isinstance(value, type) else {}).items():
            yield f"{name}.{member}", item


class InFolder(rig.SonrelTest):
    """Examples name their files without a folder."""

    def setUp(self):
        super().setUp()
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        rig.write_wav("camera.wav", rig.noise(2 * rig.RATE, seed=1))
        rig.write_wav("recorder.wav", rig.noise(2 * rig.RATE, seed=1)[12000:])


class Docstrings(InFolder):
    def test_examples_have_the_results_that_they_show(self):
        runner = doctest.DocTestRunner(verbose=False, optionflags=FLAGS)
        self.session.conform("take.wav")
        examples = 0
        for name, value in documented():
            test = doctest.DocTestParser().get_doctest(
                value.__doc__ or "", {"sonrel": sonrel, "session": self.session}, name, None, 0)
            examples += len(test.examples)
            runner.run(test)
        self.assertEqual(runner.failures, 0)
        self.assertGreater(examples, 20)


class Page(InFolder):
    def test_blocks_run_one_after_another(self):
        blocks = re.findall(r"```python\n(.*?)```", PAGE.read_text(encoding="utf-8"), re.DOTALL)
        self.assertGreater(len(blocks), 5)
        if any("matplotlib" in block for block in blocks):
            try:
                import matplotlib
            except ImportError:
                self.skipTest("matplotlib is not installed")
            matplotlib.use("Agg")
        names = {}
        for number, block in enumerate(blocks, 1):
            exec(compile(block, f"{PAGE.name}, block {number}", "exec"), names)
        self.assertTrue(pathlib.Path("levels.png").stat().st_size > 1000)


if __name__ == "__main__":
    unittest.main()
