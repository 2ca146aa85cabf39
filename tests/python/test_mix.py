# SPDX-License-Identifier: MIT
"""Mixes: their samples, ranges and levels."""

import unittest

import numpy

import rig
import sonrel


class Mix(rig.SonrelTest):
    def test_samples_are_those_of_the_program(self):
        rig.write_timeline(self.path("two.otio"), [
            rig.track("A1", [rig.clip("take.wav", 0, 40)]),
            rig.track("A2", [rig.clip("take.wav", 7, 33)])])
        done = self.program("mix", self.path("two.otio"), "-o", self.path("mix.wav"), "--seed", "7")
        self.assertEqual(done.returncode, 0, done.stderr)

        samples = self.open("two.otio").mix(seed=7)

        numpy.testing.assert_array_equal(samples, rig.read_wav(self.path("mix.wav")))

    def test_ducking_is_that_of_the_program(self):
        music = rig.track("Music", [rig.clip("take.wav", 0, 50)])
        music["metadata"]["sonrel"] = {"duck": {"by": "Voice", "parameters": {"depthDb": -30}}}
        rig.write_timeline(self.path("duck.otio"), [
            music, rig.track("Voice", [rig.clip("take.wav", 5, 20)])])
        done = self.program("mix", self.path("duck.otio"), "-o", self.path("mix.wav"))
        self.assertEqual(done.returncode, 0, done.stderr)
        project = self.open("duck.otio")

        samples = project.mix(seed=1)

        numpy.testing.assert_array_equal(samples, rig.read_wav(self.path("mix.wav")))
        project.tracks[1].muted = True
        self.assertGreater(abs(project.mix(seed=1).astype(int) - samples).max(), 1000)

    def test_mix_of_one_clip_without_noise_is_its_recording(self):
        samples = self.open().mix(dither="none")

        self.assertEqual((samples.dtype, samples.shape), (numpy.int16, (2 * rig.RATE, 2)))
        numpy.testing.assert_array_equal(samples, rig.tone(2 * rig.RATE))

    def test_range_is_a_part_of_the_whole(self):
        project = self.open()
        whole = project.mix(dither="none")

        numpy.testing.assert_array_equal(project.mix(1000, 5001, dither="none"), whole[1000:5001])
        numpy.testing.assert_array_equal(project.mix("0.5s", "25f", dither="none"),
                                         whole[24000:48000])
        numpy.testing.assert_array_equal(project.mix(95000, 10**9, dither="none"), whole[95000:])

    def test_range_must_contain_samples(self):
        project = self.open()
        for start, stop in ((10, 10), (96000, None), ("3s", None)):
            with self.assertRaises(sonrel.UsageError):
                project.mix(start, stop)
        with self.assertRaisesRegex(sonrel.UsageError, "start must be 0 or more, and is -1"):
            project.mix(-1)

    def test_out_receives_the_samples_in_place(self):
        project = self.open()
        frame = numpy.full((4002, 2), 77, numpy.int16)

        result = project.mix(1000, 5000, out=frame[1:4001], dither="none")

        self.assertTrue(numpy.shares_memory(result, frame))
        numpy.testing.assert_array_equal(frame[1:4001], rig.tone(rig.RATE)[1000:5000])
        self.assertTrue((frame[[0, 4001]] == 77).all())

    def test_out_must_fit(self):
        project = self.open()
        read_only = numpy.zeros((100, 2), numpy.int16)
        read_only.flags.writeable = False
        for out in (numpy.zeros((100, 2), numpy.int32), numpy.zeros((99, 2), numpy.int16),
                    numpy.zeros((100,), numpy.int16), numpy.zeros((200, 2), numpy.int16)[::2],
                    numpy.zeros((100, 2), ">i2"), read_only, [[0, 0]] * 100):
            with self.assertRaises(sonrel.UsageError):
                project.mix(0, 100, out=out)

    def test_levels_are_those_of_the_mixed_samples(self):
        levels = self.open().measure(0, 48000, dither="none")

        blocks = rig.tone(rig.RATE).astype(numpy.float32).reshape(10, 4800, 2) / 32768
        expected = numpy.abs(blocks).max(axis=1)
        self.assertEqual(levels.block_frames, 4800)
        numpy.testing.assert_allclose(levels.master.peak, expected, atol=1e-4)
        numpy.testing.assert_allclose(levels.tracks[0].peak, expected, atol=1e-4)
        self.assertEqual(levels.tracks[0].name, "A1")
        self.assertFalse(levels.master.clipped.any())
        # A sine of amplitude 8000 has its peak there, between two samples too.
        self.assertAlmostEqual(levels.true_peak, -12.247, delta=0.05)

    def test_measured_samples_are_those_of_the_mix(self):
        project = self.open()
        samples = numpy.zeros((96000, 2), numpy.int16)

        levels = project.measure(out=samples, seed=3)

        numpy.testing.assert_array_equal(samples, project.mix(seed=3))
        meter = sonrel.LoudnessMeter(rig.RATE)
        meter.add(samples)
        self.assertEqual((meter.integrated, meter.true_peak),
                         (levels.integrated, levels.true_peak))

    def test_noise_is_chosen(self):
        project = self.open()
        self.assertTrue((project.mix(seed=1) == project.mix(seed=1)).all())
        self.assertFalse((project.mix(seed=1) == project.mix(seed=2)).all())
        with self.assertRaisesRegex(sonrel.UsageError, "dither"):
            project.mix(dither="pink")
        with self.assertRaises(sonrel.UsageError):
            project.mix(seed=0)


class BuiltProject(rig.SonrelTest):
    def test_clips_are_mixed_at_their_frames(self):
        project = self.session.new_project(fps=25, rate=48000)
        track = project.add_track("dialogue")
        track.add_clip(self.path("take.wav"), 5, 10, source_start=3)

        samples = project.mix(dither="none")

        self.assertEqual(samples.shape, (15 * 1920, 2))
        self.assertFalse(samples[:5 * 1920].any())
        numpy.testing.assert_array_equal(samples[5 * 1920:],
                                         rig.tone(rig.RATE)[3 * 1920:13 * 1920])

    def test_edit_after_a_mix_is_mixed(self):
        project = self.session.new_project()
        track = project.add_track("dialogue")
        track.add_clip(self.path("take.wav"), 0, 10)
        self.assertTrue(project.mix().any())

        track.muted = True
        self.assertFalse(project.mix(dither="none").any())

        track.muted = False
        track.add_clip(self.path("take.wav"), 10, 5)
        self.assertEqual(len(project.mix()), 15 * 1920)

    def test_overlap_is_refused_and_changes_nothing(self):
        track = self.session.new_project().add_track("dialogue")
        track.add_clip(self.path("take.wav"), 0, 10, name="one")
        with self.assertRaisesRegex(sonrel.UsageError, "overlaps the clip .one. at frames 0 to 10"):
            track.add_clip(self.path("take.wav"), 9, 1)
        for start, frames in ((-1, 5), (20, 0), (20, -1), (1, 2**31 - 1)):
            with self.assertRaises(sonrel.UsageError):
                track.add_clip(self.path("take.wav"), start, frames)
        self.assertEqual(track.clips, 1)

    def test_rates_that_cannot_be_combined_are_refused(self):
        with self.assertRaisesRegex(sonrel.UsageError, "1 to 96000 samples"):
            self.session.new_project(fps=100000, rate=48000)

    def test_empty_project_has_nothing_to_mix(self):
        with self.assertRaisesRegex(sonrel.SonrelError, "nothing to mix"):
            self.session.new_project().mix()


if __name__ == "__main__":
    unittest.main()
