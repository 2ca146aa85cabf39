#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Random operations on the objects of the Python module, in random order, with deletions, collections of
garbage, exceptions of callbacks, cancellations, threads, closed sessions and forks. A crash ends the
process; a result that contradicts another one fails.

    tests/python/fuzz_lifetimes.py [--seconds N] [--seed S]

Each run prints its seed, which repeats it, except the order of its threads.
"""

import argparse
import gc
import os
import random
import sys
import tempfile
import threading
import time

import numpy

import rig
import sonrel

MAX_OBJECTS = 12


class Boom(Exception):
    pass


class Fuzzer:
    def __init__(self, folder, seed):
        self.folder = folder
        self.random = random.Random(seed)
        self.objects = {"session": [], "project": [], "track": [], "array": [], "other": []}
        self.threads = []
        self.done = {}
        self.expected = None

    def path(self, name):
        return os.path.join(self.folder, name)

    def prepare(self):
        rig.write_wav(self.path("take.wav"), rig.tone(rig.RATE))
        rig.write_wav(self.path("noise.wav"), rig.noise(rig.RATE, 1))
        rig.write_timeline(self.path("edit.otio"), [
            rig.track("A1", [rig.clip("take.wav", 0, 25)]),
            rig.track("A2", [rig.clip("noise.wav", 5, 20)])])
        session = self.new_session()
        self.expected = session.open(self.path("edit.otio")).mix(seed=9)

    def new_session(self):
        session = sonrel.Session(self.path("cache"), self.path("media.db"))
        self.keep("session", session)
        return session

    def keep(self, kind, value):
        values = self.objects[kind]
        if len(values) >= MAX_OBJECTS:
            del values[self.random.randrange(len(values))]
        values.append(value)

    def any_of(self, kind):
        values = self.objects[kind]
        if not values:
            raise IndexError(kind)
        return self.random.choice(values)

    def controls(self):
        """Arguments of an operation: often none, sometimes a callback that does harm."""
        chance = self.random.random()
        if chance < 0.5:
            return {}
        if chance < 0.6:
            return {"progress": lambda *_: 1 / 0}
        if chance < 0.7:
            return {"progress": self.random.choice([self.drop_objects, self.use_objects])}
        stop = sonrel.Cancellation()
        if chance < 0.8:
            stop.cancel()
        elif chance < 0.9:
            return {"cancel": stop, "progress": lambda *_: stop.cancel()}
        else:
            self.start(stop.cancel)
        return {"cancel": stop}

    def drop_objects(self, *_):
        for values in self.objects.values():
            del values[:self.random.randrange(3)]
        gc.collect()

    def use_objects(self, *_):
        self.quietly(self.random.choice([self.list_cache, self.read, self.mix_known, self.add_clip,
                                         self.close_session]))

    def start(self, function):
        thread = threading.Thread(target=self.quietly, args=(function,))
        self.threads.append(thread)
        thread.start()

    def quietly(self, function):
        try:
            function()
        except (sonrel.SonrelError, ZeroDivisionError, IndexError, Boom):
            pass

    # Operations.

    def open_session(self):
        self.new_session()

    def close_session(self):
        if self.random.random() < 0.2:
            self.any_of("session").close()

    def open_project(self):
        self.keep("project", self.any_of("session").open(self.path("edit.otio")))

    def open_with_session(self):
        with sonrel.open(self.path("edit.otio"), cache=self.path("cache"),
                         db=self.path("media.db")) as project:
            self.keep("project", project)
            self.keep("session", project.session)
            project.mix(0, 100)

    def new_project(self):
        project = self.any_of("session").new_project()
        self.keep("track", project.add_track("one"))
        if self.random.random() < 0.7:
            self.keep("project", project)

    def add_clip(self):
        track = self.any_of("track")
        track.add_clip(self.path(self.random.choice(["take.wav", "noise.wav", "nobody.wav"])),
                       self.random.randrange(100), self.random.randrange(1, 20))
        track.muted = not track.muted

    def mix(self):
        samples = self.any_of("project").mix(seed=9, **self.controls())
        if len(samples) == len(self.expected) and samples.any():
            assert samples.dtype == numpy.int16
        self.keep("array", samples)

    def mix_known(self):
        samples = self.any_of("session").open(self.path("edit.otio")).mix(seed=9)
        assert (samples == self.expected).all(), "two mixes differ"

    def mix_into_part(self):
        block = numpy.zeros((3000, 2), numpy.int16)
        self.any_of("project").mix(0, 1000, out=block[1000:2000], **self.controls())
        assert not block[:1000].any() and not block[2000:].any(), "the mix left its array"
        self.keep("array", block)

    def measure(self):
        levels = self.any_of("project").measure(0, 9600, **self.controls())
        self.keep("array", levels.master.peak)
        self.keep("other", levels.tracks)

    def read(self):
        self.keep("array", self.any_of("session").read(self.path("take.wav"), **self.controls()))

    def peaks(self):
        self.keep("array", self.any_of("session").peaks(self.path("noise.wav"),
                                                        **self.controls()).peaks)

    def waveform(self):
        self.keep("array", self.any_of("session").waveform(self.path("noise.wav"), width=50,
                                                           height=20, **self.controls()))

    def align(self):
        array = self.any_of("array") if self.random.random() < 0.3 else self.path("noise.wav")
        self.keep("other", self.any_of("session").align(self.path("noise.wav"), array,
                                                        **self.controls()).places)

    def conform(self):
        self.keep("other", self.any_of("session").conform(
            [self.path("take.wav"), self.path("edit.otio")], jobs=2,
            force=self.random.random() < 0.2, **self.controls()))

    def list_cache(self):
        self.keep("other", self.any_of("session").cache_entries())

    def measure_loudness(self):
        meter = sonrel.LoudnessMeter(rig.RATE)
        samples = self.any_of("array")
        for _ in range(3):
            self.start(lambda: meter.add(samples))
        self.keep("other", meter)

    def read_array(self):
        assert self.any_of("array").astype(numpy.float64).sum() is not None

    def look(self):
        project = self.any_of("project")
        repr(project), project.tracks, project.report, project.media, len(project)

    def mix_in_thread(self):
        self.start(self.mix)

    def drop(self):
        self.drop_objects()

    def fork(self):
        if self.random.random() < 0.9:
            return
        child = os.fork()
        if child == 0:
            os._exit(self.in_child())
        status = os.waitpid(child, 0)[1]
        assert status == 0, f"the child ended with {status}"

    def in_child(self):
        for function in (self.mix, self.add_clip, self.look, self.list_cache):
            self.quietly(function)
        self.objects = None
        gc.collect()
        return 0

    def run(self, seconds):
        operations = [self.open_session, self.close_session, self.open_project,
                      self.open_with_session, self.new_project, self.add_clip, self.mix,
                      self.mix_known, self.mix_into_part, self.measure, self.read, self.peaks,
                      self.waveform, self.align, self.conform, self.list_cache,
                      self.measure_loudness, self.read_array, self.look, self.mix_in_thread,
                      self.drop, self.fork]
        end = time.monotonic() + seconds
        count = 0
        while time.monotonic() < end:
            operation = self.random.choice(operations)
            try:
                operation()
                self.done[operation.__name__] = self.done.get(operation.__name__, 0) + 1
            except (sonrel.SonrelError, ZeroDivisionError, IndexError):
                pass
            count += 1
            if len(self.threads) > 6:
                self.join()
        self.join()
        missing = {operation.__name__ for operation in operations} - set(self.done)
        return count, missing

    def join(self):
        for thread in self.threads:
            thread.join()
        self.threads.clear()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--seconds", type=float, default=5.0)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    print(f"seed {arguments.seed}", flush=True)
    with tempfile.TemporaryDirectory(prefix="sonrel-python-fuzz-") as folder:
        fuzzer = Fuzzer(folder, arguments.seed)
        fuzzer.prepare()
        count, missing = fuzzer.run(arguments.seconds)
    done = sum(fuzzer.done.values())
    print(f"{count} operations, {done} of them successful; never successful: "
          f"{', '.join(sorted(missing)) or 'none'}")
    return 0 if done else 1


if __name__ == "__main__":
    sys.exit(main())
