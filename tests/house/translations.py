#!/usr/bin/env python3
"""Every catalogue translates everything that is marked for people in the source, and nothing else.

usage: translations.py SOURCE-DIRECTORY
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from commands import run

SOURCE = pathlib.Path(sys.argv[1])
PO = SOURCE / "po"


def messages(catalogue):
    """What a catalogue's entries say, original to translation, but for its head."""
    text = run("msgcat", "--no-wrap", catalogue)
    return dict(re.findall(r'^msgid "(.+)"\nmsgstr "(.*)"$', text, re.MULTILINE))


class Translations(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        place = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        template = place / "gatehall.pot"
        files = sorted((SOURCE / "src").rglob("*.cpp"))
        run("xgettext", "--keyword=translated", "--language=C++", "--from-code=UTF-8",
            f"--output={template}", *files)
        cls.marked = set(messages(template))

    def test_there_is_something_to_translate(self):
        self.assertGreater(len(self.marked), 10)

    def test_the_languages_are_those_of_the_catalogues(self):
        languages = (PO / "LINGUAS").read_text().split()
        self.assertEqual(languages, sorted(file.stem for file in PO.glob("*.po")))

    def test_each_catalogue_has_what_is_marked_and_nothing_else(self):
        for catalogue in PO.glob("*.po"):
            with self.subTest(catalogue.name):
                self.assertEqual(set(messages(catalogue)), self.marked)

    def test_nothing_is_left_in_english_or_unsaid(self):
        for catalogue in PO.glob("*.po"):
            for original, translation in messages(catalogue).items():
                with self.subTest(f"{catalogue.name}: {original}"):
                    self.assertNotIn(translation, {"", original})

    def test_nothing_is_marked_as_uncertain(self):
        for catalogue in PO.glob("*.po"):
            self.assertNotIn("fuzzy", catalogue.read_text(), catalogue.name)

    def test_what_is_filled_in_is_filled_in_everywhere(self):
        for catalogue in PO.glob("*.po"):
            for original, translation in messages(catalogue).items():
                with self.subTest(f"{catalogue.name}: {original}"):
                    self.assertEqual(translation.count("%s"), original.count("%s"))

    def test_the_catalogues_are_well_formed(self):
        for catalogue in PO.glob("*.po"):
            done = subprocess.run(["msgfmt", "--check-format", "--check-domain", "-o", "/dev/null",
                                   catalogue], capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 0, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
