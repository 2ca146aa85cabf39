# SPDX-License-Identifier: MIT
"""Objects that outlive others, closed sessions, forks and the end of the interpreter."""

import gc
import os
import subprocess
import sys
import threading
import unittest

import rig
import sonrel

# The interpreter ends while an engine is open and a daemon thread mixes without end.
EXIT_WITH_OPEN_ENGINE = """
import sys, threading, sonrel
session = sonrel.Session(sys.argv[2], sys.argv[3])
project = session.open(sys.argv[1])
started = threading.Event()
def mix():
    while True:
        project.mix(progress=lambda *_: started.set())
threading.Thread(target=mix, daemon=True).start()
started.wait()
print("end", flush=True)
"""

# A progress function that never returns.
EXIT_IN_CALLBACK = """
import sys, threading, sonrel
project = sonrel.open(sys.argv[1], cache=sys.argv[2], db=sys.argv[3])
started = threading.Event()
def hold(*_):
    started.set()
    threading.Event().wait()
threading.Thread(target=project.mix, kwargs={"progress": hold}, daemon=True).start()
started.wait()
print("end", flush=True)
"""


class Lifetimes(rig.SonrelTest):
    def test_arrays_outlive_their_project_and_session(self):
        session = self.new_session()
        project = session.open(self.path("edit.otio"))
        samples, levels = project.mix(), project.measure()
        picture = session.waveform(self.path("take.wav"), width=30, height=10)
        copies = samples.copy(), levels.master.peak.copy(), picture.copy()
        peak = levels.master.peak

        session.close()
        del session, project, levels
        gc.collect()

        self.assertTrue((samples == copies[0]).all())
        self.assertTrue((peak == copies[1]).all())
        self.assertTrue((picture == copies[2]).all())

    def test_project_keeps_its_session(self):
        project = self.new_session().open(self.path("edit.otio"))
        gc.collect()
        self.assertTrue(project.mix().any())

    def test_track_keeps_its_project(self):
        track = self.new_session().new_project().add_track("dialogue")
        gc.collect()
        track.add_clip(self.path("take.wav"), 0, 10)
        self.assertEqual((track.name, track.clips), ("dialogue", 1))

    def test_closed_session_refuses_work(self):
        project = self.open()
        with self.session:
            project.mix()
        self.assertTrue(self.session.closed)
        for call in (project.mix, project.prepare, self.session.cache_entries,
                     lambda: self.session.read(self.path("take.wav"))):
            with self.assertRaisesRegex(sonrel.SonrelError, "the session is closed"):
                call()
        self.session.close()

    def test_project_closes_its_session_only(self):
        with self.open() as project:
            project.mix()
        self.assertFalse(self.session.closed)
        with sonrel.open(self.path("edit.otio"), cache=self.path("c"), db=self.path("c.db")) as own:
            own.mix()
        self.assertTrue(own.session.closed)

    def test_close_waits_for_the_running_operation(self):
        project, started = self.open(), threading.Event()
        mixes = []
        mixer = threading.Thread(target=lambda: mixes.append(
            project.mix(progress=lambda *_: started.set())))
        mixer.start()
        started.wait()
        self.session.close()
        mixer.join()
        self.assertEqual(len(mixes), 1)

    def test_exception_of_a_callback_releases_the_session(self):
        project = self.open()
        for _ in range(20):
            with self.assertRaises(ZeroDivisionError):
                project.mix(progress=lambda *_: 1 / 0)
        gc.collect()
        self.assertTrue(project.mix().any())


class Fork(rig.SonrelTest):
    def in_child(self, function):
        """Runs a function in a forked child. @return what it wrote"""
        reader, writer = os.pipe()
        child = os.fork()
        if child == 0:
            status = 1
            try:
                os.write(writer, repr(function()).encode())
                status = 0
            finally:
                os._exit(status)
        os.close(writer)
        with open(reader, "rb") as file:
            text = file.read().decode()
        self.assertEqual(os.waitpid(child, 0)[1], 0, text)
        return text

    def test_child_cannot_use_the_session_of_its_parent(self):
        project = self.open()
        project.mix()

        def use_and_drop():
            nonlocal project
            messages = []
            for call in (project.mix, self.session.cache_entries):
                try:
                    call()
                except sonrel.SonrelError as error:
                    messages.append(str(error))
            closed = self.session.closed
            self.session.close()
            self.session = project = None
            gc.collect()
            return messages, closed

        text = self.in_child(use_and_drop)

        self.assertEqual(text.count("opened in another process"), 2)
        self.assertTrue(text.endswith("True)"), text)
        self.assertTrue(project.mix().any())

    def test_child_opens_its_own_session(self):
        self.open().mix()
        text = self.in_child(lambda: int(self.new_session().open(
            self.path("edit.otio")).mix(dither="none").any()))
        self.assertEqual(text, "1")

    def test_child_of_a_running_operation_ends(self):
        project, texts = self.open(), []

        def fork_once(*_):
            if not texts:
                texts.append(self.in_child(lambda: self.session.closed))

        project.mix(progress=fork_once)
        self.assertEqual(texts, ["True"])


class EndOfInterpreter(rig.SonrelTest):
    def run_script(self, script):
        return subprocess.run([sys.executable, "-c", script, self.path("edit.otio"),
                               self.path("cache"), self.path("media.db")],
                              capture_output=True, text=True, check=False, timeout=120)

    def test_with_open_engine_and_running_operation(self):
        done = self.run_script(EXIT_WITH_OPEN_ENGINE)
        self.assertEqual((done.returncode, done.stdout), (0, "end\n"), done.stderr)

    def test_with_a_callback_that_never_returns(self):
        done = self.run_script(EXIT_IN_CALLBACK)
        self.assertEqual((done.returncode, done.stdout), (0, "end\n"), done.stderr)


if __name__ == "__main__":
    unittest.main()
