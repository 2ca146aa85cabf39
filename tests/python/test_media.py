# SPDX-License-Identifier: MIT
"""Media files: samples, peaks, pictures, alignment and the cache."""

import pathlib
import unittest

import numpy

import rig
import sonrel


class Media(rig.SonrelTest):
    def test_read_returns_the_samples_of_the_file(self):
        samples = self.session.read(pathlib.Path(self.path("take.wav")), 100, 50000)
        numpy.testing.assert_array_equal(samples, rig.tone(2 * rig.RATE)[100:50000])

    def test_read_of_a_channel_has_it_on_both_sides(self):
        samples = self.session.read(self.path("take.wav"), channels="2")
        right = rig.tone(2 * rig.RATE)[:, 1]
        numpy.testing.assert_array_equal(samples, numpy.stack([right, right], axis=1))
        with self.assertRaisesRegex(sonrel.SonrelError, "channel"):
            self.session.read(self.path("take.wav"), channels="3")

    def test_peaks_are_the_extremes_of_each_point(self):
        values = numpy.zeros((128, 2), numpy.int16)
        values[10] = (16384, -32768)
        values[70] = (-8192, 0)
        rig.write_wav(self.path("clicks.wav"), values)

        peaks = self.session.peaks(self.path("clicks.wav"), samples_per_point=64)

        # 0.5 * 127 and -1.0 * 127 and -0.25 * 127, cut toward zero.
        self.assertEqual(peaks.peaks.tolist(), [[[0, 63], [-127, 0]], [[-31, 0], [0, 0]]])
        self.assertEqual(peaks.rms.shape, (2,))
        self.assertEqual((peaks.rate, peaks.samples_per_point), (48000, 64))

    def test_peaks_need_whole_blocks(self):
        for count in (0, 31, 33):
            with self.assertRaisesRegex(sonrel.UsageError, "multiple of 32"):
                self.session.peaks(self.path("take.wav"), samples_per_point=count)

    def test_picture_has_the_pixels_of_the_colours(self):
        picture = self.session.waveform(self.path("take.wav"), width=40, height=20,
                                        color="1F4E79", background="FFFFFF")
        self.assertEqual((picture.dtype, picture.shape), (numpy.uint8, (20, 40, 4)))
        self.assertEqual(picture[0, 0].tolist(), [255, 255, 255, 255])
        self.assertTrue((picture == [0x1F, 0x4E, 0x79, 255]).all(axis=2).any())

    def test_picture_arguments_are_checked(self):
        for options in ({"width": 0}, {"style": "round"}, {"scale": "loud"}, {"color": "red"},
                        {"range": "5:"}, {"range": "x"}):
            with self.assertRaises(sonrel.UsageError):
                self.session.waveform(self.path("take.wav"), **options)

    def test_conform_lists_each_input(self):
        files = self.session.conform([self.path("take.wav"), self.path("edit.otio"),
                                      self.path("missing.wav")])
        self.assertEqual([file.status for file in files], ["made", "made", "failed"])
        self.assertTrue(pathlib.Path(files[0].path).exists())
        self.assertEqual(files[0].path, files[1].path)
        self.assertIn("missing.wav", files[2].error)
        self.assertEqual(self.session.conform(self.path("take.wav"))[0].status, "found")

    def test_cache_entries_are_the_files_of_the_folder(self):
        self.assertEqual(self.session.cache_entries(), [])
        self.session.conform(self.path("take.wav"))
        self.session.peaks(self.path("take.wav"))
        pathlib.Path(self.path("cache/orphan.xwmc")).write_bytes(b"12345")

        entries = {entry.kind + entry.state: entry for entry in self.session.cache_entries()}

        self.assertEqual(set(entries), {"conformedok", "peakok", "conformedorphan"})
        self.assertEqual(entries["conformedok"].media, self.path("take.wav"))
        self.assertEqual(entries["conformedok"].rate, 48000)
        self.assertEqual(entries["conformedorphan"].bytes, 5)
        self.assertIsNone(entries["conformedorphan"].last_use)


class Alignment(rig.SonrelTest):
    def setUp(self):
        super().setUp()
        self.whole = rig.noise(2 * rig.RATE, seed=1)
        rig.write_wav(self.path("whole.wav"), self.whole)
        rig.write_wav(self.path("late.wav"), self.whole[12345:])

    def check(self, first, second):
        found = self.session.align(first, second)
        self.assertEqual((found.offset, found.verdict, found.overlap),
                         (12345, "aligned", 2 * rig.RATE - 12345))
        self.assertAlmostEqual(found.seconds, 12345 / 48000)
        self.assertGreater(found.correlation, 0.99)
        self.assertTrue(found.one_offset_fits)
        self.assertTrue(all(place.offset == 12345 for place in found.places))

    def test_of_two_files(self):
        self.check(self.path("whole.wav"), self.path("late.wav"))

    def test_of_two_arrays_leaves_the_cache_alone(self):
        self.check(self.whole, self.whole[12345:])
        self.assertEqual(self.session.cache_entries(), [])

    def test_of_a_file_and_an_array_of_floats(self):
        self.check(self.path("whole.wav"), (self.whole[12345:, 0] / 32768).astype(numpy.float32))

    def test_of_unrelated_recordings_is_a_result(self):
        found = self.session.align(self.whole, rig.noise(rig.RATE, seed=2))
        self.assertNotEqual(found.verdict, "aligned")

    def test_arrays_must_be_samples(self):
        for samples in (numpy.zeros((10, 3), numpy.int16), numpy.zeros((0, 2), numpy.int16),
                        numpy.zeros((10, 2), numpy.int64), numpy.zeros((2, 2, 2), numpy.int16)):
            with self.assertRaises(sonrel.UsageError):
                self.session.align(samples, self.path("whole.wav"))

    def test_error_names_the_file(self):
        with self.assertRaisesRegex(sonrel.SonrelError, "nobody.wav"):
            self.session.align(self.path("whole.wav"), self.path("nobody.wav"))


class Loudness(unittest.TestCase):
    def test_of_a_sine_is_known(self):
        # A stereo sine at 997 Hz with a peak of -20 dBFS has -20 LUFS by definition.
        times = numpy.arange(5 * rig.RATE) / rig.RATE
        sine = 0.1 * numpy.sin(2 * numpy.pi * 997 * times)
        meter = sonrel.LoudnessMeter(rig.RATE)
        meter.add(sine)
        self.assertAlmostEqual(meter.integrated, -20.0, delta=0.05)
        self.assertAlmostEqual(meter.true_peak, -20.0, delta=0.05)
        self.assertAlmostEqual(meter.momentary, -20.0, delta=0.05)
        self.assertAlmostEqual(meter.short_term, meter.max_short_term, delta=0.01)
        self.assertAlmostEqual(meter.range, 0.0, delta=0.05)
        meter.reset()
        self.assertIsNone(meter.max_momentary)

    def test_rate_is_checked(self):
        with self.assertRaisesRegex(sonrel.UsageError, "from 8000 to 192000"):
            sonrel.LoudnessMeter(7999)


if __name__ == "__main__":
    unittest.main()
