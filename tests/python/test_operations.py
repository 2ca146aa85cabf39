# SPDX-License-Identifier: MIT
"""Progress, cancellation and signals of long operations."""

import glob
import os
import signal
import threading
import unittest

import rig
import sonrel

HOURS = 6 * 3600


class Stop(Exception):
    pass


class Progress(rig.SonrelTest):
    def test_each_step_is_reported_from_its_beginning_to_its_end(self):
        calls = []
        self.open().mix(progress=lambda *state: calls.append(state))

        steps = [(step, done, total) for step, done, total, _ in calls]
        self.assertEqual(steps[0], ("conform", 0, 96000))
        self.assertIn(("conform", 96000, 96000), steps)
        self.assertIn(("mix", 0, 96000), steps)
        self.assertEqual(steps[-1], ("mix", 96000, 96000))
        self.assertIn("take.wav", {file for _, _, _, file in calls})

    def test_function_runs_on_the_calling_thread(self):
        threads = set()
        self.open().mix(progress=lambda *_: threads.add(threading.get_ident()))
        self.assertEqual(threads, {threading.get_ident()})

    def test_exception_stops_the_operation_and_leaves_it(self):
        rig.write_sparse_wav(self.path("long.wav"), HOURS)

        def raise_stop(*_):
            raise Stop("enough")

        with self.assertRaisesRegex(Stop, "enough"):
            self.session.conform(self.path("long.wav"), progress=raise_stop)
        self.assertEqual(glob.glob(self.path("cache/*")), [])
        self.assertTrue(self.open().mix().any())


class Cancellation(rig.SonrelTest):
    def setUp(self):
        super().setUp()
        rig.write_sparse_wav(self.path("long.wav"), HOURS)
        self.started = threading.Event()
        self.stop = sonrel.Cancellation()

    def on_progress(self, *_):
        self.started.set()

    def test_from_another_thread_while_the_lock_is_free(self):
        caught = []

        def conform():
            try:
                self.session.conform(self.path("long.wav"), progress=self.on_progress,
                                     cancel=self.stop)
            except sonrel.Cancelled as error:
                caught.append(str(error))

        worker = threading.Thread(target=conform)
        worker.start()
        self.started.wait()
        self.stop.cancel()
        worker.join()

        self.assertEqual(caught, ["interrupted: not all media files are conformed"])
        self.assertEqual(glob.glob(self.path("cache/*")), [])

    def test_of_one_operation_leaves_the_others_alone(self):
        other = sonrel.Session(self.path("other"), self.path("other.db"))
        self.addCleanup(other.close)

        def mix_with_another_session(*_):
            self.stop.cancel()
            self.assertTrue(other.open(self.path("edit.otio")).mix().any())

        with self.assertRaises(sonrel.Cancelled):
            self.session.conform(self.path("long.wav"), progress=mix_with_another_session,
                                 cancel=self.stop)

    def test_before_the_start_starts_nothing(self):
        self.stop.cancel()
        self.assertTrue(self.stop.cancelled)
        for call in (lambda: self.open(cancel=self.stop),
                     lambda: self.open().mix(cancel=self.stop, progress=self.on_progress),
                     lambda: self.session.align(self.path("take.wav"), self.path("take.wav"),
                                                cancel=self.stop)):
            self.assertRaises(sonrel.Cancelled, call)
        self.assertFalse(self.started.is_set())

    def test_ends_the_wait_for_another_operation(self):
        release = threading.Event()

        def hold(*_):
            self.started.set()
            release.wait()

        holder = threading.Thread(target=lambda: self.open().mix(progress=hold))
        holder.start()
        self.started.wait()
        canceller = threading.Thread(target=self.stop.cancel)
        canceller.start()

        try:
            with self.assertRaises(sonrel.Cancelled):
                self.session.read(self.path("take.wav"), cancel=self.stop)
        finally:
            release.set()
            holder.join()
            canceller.join()

    def test_signal_raises_in_the_main_thread(self):
        def interrupt():
            self.started.wait()
            os.kill(os.getpid(), signal.SIGINT)

        sender = threading.Thread(target=interrupt)
        sender.start()
        with self.assertRaises(KeyboardInterrupt):
            self.session.conform(self.path("long.wav"), progress=self.on_progress)
        sender.join()
        self.assertEqual(glob.glob(self.path("cache/*")), [])


class Sharing(rig.SonrelTest):
    def test_edit_during_an_operation_is_refused(self):
        project = self.session.new_project()
        track = project.add_track("dialogue")
        track.add_clip(self.path("take.wav"), 0, 10)
        refused = []

        def edit(*_):
            try:
                track.add_clip(self.path("take.wav"), 10, 10)
            except sonrel.SonrelError as error:
                refused.append(str(error))

        project.mix(progress=edit)

        self.assertIn('an operation uses the project', refused[0])
        self.assertEqual(track.clips, 1)

    def test_progress_function_cannot_use_its_session(self):
        project, refused = self.open(), []

        def use(*_):
            for call in (self.open().mix, self.session.cache_entries, self.session.close):
                try:
                    call()
                except sonrel.SonrelError as error:
                    refused.append(str(error))

        samples = project.mix(progress=use, seed=5)

        self.assertEqual(len(refused) % 3, 0)
        self.assertEqual(set(refused), {"a progress function cannot use or close the session of "
                                        "its operation; use another session"})
        self.assertTrue((project.mix(seed=5) == samples).all())

    def test_threads_share_a_session(self):
        whole = self.open().mix(seed=5)
        mixes = []
        threads = [threading.Thread(target=lambda: mixes.append(self.open().mix(seed=5)))
                   for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len(mixes), 4)
        self.assertTrue(all((samples == whole).all() for samples in mixes))


if __name__ == "__main__":
    unittest.main()
