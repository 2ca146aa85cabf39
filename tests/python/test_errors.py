# SPDX-License-Identifier: MIT
"""Errors: the sentences of the program, as exceptions."""

import os
import unittest

import rig
import sonrel


class Errors(rig.SonrelTest):
    def sentence_of_program(self, *arguments):
        return self.program(*arguments).stderr.strip().removeprefix("sonrel: ")

    def test_sentence_is_that_of_the_program(self):
        with open(self.path("broken.otio"), "w", encoding="utf-8") as file:
            file.write('{"OTIO_SCHEMA": "Timeline.1", "tracks": ')
        for name in ("broken.otio", "missing.otio"):
            with self.assertRaises(sonrel.SonrelError) as caught:
                self.open(name)
            self.assertEqual(str(caught.exception), self.sentence_of_program(
                "mix", self.path(name), "-o", self.path("out.wav")))

    def test_missing_media_are_an_unmet_condition(self):
        os.remove(self.path("take.wav"))
        with self.assertRaises(sonrel.ConditionError) as caught:
            self.open()
        self.assertIn(str(caught.exception), self.sentence_of_program(
            "mix", self.path("edit.otio"), "-o", self.path("out.wav")))
        self.assertFalse(self.open(allow_missing=True).mix(dither="none").any())

    def test_moved_media_are_found_in_another_folder(self):
        os.mkdir(self.path("new"))
        os.rename(self.path("take.wav"), self.path("new/take.wav"))

        project = self.open(media_root={self.folder: self.path("new")})

        self.assertEqual(project.media, [self.path("new/take.wav")])
        self.assertTrue(project.mix().any())

    def test_file_that_is_not_media_names_the_file(self):
        with open(self.path("take.wav"), "wb") as file:
            file.write(b"no sound at all")
        with self.assertRaisesRegex(sonrel.SonrelError, "take.wav"):
            self.open()

    def test_classes_form_a_hierarchy(self):
        self.assertTrue(issubclass(sonrel.UsageError, ValueError))
        for error in (sonrel.UsageError, sonrel.ConditionError, sonrel.Cancelled):
            self.assertTrue(issubclass(error, sonrel.SonrelError))

    def test_arguments_of_another_type_are_type_errors(self):
        project = self.open()
        for call in (lambda: self.session.open(5), lambda: project.mix(start=1.5),
                     lambda: project.prepare(progress="bar"), lambda: project.mix(1, 2, 3),
                     lambda: self.session.open(self.path("edit.otio"), media_root=["a=b"])):
            self.assertRaises(TypeError, call)

    def test_media_file_is_not_a_timeline(self):
        with self.assertRaisesRegex(sonrel.UsageError, "Session.read"):
            self.open("take.wav")

    def test_report_lists_what_the_mix_changes(self):
        rig.write_timeline(self.path("long.otio"),
                           [rig.track("A1", [rig.clip("take.wav", 0, 100)])])
        project = self.open("long.otio")
        self.assertEqual(project.report, [])
        project.prepare()
        self.assertEqual([entry["count"] for entry in project.report], [1])
        self.assertIn("track 1", project.report[0]["where"])

    def test_unusable_cache_folder_is_named(self):
        with self.assertRaisesRegex(sonrel.SonrelError, "cache folder .*take.wav"):
            sonrel.Session(self.path("take.wav"), self.path("other.db"))


if __name__ == "__main__":
    unittest.main()
